// Requests in words, for messages.
#pragma once

#include <string>
#include <string_view>

namespace qrd::client {

// What a request does, such as "reading numbers"; "talking" for one that isn't known.
std::string words_for_request(std::string_view name);

}  // namespace qrd::client

// What a user of this program can do about what a server says.
#pragma once

#include <string>

namespace qrd::command {

// The text, followed by a line of help where it speaks of something that is done differently here.
std::string with_help(std::string text);

}  // namespace qrd::command

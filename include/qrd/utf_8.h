// Texts of a database are bytes, whose encoding nobody tells: as a rule UTF-8, in older databases Latin-1.
#pragma once

#include <string>
#include <string_view>

#include "qrd/export.h"

namespace qrd::client {

// True if all of a text is UTF-8 (RFC 3629).
QRD_EXPORT bool is_utf_8(std::string_view text);

// A text of Latin-1 (ISO 8859-1) in UTF-8.
QRD_EXPORT std::string utf_8_of_latin_1(std::string_view text);

}  // namespace qrd::client

// A printf format and its arguments as one text of any length.
#pragma once

#include <cstdarg>
#include <string>

namespace qrd {

std::string format_text(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

}  // namespace qrd

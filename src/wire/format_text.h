// A printf format and its arguments as one text.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

namespace qrd {

// Of any length.
std::string format_text(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
// Cut to its room, its terminator included. Takes no memory.
void format_field(char* text, std::size_t room, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));

}  // namespace qrd

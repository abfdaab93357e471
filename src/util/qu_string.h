// Bounded texts, the path joiner, the number reader, the time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <string>
#include <string_view>

#include "util/qu_constants.h"

namespace qrd {

// Puts the texts behind each other; what doesn't fit is cut without a mark.
void qu_path_join(char* destination, std::size_t size, std::initializer_list<std::string_view> texts);
template <std::size_t N>
void qu_path_join(char (&destination)[N], std::initializer_list<std::string_view> texts) {
  qu_path_join(destination, N, texts);
}

// Copies with the terminator; a text that doesn't fit ends in "*". REQUIRES: size >= 2.
void qu_string_copy(const char* source, std::size_t size, char* destination);
template <std::size_t N>
void qu_string_copy(const char* source, char (&destination)[N]) {
  qu_string_copy(source, N, destination);
}

// Removes leading and trailing blanks (character 32) in place; returns the text.
char* qu_string_trim(char* text);

// Reads a decimal integer under bounds; missing_double means no bound. 0 if it is well-formed and
// within them, else 1 with the result forced to a bound. A blank text gives missing_int64 and 0 with
// `blank_is_missing`, else the minimum (or maximum, or 0) and 1.
int qu_string_to_int(const char* text, double minimum, double maximum, bool blank_is_missing,
                     std::int64_t* result);

// Evaluates a format such as "%d*%d" or "%d+%d" over the numbers from left to right, in double
// precision and in integers; 1 after two messages if the result exceeds a signed 64-bit integer.
int qu_number_exceeds(const char* format, std::initializer_list<std::int64_t> numbers);

// Local time as "%b %d %Y   %H:%M:%S"; 0 means now.
inline constexpr std::size_t time_text_size = 30;
void qu_time_text(char (&destination)[time_text_size], std::time_t time);

// Without blanks at both ends; a part of the text.
std::string_view qu_trimmed(std::string_view text);

}  // namespace qrd

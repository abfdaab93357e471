// Variables of the environment.
#pragma once

#include <cstddef>

namespace qrd {

// The value of an environment variable, empty if unset; a value of `size` or more characters is fatal.
// May end the process.
char* qu_getenv(const char* name, std::size_t size, char* destination);
// Sets (or, with an empty value, unsets) from a text "name=value"; 0 if done.
int qu_putenv(const char* text);

}  // namespace qrd

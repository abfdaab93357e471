#include "util/qu_environment.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "util/qu_message.h"

namespace qrd {

char* qu_getenv(const char* name, std::size_t size, char* destination) {
  const char* value = std::getenv(name);
  if (value == nullptr) value = "";
  std::size_t length = std::strlen(value);
  if (length >= size) qu_fatal_number("qu_getenv", 1);
  std::memcpy(destination, value, length + 1);
  return destination;
}

int qu_putenv(const char* text) {
  const char* equals = std::strchr(text, '=');
  if (equals == nullptr) return -1;
  std::string name(text, equals);
  return equals[1] == '\0' ? unsetenv(name.c_str()) : setenv(name.c_str(), equals + 1, 1);
}

}  // namespace qrd

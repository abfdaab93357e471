#include "util/qu_environment.h"

#include <cstdlib>
#include <cstring>

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

}  // namespace qrd

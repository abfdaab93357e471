#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "util/qu_message.h"
#include "util/qu_string.h"

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

const char* qu_registry_get(const char* /*root_key*/, const char* /*key_path*/, const char* /*value_name*/) {
  return nullptr;
}

void qu_user_name(char (&destination)[user_name_size]) {
  uid_t user = geteuid();
  std::vector<char> room(16384);
  passwd entry{};
  passwd* found = nullptr;
  std::string name;
  if (getpwuid_r(user, &entry, room.data(), room.size(), &found) == 0 && found != nullptr)
    name = found->pw_name;
  else
    name = std::to_string(user);  // a user without an entry is known by the number
  qu_path_join(destination, {name});
}

}  // namespace qrd

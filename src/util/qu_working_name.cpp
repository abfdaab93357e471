#include "util/qu_working_name.h"

#include <algorithm>
#include <cstddef>
#include <random>

namespace qrd {

namespace {

// Thirty-two of them: no I, L, O, U.
constexpr char alphabet[] = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
constexpr std::size_t folder_characters = 4;
constexpr std::size_t file_characters = 10;

std::string working_name(char purpose, std::size_t count) {
  std::random_device source;
  std::string name = {purpose, '_'};
  while (count-- > 0) name += alphabet[source() % 32];
  return name;
}

}  // namespace

std::string qu_working_folder_name(char purpose) {
  return working_name(purpose, folder_characters);
}

std::string qu_working_file_name(char purpose) {
  return working_name(purpose, file_characters);
}

bool qu_is_working_name(std::string_view name) {
  if (name.size() != 2 + folder_characters && name.size() != 2 + file_characters) return false;
  if ((name[0] != being_made && name[0] != being_deleted) || name[1] != '_') return false;
  name.remove_prefix(2);
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return std::string_view(alphabet).find(c) != std::string_view::npos; });
}

}  // namespace qrd

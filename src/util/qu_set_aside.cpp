#include "util/qu_set_aside.h"

#include <sys/stat.h>

#include <cerrno>

#include "util/qu_file.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

std::string move_aside(const std::string& path) {
  const std::string folder = qu_folder_of(path);
  const std::string name = qu_with_working_name(
      qu_working_file_name, kept_for_owner,
      [&](const std::string& candidate) { return qu_take_name(path, folder + candidate); });
  return name.empty() ? "" : folder + name;
}

bool tell(const std::string& path, const std::string& kept) {
  qu_message("The damaged file \"%s\" is kept as \"%s\"", path.c_str(), kept.c_str());
  return true;
}

bool tell_failure(const std::string& path) {
  if (qu_is_gone(errno)) return true;
  const char* reason = qu_strerror(1);
  qu_message("The damaged file \"%s\" can't be moved aside: %s", path.c_str(), reason);
  return false;
}

}  // namespace

bool qu_path_set_aside(const std::string& path) {
  const std::string kept = move_aside(path);
  return kept.empty() ? tell_failure(path) : tell(path, kept);
}

bool qu_file_set_aside(const std::string& path, std::FILE* read_from) {
  struct stat read, named;
  if (fstat(fileno(read_from), &read) != 0) return false;
  if (stat(path.c_str(), &named) != 0) return qu_is_gone(errno);
  if (!qu_same_file(named, read)) return true;
  const std::string kept = move_aside(path);
  if (kept.empty()) return tell_failure(path);
  // A good one may have come between the look and the move.
  if (stat(kept.c_str(), &named) == 0 && !qu_same_file(named, read) && qu_take_name(kept, path) == 0)
    return true;
  return tell(path, kept);
}

}  // namespace qrd

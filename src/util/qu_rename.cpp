#include "util/qu_rename.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "util/qu_critical.h"

namespace qrd {

int qu_take_name(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  return qu_take_name_by_creation(from, to);
}

int qu_take_name_by_creation(const std::string& from, const std::string& to) {
  struct stat status;
  if (lstat(from.c_str(), &status) != 0) return -1;
  const critical_step both_names;
  if (!S_ISDIR(status.st_mode)) {
    if (link(from.c_str(), to.c_str()) != 0) return -1;
    return unlink(from.c_str());
  }
  if (mkdir(to.c_str(), 0777) != 0) return -1;
  // A rename replaces an empty folder in one step.
  if (rename(from.c_str(), to.c_str()) == 0) return 0;
  const int reason = errno;
  rmdir(to.c_str());
  errno = reason == EEXIST ? EIO : reason;
  return -1;
}

}  // namespace qrd

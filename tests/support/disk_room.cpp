#include "support/disk_room.h"

#include <dlfcn.h>
#include <sys/statvfs.h>

namespace {

std::int64_t told = -1;

}  // namespace

// Stands before that of the C library.
extern "C" int statvfs(const char* path, struct statvfs* status) noexcept {
  using function = int (*)(const char*, struct statvfs*);
  static const auto real = reinterpret_cast<function>(dlsym(RTLD_NEXT, "statvfs"));
  const int result = real(path, status);
  if (told < 0) return result;
  status->f_frsize = 1;
  status->f_bavail = static_cast<fsblkcnt_t>(told);
  return result;
}

namespace qrd::test {

disk_room::disk_room(std::int64_t bytes) {
  told = bytes;
}

disk_room::~disk_room() {
  told = -1;
}

}  // namespace qrd::test

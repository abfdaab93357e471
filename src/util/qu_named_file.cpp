#include "util/qu_named_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "util/qu_file.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr int number_count = 999;
constexpr std::uint32_t name_limit = 50;

void report_unwritten(const std::string& path) {
  qu_message("WARNING: ERROR WHEN STORING THE NEW PARAMETERS");
  qu_message("         CHECK FOR DISK SPACE OR DISK QUOTAS");
  qu_message("         CAN'T WRITE INTO THE FOLLOWING FILE:");
  qu_message("%s", path.c_str());
}

// A file that has no name yet, or null where the file system doesn't know such files.
std::FILE* unnamed_file(const char* folder) {
  const int descriptor = open(folder, O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  std::FILE* stream = fdopen(descriptor, "wb");
  if (stream == nullptr) close(descriptor);
  return stream;
}

enum class taking { done, taken, failed };

// Gives the unnamed file a name that no other file has; only looks for such a name when the file isn't ready.
taking take_name(std::FILE* unnamed, bool ready, const char* path) {
  if (!ready) return access(path, F_OK) == 0 ? taking::taken : taking::failed;
  const std::string descriptor = "/proc/self/fd/" + std::to_string(fileno(unnamed));
  if (linkat(AT_FDCWD, descriptor.c_str(), AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0) return taking::done;
  return errno == EEXIST ? taking::taken : taking::failed;
}

taking make_in_place(const char* path, const std::function<bool(std::FILE* stream)>& write) {
  file_stream stream(std::fopen(path, "wbxe"));
  if (!stream) return errno == EEXIST ? taking::taken : taking::failed;
  const bool written = write(stream.get());
  if (stream.close() && written) return taking::done;
  std::remove(path);
  return taking::failed;
}

}  // namespace

bool qu_named_file_room(int count) {
  if (qu_test_open_file(count) != 0) return true;
  qu_report_too_many_files("VELMAR FILE SYSTEM ACCESS FAILED");
  return false;
}

void qu_named_file_corrupted(const named_file_kind& kind, const char* path) {
  qu_message("%s", kind.corrupted_report);
  qu_message("         VELMAR FILE SYSTEM ACCESS FAILED FOR PATH:");
  qu_message("%s", path);
  qu_recover_advice(true);
  qu_exit(2);
}

int qu_named_file_scan(const char* folder, const named_file_kind& kind,
                       const std::function<bool(const char* path, const char* name)>& visit) {
  directory_listing listing(folder);
  if (!listing) return 2;
  while (const char* entry = listing.next()) {
    if (std::strstr(entry, kind.prefix) == nullptr) continue;
    path_text path;
    qu_path_join(path, {folder, path_separator, entry});
    file_stream stream(qu_file_open_n(path, read_binary));
    if (!stream && qu_named_file_gone(path)) continue;
    std::int64_t word = 0;
    name_text name;
    bool read = false;
    if (stream) {
      xdr_stream xdr(stream.get(), XDR_DECODE);
      read = xdr && qu_xdr_int(xdr.get(), &word) && qu_xdr_text(xdr.get(), name, name_limit);
    }
    stream.close();
    if (!read) qu_named_file_corrupted(kind, path);
    if (visit(path, name)) return 0;
  }
  return 1;
}

int qu_named_file_find(const char* folder, const named_file_kind& kind, const char* name, path_text& path) {
  return qu_named_file_scan(folder, kind, [&](const char* each_path, const char* each_name) {
    if (std::strcmp(each_name, name) != 0) return false;
    qu_path_join(path, {each_path});
    return true;
  });
}

bool qu_named_file_make(const char* folder, const named_file_kind& kind,
                        const std::function<bool(std::FILE* stream)>& write) {
  file_stream unnamed(unnamed_file(folder));
  const bool ready = unnamed && write(unnamed.get()) && std::fflush(unnamed.get()) == 0;
  for (int number = 0; number < number_count; ++number) {
    path_text path;
    qu_path_join(path, {folder, path_separator, kind.prefix, std::to_string(number)});
    const taking result = !unnamed ? make_in_place(path, write) : take_name(unnamed.get(), ready, path);
    if (result == taking::taken) continue;
    if (result == taking::failed) report_unwritten(path);
    return result == taking::done;
  }
  qu_message("%s", kind.maximum_report);
  qu_message("         VELMAR FILE SYSTEM ACCESS FAILED...\n");
  return false;
}

bool qu_named_file_gone(const char* path) {
  return access(path, F_OK) != 0;
}

}  // namespace qrd

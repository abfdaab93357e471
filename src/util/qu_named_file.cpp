#include "util/qu_named_file.h"

#include <unistd.h>

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

}  // namespace

bool qu_named_file_room(int count) {
  if (qu_test_open_file(count) != 0) return true;
  qu_message("WARNING: TOO MANY FILES OPEN SIMULTANEOUSLY:\n");
  qu_message("         VELMAR FILE SYSTEM ACCESS FAILED...\n\n");
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

bool qu_named_file_new_path(const char* folder, const named_file_kind& kind, path_text& path) {
  for (int number = 0; number < number_count; ++number) {
    qu_path_join(path, {folder, path_separator, kind.prefix, std::to_string(number)});
    if (!qu_path_readable(path)) return true;
  }
  qu_message("%s", kind.maximum_report);
  qu_message("         VELMAR FILE SYSTEM ACCESS FAILED...\n");
  return false;
}

bool qu_named_file_gone(const char* path) {
  return access(path, F_OK) != 0;
}

void qu_named_file_write_failed(const char* path) {
  qu_message("WARNING: ERROR WHEN STORING THE NEW PARAMETERS");
  qu_message("         CHECK FOR DISK SPACE OR DISK QUOTAS");
  qu_message("         CAN'T WRITE INTO THE FOLLOWING FILE:");
  qu_message("%s", path);
  std::remove(path);
}

}  // namespace qrd

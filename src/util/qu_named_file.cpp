#include "util/qu_named_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <utility>

#include "util/qu_directory.h"
#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_string.h"
#include "util/qu_sync.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr int number_count = 999;
constexpr std::uint32_t name_limit = 50;
// A folder in which others write at every moment must not be looked through for ever.
constexpr int most_passes = 20;

void report_unwritten(const char* path) {
  const char* reason = qu_strerror(1);
  qu_message("WARNING: ERROR WHEN STORING THE NEW PARAMETERS");
  qu_message("         CHECK FOR DISK SPACE OR DISK QUOTAS");
  qu_message("         CAN'T WRITE INTO THE FOLLOWING FILE:");
  qu_message("%s", path);
  qu_message("%s", reason);
}

[[noreturn]] void end_by_damage(const named_file_kind& kind, const char* path) {
  qu_message("%s", kind.corrupted_report);
  qu_message("         VELMAR FILE SYSTEM ACCESS FAILED FOR PATH:");
  qu_message("%s", path);
  qu_recover_advice(true);
  qu_exit(2);
}

// It is there, and no waiting helps.
bool means_damage(int error) {
  constexpr int reasons[] = {EACCES, EPERM, EISDIR, EINVAL, ELOOP, ENAMETOOLONG, ENXIO};
  return std::find(std::begin(reasons), std::end(reasons), error) != std::end(reasons);
}

bool is_there(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

struct timespec changed(const char* folder) {
  struct stat status;
  return stat(folder, &status) == 0 ? status.st_mtim : timespec{};
}

bool is_same(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool read_head(named_file& file) {
  std::int64_t word = 0;
  xdr_stream xdr(file.stream.get(), XDR_DECODE);
  return xdr && qu_xdr_int(xdr.get(), &word) && qu_xdr_text(xdr.get(), file.name, name_limit) &&
         qu_file_seek(file.stream.get(), 0, 0) == 0;
}

enum class opening { done, gone, unreadable };

opening open_file(const named_file_kind& kind, named_file& file) {
  file.stream = file_stream(qu_file_open_n(file.path, read_binary));
  if (file.stream) {
    if (read_head(file)) return opening::done;
    qu_named_file_unread(kind, file);
    return opening::unreadable;
  }
  const int reason = errno;
  // A link that leads nowhere is always there and never opens.
  if (qu_is_gone(reason)) return opening::gone;
  if (means_damage(reason)) end_by_damage(kind, file.path);
  qu_report_failure("Cannot read", file.path);
  return opening::unreadable;
}

struct pass_result {
  named_search search;
  bool any_gone = false;
};

pass_result look_through(const char* folder, const named_file_kind& kind,
                         const std::function<bool(named_file& file)>& visit) {
  directory_listing listing(folder);
  if (!listing) {
    if (qu_is_gone(errno) || means_damage(errno)) return {named_search::no_folder};
    qu_report_failure("Cannot read", folder);
    return {named_search::unreadable};
  }
  pass_result result = {named_search::ended};
  while (const char* entry = listing.next()) {
    if (std::strstr(entry, kind.prefix) == nullptr) continue;
    named_file file;
    qu_path_join(file.path, {folder, path_separator, entry});
    switch (open_file(kind, file)) {
      case opening::done:
        if (visit(file)) return {named_search::found};
        break;
      case opening::gone:
        result.any_gone = result.any_gone || !is_there(file.path);
        break;
      case opening::unreadable:
        result.search = named_search::unreadable;
        break;
    }
  }
  return result;
}

std::string numbered(const char* folder, const named_file_kind& kind, int number) {
  return std::string(folder) + path_separator + kind.prefix + std::to_string(number);
}

// Whatever fails, the new content is in place, and is found under any number.
void move_to_lower_number(const char* folder, const named_file_kind& kind, const char* path) try {
  for (int number = 0; number < number_count; ++number) {
    const std::string lower = numbered(folder, kind, number);
    if (lower == path) return;
    if (is_there(lower)) continue;
    if (qu_take_name(path, lower) == 0) qu_sync_folder(folder);
    return;
  }
} catch (const std::bad_alloc&) {
}

// errno is EEXIST if the name was taken meanwhile.
bool make_new(const std::string& path, const std::function<bool(std::FILE* stream)>& write) {
  replaced_file file(path.c_str(), write_binary);
  return file && write(file.get()) && file.commit_new();
}

}  // namespace

found qu_found(named_search search) {
  switch (search) {
    case named_search::found:
      return found::yes;
    case named_search::unreadable:
      return found::unreadable;
    case named_search::ended:
    case named_search::no_folder:
      break;
  }
  return found::no;
}

bool qu_named_file_room(int count) {
  if (qu_test_open_file(count) != 0) return true;
  qu_report_too_many_files("VELMAR FILE SYSTEM ACCESS FAILED");
  return false;
}

void qu_named_file_unread(const named_file_kind& kind, named_file& file) {
  if (std::ferror(file.stream.get()) == 0) end_by_damage(kind, file.path);
  qu_report_failure("Cannot read", file.path);
}

named_search qu_named_file_scan(const char* folder, const named_file_kind& kind,
                                const std::function<bool(named_file& file)>& visit,
                                const std::function<void()>& restart) {
  for (int pass = 1;; ++pass) {
    const timespec before = changed(folder);
    const pass_result result = look_through(folder, kind, visit);
    const bool all_seen = !result.any_gone && is_same(before, changed(folder));
    if (result.search != named_search::ended || all_seen || pass == most_passes) return result.search;
    if (restart) restart();
  }
}

named_search qu_named_file_find(const char* folder, const named_file_kind& kind, const char* name,
                                named_file& file) {
  return qu_named_file_scan(folder, kind, [&](named_file& each) {
    if (std::strcmp(each.name, name) != 0) return false;
    file = std::move(each);
    return true;
  });
}

bool qu_named_file_put(const char* folder, const named_file_kind& kind, const char* old_path,
                       const std::function<bool(std::FILE* stream)>& write) {
  if (old_path != nullptr) {
    replaced_file file(old_path, write_binary);
    const bool written = file && write(file.get()) && file.commit();
    if (written)
      move_to_lower_number(folder, kind, old_path);
    else
      report_unwritten(old_path);
    return written;
  }
  for (int number = 0; number < number_count; ++number) {
    const std::string path = numbered(folder, kind, number);
    if (is_there(path)) continue;
    if (make_new(path, write)) return true;
    if (errno == EEXIST && is_there(path)) continue;
    report_unwritten(path.c_str());
    return false;
  }
  qu_message("%s", kind.maximum_report);
  qu_message("         VELMAR FILE SYSTEM ACCESS FAILED...\n");
  return false;
}

}  // namespace qrd

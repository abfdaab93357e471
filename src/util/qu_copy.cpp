#include "util/qu_copy.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_sync.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

void report_failure(const char* verb, const char* target) {
  qu_message("WARNING: UNABLE TO %s INTO THE NEW FILE\n %s\n", verb, target);
  qu_message("         CHECK DISK SPACE AND DISK QUOTAS.");
}

// What another process has just taken away, or what no path may be called, is no reason to end.
void report_source(const char* source) {
  const char* reason = qu_strerror(1);
  qu_message("Unable to access file %s.", source);
  qu_message("System Error: %s", reason);
}

enum class moving { done, cannot_read, cannot_write };

moving move_bytes(std::FILE* source, std::FILE* target) {
  std::vector<char> block(65536);
  for (;;) {
    const std::size_t count = std::fread(block.data(), 1, block.size(), source);
    if (std::ferror(source) != 0) return moving::cannot_read;
    if (count == 0) return moving::done;
    if (std::fwrite(block.data(), 1, count, target) != count) return moving::cannot_write;
  }
}

int finish(moving moved, const char* verb, const char* source, const char* target, replaced_file& file) {
  if (moved == moving::done && file.commit()) return 1;
  if (moved == moving::cannot_read)
    report_source(source);
  else
    report_failure(verb, target);
  return 0;
}

bool copy_entry(const std::string& source, const std::string& target);

// What may not be copied is told and passed over. False, with errno set, if the rest can't be.
bool copy_entries(directory_listing& listing, const std::string& source, const std::string& target) {
  while (const char* name = listing.next()) {
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
    if (!copy_entry(source + path_separator + name, target + path_separator + name) && qu_is_short_of(errno))
      return false;
  }
  return true;
}

bool copy_entry(const std::string& source, const std::string& target) {
  struct stat status;
  if (lstat(source.c_str(), &status) != 0) return false;
  // Links, pipes and devices are passed over: what they lead to is not part of the tree.
  if (S_ISREG(status.st_mode)) return qu_file_copy(source.c_str(), target.c_str()) != 0;
  if (!S_ISDIR(status.st_mode)) return true;
  directory_listing inner(source.c_str());
  return inner && qu_file_mkdir(target.c_str(), false) == 0 && copy_entries(inner, source, target);
}

// Puts a folder in its place; what stands there goes at the end, and comes back after a failure.
bool put_in_place(const std::string& fresh, const std::string& folder, const char* target) {
  // This replaces an empty folder.
  if (std::rename(fresh.c_str(), target) == 0) return true;
  if (errno != ENOTEMPTY && errno != EEXIST && errno != ENOTDIR) {
    qu_message("Cannot create directory");
    return false;
  }
  const std::string name = qu_with_working_name(
      qu_working_folder_name, being_deleted,
      [&](const std::string& candidate) { return qu_take_name(target, folder + candidate); });
  if (name.empty()) {
    qu_message("Cannot delete directory:\n%s", target);
    return false;
  }
  const std::string old = folder + name;
  if (qu_take_name(fresh, target) != 0) {
    qu_message("Cannot create directory");
    qu_take_name(old, target);
    return false;
  }
  if (qu_file_delete_tree(old.c_str(), true) == 0) std::remove(old.c_str());
  return true;
}

}  // namespace

int qu_file_copy(const char* source, const char* target) {
  file_stream from(qu_file_open_n(source, read_binary));
  if (!from) {
    report_source(source);
    return 0;
  }
  replaced_file to(target, write_binary);
  if (!to) {
    qu_message("Unable to create the new file %s\n", target);
    return 0;
  }
  return finish(move_bytes(from.get(), to.get()), "COPY", source, target, to);
}

int qu_file_concat(const char* source, const char* target) {
  file_stream from(qu_file_open_n(source, read_binary));
  if (!from) {
    report_source(source);
    return 0;
  }
  file_stream old(qu_file_open_n(target, read_binary));
  const bool is_readable = old || errno == ENOENT;
  replaced_file to(target, write_binary);
  if (!is_readable || !to) {
    qu_message("Unable to open the new file %s\n", target);
    return 0;
  }
  if (old && move_bytes(old.get(), to.get()) != moving::done) {
    report_failure("CONCAT", target);
    return 0;
  }
  return finish(move_bytes(from.get(), to.get()), "CONCAT", source, target, to);
}

int qu_dir_copy(const char* source, const char* target) {
  if (std::strcmp(source, target) == 0) {
    qu_message("Copy directory error: source and target are identical");
    return 1;
  }
  directory_listing listing(source);
  if (!listing) {
    const char* reason = qu_strerror(1);
    qu_message("WARNING: CANNOT OPEN DIRECTORY");
    qu_message("%s", source);
    qu_message("\nSYSTEM ERROR MESSAGE:\n");
    qu_message("%s", reason);
    return 1;
  }
  // Made beside its place, so that it appears whole.
  const std::string folder = qu_folder_of(target);
  const std::string name = qu_with_working_name(
      qu_working_folder_name, being_made,
      [&](const std::string& candidate) { return mkdir((folder + candidate).c_str(), 0777); });
  if (name.empty()) {
    qu_message("Cannot create directory");
    return 1;
  }
  const std::string fresh = folder + name;
  const sync_pause pause;
  if (copy_entries(listing, source, fresh) && qu_sync_tree(fresh) && put_in_place(fresh, folder, target))
    return 0;
  const int reason = errno;
  qu_file_delete_tree(fresh.c_str(), true);
  errno = reason;
  return 1;
}

}  // namespace qrd

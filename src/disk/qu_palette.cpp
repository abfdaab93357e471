#include "disk/qu_palette.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "disk/qu_cscale.h"
#include "disk/store_state.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_line_reader.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_named_file.h"
#include "util/qu_string.h"
#include "util/qu_sync.h"

namespace qrd {

namespace {

// System palettes lie in the root.
const char* system_path() {
  return store.root_path;
}

const char* user_path(const char* prefix) {
  return std::strcmp(prefix, lithology_prefix) == 0 ? store.u_litho_path : store.u_color_path;
}

// A line of a text file, released at the end.
class text_line {
 public:
  text_line() = default;
  text_line(const text_line&) = delete;
  text_line& operator=(const text_line&) = delete;
  ~text_line() { qu_file_next_line_r(nullptr, false, &buffer_, &size_); }
  const char* read(std::FILE* stream) { return qu_file_next_line_r(stream, false, &buffer_, &size_); }

 private:
  char* buffer_ = nullptr;
  std::int64_t size_ = 0;
};

// A palette as a look-up meets it: opened once, behind its name.
struct palette_file {
  path_text path = "";
  std::string name;
  file_stream stream;
};

// What isn't there or is no text is no palette. Anything else that stops the opening may be over in a moment.
bool means_absent(int error) {
  constexpr int reasons[] = {ENOENT, ENOTDIR, EACCES, EPERM, EISDIR, EINVAL, ELOOP, ENXIO, ENAMETOOLONG};
  return std::find(std::begin(reasons), std::end(reasons), error) != std::end(reasons);
}

// False where there is no name to be had; `unreadable` is set if that may be another time.
bool open_palette(palette_file& file, bool& unreadable) {
  file.stream = file_stream(qu_file_open_n(file.path, read_text));
  text_line line;
  const char* name = file.stream ? line.read(file.stream.get()) : nullptr;
  if (name != nullptr) {
    file.name = name;
    return true;
  }
  if (file.stream ? std::ferror(file.stream.get()) == 0 : means_absent(errno)) return false;
  qu_report_failure("Cannot read", file.path);
  unreadable = true;
  return false;
}

bool begins_with(const char* entry, const char* prefix) {
  return std::strncmp(entry, prefix, std::strlen(prefix)) == 0;
}
bool contains(const char* entry, const char* prefix) {
  return std::strstr(entry, prefix) != nullptr;
}

// Shows the files of a folder whose names `belong` to the prefix, until `visit` gives true.
template <typename Visit>
named_search look_through(const char* folder, const char* prefix, bool (*belong)(const char*, const char*),
                          Visit visit) {
  directory_listing listing(folder);
  if (!listing) {
    if (errno == ENOENT) return named_search::ended;
    return means_absent(errno) ? named_search::no_folder : named_search::unreadable;
  }
  bool unreadable = false;
  while (const char* entry = listing.next()) {
    if (!belong(entry, prefix)) continue;
    palette_file file;
    qu_path_join(file.path, {folder, path_separator, entry});
    if (open_palette(file, unreadable) && visit(file)) return named_search::found;
  }
  return unreadable ? named_search::unreadable : named_search::ended;
}

// The file of a palette, opened behind its name.
named_search qu_palit_path(const char* folder, const char* name, const char* prefix, palette_file& found) {
  const named_search end = look_through(folder, prefix, contains, [&](palette_file& file) {
    if (file.name != name) return false;
    found = std::move(file);
    return true;
  });
  if (end == named_search::no_folder) qu_fatal_number("qu_palit_path", 1);
  return end;
}

// The files whose names a list shows; the fatal number is that of a folder that can't be listed.
template <typename Visit>
named_search look_through_listed(const char* folder, int fatal_number, Visit visit) {
  const named_search end = look_through(folder, palette_prefix, begins_with, visit);
  if (end == named_search::no_folder) qu_fatal_number("qu_palette_get_list", fatal_number);
  return end;
}
template <typename Visit>
named_search look_through_users(Visit visit) {
  return look_through_listed(store.u_color_path, 2, visit);
}
template <typename Visit>
named_search look_through_systems(Visit visit) {
  return look_through_listed(system_path(), 3, visit);
}

// A decimal integer as "%d" reads it, clamped to 32 bits. False where there is none.
bool read_number(std::FILE* stream, std::int32_t& value) {
  int character = std::getc(stream);
  while (std::isspace(character)) character = std::getc(stream);
  const bool negative = character == '-';
  if (character == '-' || character == '+') character = std::getc(stream);
  if (!std::isdigit(character)) return false;
  std::int64_t number = 0;
  for (; std::isdigit(character); character = std::getc(stream))
    number = narrow_int(number * 10 + (character - '0'));
  std::ungetc(character, stream);
  value = narrow_int(negative ? -number : number);
  return true;
}

bool write_palette(std::FILE* stream, const char* name, const palette_colours& colours) {
  bool written = std::fprintf(stream, "%s\n", name) >= 0;
  for (std::size_t i = 0; written && i < static_cast<std::size_t>(colours.count); ++i)
    written = std::fprintf(stream, "%3" PRId32 " %3" PRId32 " %3" PRId32 "\n", colours.red[i],
                           colours.green[i], colours.blue[i]) >= 0;
  return written;
}

// A name must come back as it went into the file: as one line of a text file.
bool fits_in_a_line(const char* name) {
  for (const char* c = name; *c != '\0'; ++c)
    if (static_cast<unsigned char>(*c) < ' ' && *c != '\t') return false;
  return true;
}

}  // namespace

palette_writing qu_palit_new_name(const char* name, const char* prefix, const palette_colours& colours) {
  if (std::strcmp(name, no_name) == 0 || !fits_in_a_line(name)) return palette_writing::not_created;
  const char* folder = user_path(prefix);
  palette_file present;
  if (qu_palit_path(folder, name, prefix, present) != named_search::ended)
    return palette_writing::not_created;
  for (std::int64_t number = 0;; ++number) {
    path_text path;
    qu_path_join(path, {folder, path_separator, prefix, std::to_string(number)});
    // Free is a number that no entry has, readable or not.
    struct stat status;
    if (lstat(path, &status) == 0) continue;
    replaced_file file(path, write_text);
    if (!file) {
      qu_report_failure("Cannot create", path);
      return palette_writing::not_created;
    }
    if (write_palette(file.get(), name, colours) && file.commit_new()) return palette_writing::done;
    if (errno == EEXIST && lstat(path, &status) == 0) continue;
    qu_message("Error writing in %s. File removed.", path);
    return palette_writing::failed;
  }
}

string_list qu_palette_get_list() {
  string_list list;
  // What can't be read now is left out.
  static_cast<void>(look_through_users([&list](const palette_file& file) {
    list.add(file.name.c_str(), name_size);
    return false;
  }));
  static_cast<void>(look_through_systems([&list](const palette_file& file) {
    if (list.find(file.name.c_str()) < 0) list.add(file.name.c_str(), name_size);
    return false;
  }));
  list.sort();
  return list;
}

found qu_palette_exists(const char* name) {
  if (std::strcmp(name, no_name) == 0) return found::no;
  const auto is_listed_so = [name](const palette_file& file) {
    return file.name.substr(0, name_size - 1) == name;
  };
  const named_search user = look_through_users(is_listed_so);
  if (user == named_search::found) return found::yes;
  const named_search system = look_through_systems(is_listed_so);
  if (system == named_search::found) return found::yes;
  return user == named_search::ended && system == named_search::ended ? found::no : found::unreadable;
}

bool qu_palette_read(const char* name, palette_colours& colours) {
  palette_file file;
  named_search state = named_search::ended;
  if (qu_palette_exists(name) == found::yes) {
    state = qu_palit_path(store.u_color_path, name, palette_prefix, file);
    if (state == named_search::ended) state = qu_palit_path(system_path(), name, palette_prefix, file);
  }
  if (state != named_search::found) {
    qu_message("Unable to find the palette named %s\n", name);
    return false;
  }
  std::FILE* stream = file.stream.get();
  colours.count = 0;
  for (std::size_t i = 0; i < palette_maximum; ++i) {
    if (!read_number(stream, colours.red[i]) || !read_number(stream, colours.green[i]) ||
        !read_number(stream, colours.blue[i]))
      break;
    ++colours.count;
  }
  if (std::ferror(stream) == 0) return true;
  qu_report_failure("Cannot read", file.path);
  return false;
}

std::int32_t qu_palette_size(const char* name) {
  palette_colours colours;
  return qu_palette_read(name, colours) ? colours.count : 0;
}

bool qu_palette_save(const char* name, const palette_colours& colours) {
  palette_file old;
  if (qu_palit_path(store.u_color_path, name, palette_prefix, old) != named_search::found) return false;
  replaced_file file(old.path, write_text);
  if (file && write_palette(file.get(), name, colours) && file.commit()) return true;
  qu_report_failure("Error writing palette in", old.path);
  return false;
}

palette_writing qu_palette_write(const char* name, const palette_colours& colours) {
  const folder_lock lock(store.u_color_path);
  if (!lock) {
    qu_report_failure("Cannot lock", store.u_color_path);
    return palette_writing::failed;
  }
  const found present = qu_palette_exists(name);
  if (present == found::no) return qu_palit_new_name(name, palette_prefix, colours);
  const bool saved = present == found::yes && qu_palette_save(name, colours);
  return saved ? palette_writing::done : palette_writing::failed;
}

palette_deletion qu_palit_delete(const char* name, const char* prefix) {
  const char* folder = user_path(prefix);
  const folder_lock lock(folder);
  if (!lock) {
    qu_report_failure("Cannot lock", folder);
    return palette_deletion::failed;
  }
  palette_file file;
  if (qu_palit_path(folder, name, prefix, file) != named_search::found) return palette_deletion::failed;
  if (std::strcmp(prefix, palette_prefix) == 0 && qu_cscale_uses(name)) return palette_deletion::in_use;
  if (qu_remove_file(file.path)) return palette_deletion::done;
  qu_report_failure("Cannot delete", file.path);
  return palette_deletion::failed;
}

}  // namespace qrd

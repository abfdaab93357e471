#include "colour/qu_palette.h"

#include <unistd.h>

#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "colour/qu_cscale.h"
#include "store/qd_init.h"
#include "store/qu_init.h"
#include "util/qu_file.h"
#include "util/qu_list_head.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// System palettes lie in the root.
const char* system_path() {
  return root_path;
}

const char* user_path(const char* prefix) {
  return std::strcmp(prefix, lithology_prefix) == 0 ? u_litho_path : u_color_path;
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

// Opens a palette and gives its first line, or null.
const char* read_name(const char* path, text_line& line) {
  file_stream stream(qu_file_open_n(path, read_text));
  return stream ? line.read(stream.get()) : nullptr;
}

// Adds the names of a folder; with `hidden_too` false a name that the list holds is skipped. False if
// the folder can't be listed.
bool add_names(const char* folder, bool hidden_too, string_list& list) {
  directory_listing listing(folder);
  if (!listing) return false;
  while (const char* entry = listing.next()) {
    if (std::strncmp(entry, palette_prefix, std::strlen(palette_prefix)) != 0) continue;
    path_text path;
    qu_path_join(path, {folder, path_separator, entry});
    text_line line;
    const char* name = read_name(path, line);
    if (name == nullptr || (!hidden_too && list.find(name) >= 0)) continue;
    list.add(name, name_size);
  }
  return true;
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

// A name must come back as it went into the file: as one line of a text file.
bool fits_in_a_line(const char* name) {
  for (const char* c = name; *c != '\0'; ++c)
    if (static_cast<unsigned char>(*c) < ' ' && *c != '\t') return false;
  return true;
}

}  // namespace

int qu_palit_path(const char* directory, const char* name, const char* prefix, path_text& path) {
  directory_listing listing(directory);
  if (!listing) qu_fatal_number("qu_palit_path", 1);
  while (const char* entry = listing.next()) {
    if (std::strstr(entry, prefix) == nullptr) continue;
    path_text candidate;
    qu_path_join(candidate, {directory, path_separator, entry});
    text_line line;
    const char* found = read_name(candidate, line);
    if (found == nullptr || std::strcmp(found, name) != 0) continue;
    qu_path_join(path, {candidate});
    return 0;
  }
  return 1;
}

int qu_palit_new_name(const char* name, const char* prefix) {
  if (std::strcmp(name, no_name) == 0 || !fits_in_a_line(name)) return 1;
  const char* folder = user_path(prefix);
  path_text path;
  if (qu_palit_path(folder, name, prefix, path) == 0) return 1;
  // Free is a number that no entry has, readable or not.
  std::int64_t number = 0;
  std::error_code ignored;
  do {
    qu_path_join(path, {folder, path_separator, prefix, std::to_string(number++)});
  } while (std::filesystem::exists(std::filesystem::symlink_status(path, ignored)));
  file_stream stream(qu_file_open_n(path, write_text));
  if (!stream) qu_fatal_number("qu_palit_new_name", 1);
  const bool written = std::fprintf(stream.get(), "%s\n", name) >= 0;
  if (!stream.close() || !written) {
    qu_message("Error writing in %s. File removed.", path);
    std::remove(path);
  }
  return 0;
}

string_list qu_palette_get_list(int mode) {
  string_list list;
  const std::int64_t head = qu_list_head(list, mode, "New File");
  if (head < 0) qu_fatal_number("qu_palette_get_list", 1);
  if (!add_names(u_color_path, true, list)) qu_fatal_number("qu_palette_get_list", 2);
  if (!add_names(system_path(), false, list)) qu_fatal_number("qu_palette_get_list", 3);
  list.sort(head);
  return list;
}

int qu_palette_exists(const char* name) {
  return std::strcmp(name, no_name) != 0 && qu_palette_get_list(-1).find(name) >= 0 ? 1 : 0;
}

int qu_palette_path(const char* name, path_text& path) {
  return qu_palit_path(u_color_path, name, palette_prefix, path) == 0
             ? 0
             : qu_palit_path(system_path(), name, palette_prefix, path);
}

bool qu_palette_room() {
  return access(u_color_path, W_OK) == 0;
}

bool qu_palette_writable(const char* name) {
  path_text path;
  return qu_palit_path(u_color_path, name, palette_prefix, path) == 0 && access(path, W_OK) == 0;
}

int qu_palette_read(const char* name, palette_colours& colours) {
  if (qu_palette_exists(name) == 0) {
    qu_message("Unable to find the palette named %s\n", name);
    return 1;
  }
  path_text path;
  if (qu_palette_path(name, path) != 0) qu_fatal("Unable to find the palette named %s\n", name);
  file_stream stream(qu_file_open_n(path, read_text));
  if (!stream) qu_fatal("Unable to read file : \n%s", path);
  text_line line;
  line.read(stream.get());
  colours.count = 0;
  for (std::size_t i = 0; i < palette_maximum; ++i) {
    if (!read_number(stream.get(), colours.red[i]) || !read_number(stream.get(), colours.green[i]) ||
        !read_number(stream.get(), colours.blue[i]))
      break;
    ++colours.count;
  }
  return 0;
}

std::int32_t qu_palette_size(const char* name) {
  palette_colours colours;
  return qu_palette_read(name, colours) == 0 ? colours.count : 0;
}

int qu_palette_save(const char* name, const palette_colours& colours) {
  if (qu_palette_exists(name) == 0) qu_fatal("qu_palette_save: files does not exist");
  path_text path;
  if (qu_palit_path(u_color_path, name, palette_prefix, path) != 0) return 1;
  file_stream stream(qu_file_open_n(path, write_text));
  if (!stream) qu_fatal("qu_palette_save: error 2");
  bool written = std::fprintf(stream.get(), "%s\n", name) >= 0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(colours.count); ++i)
    written = std::fprintf(stream.get(), "%3" PRId32 " %3" PRId32 " %3" PRId32 "\n", colours.red[i],
                           colours.green[i], colours.blue[i]) >= 0;
  if (stream.close() && written) return 0;
  qu_message("Error writing palette in %s. File removed.", path);
  std::remove(path);
  // The caller must not promise what a full disk has swallowed.
  return 1;
}

int qu_palit_delete(const char* name, const char* prefix) {
  path_text path;
  if (qu_palit_path(user_path(prefix), name, prefix, path) != 0) return 1;
  if (std::strcmp(prefix, palette_prefix) == 0) {
    const string_list scales = qu_cscale_get_list(1);
    for (std::int64_t i = 1; i < scales.count(); ++i) {
      color_scale scale;
      if (qu_cscale_read(scales[i], false, scale) != 0 || std::strcmp(scale.palette_name, name) == 0)
        return 2;
    }
  }
  return std::remove(path) == 0 ? 0 : 1;
}

}  // namespace qrd

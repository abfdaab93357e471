// The registry of studies, the text file study_names.def of the root. Every line is a key of 16
// characters and a value; a study is a pair of lines in either order.
//
//   root_unix      =   the root on one kind of host: only kept
//   root_windows   =   the root on another kind: what "$root$" expands to
//   physical_name  =   folder of a study; may begin with "$root$" or with "$init$", the root in use
//   logical_name   =   its name
#include "disk/qu_study_names.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "disk/store_state.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr std::string_view unix_key = "root_unix      =";
constexpr std::string_view windows_key = "root_windows   =";
constexpr std::string_view physical_key = "physical_name  =";
constexpr std::string_view logical_key = "logical_name   =";
static_assert(unix_key.size() == 16 && windows_key.size() == 16 && physical_key.size() == 16 &&
              logical_key.size() == 16);

constexpr std::string_view root_prefix = "$root$";
constexpr std::string_view init_prefix = "$init$";

// A study as its two lines tell of it, in full length.
struct registered_study {
  std::string name;
  std::string path;
};

struct registry {
  std::string unix_root, windows_root;
  std::vector<registered_study> studies;
  std::string text;  // the whole file
};

void registry_path(path_text& path) {
  qu_path_join(path, {store.root_path, path_separator, registry_file_name});
}

bool begins_with_separator(std::string_view text) {
  return text.starts_with('/') || text.starts_with('\\');
}

// What a text is in a list, where its room is bounded.
template <std::size_t N>
std::string cut_to(std::string_view text) {
  char cut[N];
  qu_string_copy(std::string(text).c_str(), cut);
  return cut;
}

std::string_view without_end(std::string_view path) {
  if (path.ends_with('/') || path.ends_with('\\')) path.remove_suffix(1);
  return path;
}

std::string expanded_path(std::string_view path) {
  path = without_end(path);
  if (path.starts_with(root_prefix))
    return std::string(store.root_windows).append(path.substr(root_prefix.size()));
  if (!path.starts_with(init_prefix)) return std::string(path);
  path.remove_prefix(init_prefix.size());
  const bool is_joined = store.root_has_end != 0 && !path.empty() && !begins_with_separator(path);
  return std::string(store.root_path).append(is_joined ? path_separator : "").append(path);
}

// The path of a study as a line spells it. A line that was there keeps its prefix, so that it goes on meaning
// the same to servers that spell the root differently.
std::string spelled_path(std::string_view path) {
  path = without_end(path);
  if (path.starts_with(root_prefix)) return std::string(path);
  const std::string_view windows = store.root_windows, init = store.root_path;
  std::string whole = expanded_path(path);
  if (!windows.empty() && whole.starts_with(windows))
    return std::string(root_prefix).append(whole.substr(windows.size()));
  if (path.starts_with(init_prefix)) return std::string(path);
  const std::string_view rest = whole.starts_with(init) ? std::string_view(whole).substr(init.size()) : "";
  const bool is_below = whole == init || !rest.empty();
  if (is_below && (store.root_has_end == 0 || rest.empty() || begins_with_separator(rest)))
    return std::string(init_prefix).append(rest);
  return whole;
}

bool read_text_file(const char* path, std::string& text) {
  file_stream stream(qu_file_open_n(path, read_text));
  if (!stream) return false;
  char block[4096];
  while (const std::size_t count = std::fread(block, 1, sizeof block, stream.get()))
    text.append(block, count);
  return std::ferror(stream.get()) == 0;
}

// Takes the pairs of lines apart. A pair is complete when both of its lines have come.
void parse(registry& read, bool report) {
  registered_study study;
  bool has_name = false, has_path = false;
  std::string_view rest = read.text;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::string_view key = line.substr(0, unix_key.size());
    const std::string value(line.substr(key.size()));
    if (key == unix_key) {
      read.unix_root = value;
      qu_string_copy(value.c_str(), store.root_unix);
    } else if (key == windows_key) {
      read.windows_root = value;
      qu_string_copy(value.c_str(), store.root_windows);
    } else if (key == physical_key) {
      study.path = value;
      has_path = true;
    } else if (key == logical_key) {
      study.name = value;
      has_name = true;
    } else if (report) {
      qu_message("Warning: syntax error in your study_names.def file...");
    }
    if (!has_name || !has_path) continue;
    read.studies.push_back(study);
    has_name = has_path = false;
  }
}

// False if there is a registry that can't be read. Only a missing one is empty.
bool read_registry(registry& read, bool report) {
  path_text path;
  registry_path(path);
  if (!read_text_file(path, read.text)) {
    // A link that leads nowhere is no missing file.
    struct stat status;
    return errno == ENOENT && lstat(path, &status) != 0 && errno == ENOENT;
  }
  if (read.text.find('\0') != std::string::npos) {
    qu_message("Warning: syntax error in your study_names.def file...");
    return false;
  }
  parse(read, report);
  return true;
}

// A catalogue inside is what makes a folder a study.
bool is_study_folder(const root_text& folder) {
  path_text catalogue;
  qu_path_join(catalogue, {folder, path_separator, catalogue_folder});
  return folder[0] != '\0' && qu_file_isdirectory(catalogue) != 0;
}

// A study of the lists as the registry tells of it: they hold as much of it as they have room for.
registered_study known_study(std::vector<registered_study>& known, const char* name, const char* path) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const registered_study& study) {
    return cut_to<name_size>(study.name) == name && cut_to<root_size>(expanded_path(study.path)) == path;
  });
  if (found == known.end()) return {name, path};
  registered_study study = *found;
  known.erase(found);
  return study;
}

std::string folder_of(const registered_study& study) {
  const std::string whole = expanded_path(study.path);
  root_text folder;
  qu_study_folder(whole.c_str(), folder);
  // What is too long for a folder of ours is known by its own spelling.
  return whole.size() < root_size ? folder : whole;
}

std::string registry_text(registry& before, const string_list& names, const string_list& paths) {
  std::vector<registered_study> studies;
  for (std::int64_t i = 0; i < names.count(); ++i)
    studies.push_back(known_study(before.studies, names[i], paths[i]));
  std::string text;
  text.append(unix_key).append(before.unix_root).append("\n");
  text.append(windows_key).append(before.windows_root).append("\n");
  // Of pairs with one folder the last one is kept, so they are chosen from the end.
  std::vector<registered_study> kept;
  std::set<std::string> folders;
  for (auto study = studies.rbegin(); study != studies.rend(); ++study)
    if (folders.insert(folder_of(*study)).second && study->name != default_study_name) kept.push_back(*study);
  for (auto study = kept.rbegin(); study != kept.rend(); ++study) {
    text.append(physical_key).append(spelled_path(study->path)).append("\n");
    text.append(logical_key).append(study->name).append("\n");
  }
  return text;
}

bool replace_registry(const std::string& text) {
  path_text path;
  registry_path(path);
  replaced_file file(path, write_text);
  return file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() && file.commit();
}

bool write_registry(const string_list& names, const string_list& paths) {
  registry before;
  before.unix_root = store.root_unix;
  before.windows_root = store.root_windows;
  // What can't be read is not replaced by the little that is known of it.
  if (!read_registry(before, false)) return false;
  const std::string text = registry_text(before, names, paths);
  if (text == before.text || replace_registry(text)) return true;
  // It may have its place, and only not be known to be on disk: then nothing of it may stay.
  path_text path;
  registry_path(path);
  std::string now;
  if (read_text_file(path, now) && now == text) replace_registry(before.text);
  return false;
}

}  // namespace

void qu_study_folder(const char* registered_path, root_text& folder) {
  qu_string_copy(registered_path, folder);
  // The root itself is spelled as this platform knows it.
  std::size_t root_length = std::strlen(store.root_path);
  bool below_root = root_length > 0 && std::strncmp(folder, store.root_path, root_length) == 0;
  for (char* c = folder + (below_root ? root_length : 0); *c != '\0'; ++c)
    if (*c == '\\') *c = '/';
}

std::optional<std::int64_t> qu_study_names_read(int mode, bool sort, bool no_check, string_list* valid_names,
                                                string_list* valid_paths, string_list* all_names,
                                                string_list* all_paths) {
  for (string_list* output : {valid_names, valid_paths, all_names, all_paths})
    if (output != nullptr) output->clear();
  registry read;
  if (!read_registry(read, true)) return std::nullopt;
  string_list names, paths;
  for (const registered_study& study : read.studies) {
    names.add(cut_to<name_size>(study.name).c_str(), name_size);
    paths.add(cut_to<root_size>(expanded_path(study.path)).c_str(), root_size);
  }
  std::int64_t pair_count = names.count();

  string_list valid;
  bool wants_valid = valid_names != nullptr || valid_paths != nullptr;
  if (wants_valid) {
    if (mode == 1) valid.add(no_name, name_size);
    for (std::int64_t i = 0; i < pair_count; ++i) {
      root_text folder;
      qu_study_folder(paths[i], folder);
      if (no_check || is_study_folder(folder)) valid.add(names[i], name_size);
    }
    if (sort) valid.sort(1);
  }
  std::int64_t valid_count = valid.count();

  if (valid_paths != nullptr) {
    for (std::int64_t i = 0; i < valid_count; ++i) {
      root_text folder = "";
      std::int64_t rank = names.find(valid[i]);
      if (rank >= 0) qu_study_folder(paths[rank], folder);
      valid_paths->add(folder, root_size);
    }
  }
  bool counts_valid = valid_names != nullptr;
  if (valid_names != nullptr) *valid_names = std::move(valid);
  if (all_names != nullptr) *all_names = std::move(names);
  if (all_paths != nullptr) *all_paths = std::move(paths);
  return counts_valid ? valid_count : pair_count;
}

bool qu_study_names_write(const string_list& all_names, const string_list& all_paths) {
  if (write_registry(all_names, all_paths)) return true;
  qu_message("Cannot create the study_names file...");
  return false;
}

}  // namespace qrd

// The registry of studies, the text file study_names.def of the root. Every line is a key of 16
// characters and a value; a study is a pair of lines in either order.
//
//   root_unix      =   the root on one kind of host: only kept
//   root_windows   =   the root on another kind: what "$root$" expands to
//   physical_name  =   folder of a study; may begin with "$root$" or with "$init$", the root in use
//   logical_name   =   its name
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "store/qu_init.h"
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

void registry_path(path_text& path) {
  qu_path_join(path, {root_path, path_separator, registry_file_name});
}

void expand_path(std::string_view path, root_text& expanded) {
  if (path.ends_with('/') || path.ends_with('\\')) path.remove_suffix(1);
  std::string whole;
  if (path.starts_with(root_prefix))
    whole.append(root_windows).append(path.substr(root_prefix.size()));
  else if (path.starts_with(init_prefix))
    whole.append(root_path).append(path.substr(init_prefix.size()));
  else
    whole = path;
  qu_string_copy(whole.c_str(), expanded);
}

std::string shortened_path(std::string_view path) {
  std::string_view windows = root_windows, init = root_path;
  if (!windows.empty() && path.starts_with(windows))
    return std::string(root_prefix).append(path.substr(windows.size()));
  if (path.starts_with(init)) return std::string(init_prefix).append(path.substr(init.size()));
  return std::string(path);
}

// Collects the pairs of the two kinds of lines that describe a study.
class pair_collector {
 public:
  pair_collector(string_list& names, string_list& paths) : names_(names), paths_(paths) {}

  void physical(const char* value) {
    qu_string_copy(value, physical_);
    has_physical_ = true;
    complete();
  }
  void logical(const char* value) {
    qu_string_copy(value, logical_);
    has_logical_ = true;
    complete();
  }

 private:
  void complete() {
    if (!has_physical_ || !has_logical_) return;
    root_text path;
    expand_path(physical_, path);
    names_.add(logical_, name_size);
    paths_.add(path, root_size);
    has_physical_ = has_logical_ = false;
  }

  string_list& names_;
  string_list& paths_;
  path_text physical_ = "";
  name_text logical_ = "";
  bool has_physical_ = false;
  bool has_logical_ = false;
};

void read_pairs(string_list& names, string_list& paths) {
  path_text path;
  registry_path(path);
  file_stream stream(qu_file_open_n(path, read_text));
  if (!stream) return;
  pair_collector pairs(names, paths);
  while (const char* line = qu_file_next_line(stream.get(), false)) {
    std::string_view key = std::string_view(line).substr(0, unix_key.size());
    const char* value = line + key.size();
    if (key == unix_key)
      qu_string_copy(value, root_unix);
    else if (key == windows_key)
      qu_string_copy(value, root_windows);
    else if (key == physical_key)
      pairs.physical(value);
    else if (key == logical_key)
      pairs.logical(value);
    else
      qu_message("Warning: syntax error in your study_names.def file...");
  }
}

// A catalogue inside is what makes a folder a study.
bool is_study_folder(const root_text& folder) {
  path_text catalogue;
  qu_path_join(catalogue, {folder, path_separator, catalogue_folder});
  return folder[0] != '\0' && qu_file_isdirectory(catalogue) != 0;
}

std::string registry_text(const string_list& names, const string_list& paths) {
  // Of pairs with one folder the last one is kept, so they are chosen from the end.
  std::vector<std::int64_t> kept;
  std::set<std::string> folders;
  for (std::int64_t i = names.count() - 1; i >= 0; --i) {
    root_text folder;
    qu_study_folder(paths[i], folder);
    bool is_last = folders.insert(folder).second;
    if (is_last && std::strcmp(names[i], default_study_name) != 0) kept.push_back(i);
  }
  std::string text;
  text.append(unix_key).append(root_unix).append("\n");
  text.append(windows_key).append(root_windows).append("\n");
  std::reverse(kept.begin(), kept.end());
  for (std::int64_t i : kept) {
    text.append(physical_key).append(shortened_path(paths[i])).append("\n");
    text.append(logical_key).append(names[i]).append("\n");
  }
  return text;
}

// A registry that is there and can't be read is not replaced by the little that is known of it.
bool write_registry(const std::string& text) {
  path_text path;
  registry_path(path);
  struct stat status;
  if (stat(path, &status) == 0 && !file_stream(qu_file_open_n(path, read_text))) return false;
  replaced_file file(path, write_text);
  return file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() && file.commit();
}

}  // namespace

void qu_study_folder(const char* registered_path, root_text& folder) {
  qu_string_copy(registered_path, folder);
  // The root itself is spelled as this platform knows it.
  std::size_t root_length = std::strlen(root_path);
  bool below_root = root_length > 0 && std::strncmp(folder, root_path, root_length) == 0;
  for (char* c = folder + (below_root ? root_length : 0); *c != '\0'; ++c)
    if (*c == '\\') *c = '/';
}

int qu_study_names_read(int mode, bool sort, bool no_check, string_list* valid_names,
                        string_list* valid_paths, string_list* all_names, string_list* all_paths) {
  string_list names, paths;
  read_pairs(names, paths);
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
    valid_paths->reset(nullptr);
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
  return static_cast<int>(counts_valid ? valid_count : pair_count);
}

void qu_study_names_write(const string_list& all_names, const string_list& all_paths) {
  if (!write_registry(registry_text(all_names, all_paths)))
    qu_message("Cannot create the study_names file...");
}

}  // namespace qrd

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

#include "catalogue/qu_study.h"
#include "catalogue/qu_study_folder.h"
#include "disk/qu_study_names.h"
#include "disk/store_state.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "util/qu_directory.h"
#include "util/qu_lock.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/connection.h"
#include "wire/debug.h"

namespace qrd {

namespace {

// The registry is a file of lines.
bool has_control_character(std::string_view text) {
  return std::ranges::any_of(text, [](char c) {
    auto code = static_cast<unsigned char>(c);
    return code < 32 || code == 127;
  });
}

// Old clients send no path: the study goes beside the first one of the registry, or below the root.
// Empty if the name can't be an element of a path.
std::string path_beside_first(const char* name, const string_list& all_paths) {
  if (!qu_is_path_element(name)) return "";
  char parent[root_size + 2];
  qu_string_copy(store.root_path, parent);
  if (all_paths.count() > 0) {
    root_text first;
    qu_study_folder(all_paths[0], first);
    qu_file_dirname(first, parent);
  }
  return std::string(parent) + path_separator + name;
}

// False if the text can't be the folder of a new study.
bool study_folder_of(std::string_view text, root_text& folder) {
  if (text.size() >= root_size || has_control_character(text)) return false;
  qu_study_folder(std::string(text).c_str(), folder);
  std::size_t length = text.size();
  while (length > 0 && folder[length - 1] == '/') folder[--length] = '\0';
  return folder[0] == '/';
}

// A study inside the catalogue of another would break that catalogue.
bool lies_in_catalogue(const char* folder, const string_list& all_paths) {
  std::int64_t count = all_paths.count();
  for (std::int64_t i = 0; i < count; ++i) {
    root_text study;
    path_text catalogue;
    qu_study_folder(all_paths[i], study);
    qu_path_join(catalogue, {study, path_separator, catalogue_folder});
    if (qu_path_lies_within(folder, catalogue)) return true;
  }
  return false;
}

// True if the registry holds the name and not only because a deletion was cut.
bool is_taken(const char* name, string_list& names, string_list& paths, const folder_lock& lock) {
  const std::int64_t rank = names.find(name);
  if (rank < 0) return false;
  root_text folder;
  qu_study_folder(paths[rank], folder);
  if (lock && qu_file_isdirectory(folder) == 0) qu_study_tidy_beside(folder, names, paths);
  return names.find(name) >= 0;
}

bool is_registered(const char* folder, const string_list& all_paths) {
  std::int64_t count = all_paths.count();
  for (std::int64_t i = 0; i < count; ++i) {
    root_text study;
    qu_study_folder(all_paths[i], study);
    if (qu_path_lies_within(folder, study) && qu_path_lies_within(study, folder)) return true;
  }
  return false;
}

bool make_study(const char* folder, string_list& names, string_list& paths,
                const std::function<bool()>& enter) {
  qu_study_tidy_beside(folder, names, paths);
  const study_taking taken =
      is_registered(folder, paths) ? study_taking::nothing_left : qu_study_take_over(folder, enter);
  if (taken != study_taking::nothing_left) return taken == study_taking::done;
  return qu_study_create(folder, no_name, 1, enter) == study_making::done;
}

bool can_be_study_name(std::string_view name) {
  return !name.empty() && name.size() < name_size && name != no_name && !has_control_character(name);
}

}  // namespace

// CSTUDYNEW: creates a study and registers it. The current study stays.
request_status server_answer_study_new(const char* /*request*/) {
  request_text name, path;
  if (!read_arguments(name)) return not_served;
  if (!client_is(old_client) && !read_arguments(path)) return not_served;
  if (!is_set(current_context.qrd_init)) return refuse("QRD_INIT is not set");

  // Held until the study is registered, so that no other server's study gets lost in between.
  const folder_lock lock(store.root_path);
  string_list all_names, all_paths;
  const bool is_known =
      qu_study_names_read(-1, false, false, nullptr, nullptr, &all_names, &all_paths).has_value();
  server_debug(1, "Creating Study: \"%s\".", name.c_str());
  if (is_taken(name.c_str(), all_names, all_paths, lock))
    return refuse("WARNING: This study already exists: %s", name.c_str());

  root_text folder;
  std::string wanted = client_is(old_client) ? path_beside_first(name.c_str(), all_paths) : path.c_str();
  const auto enter = [&] {
    all_names.add(name.c_str(), name_size);
    all_paths.add(folder, root_size);
    return qu_study_names_write(all_names, all_paths);
  };
  if (!lock || !is_known || !can_be_study_name(name.c_str()) || !study_folder_of(wanted, folder) ||
      lies_in_catalogue(folder, all_paths) || !make_study(folder, all_names, all_paths, enter))
    return refuse("Impossible to create study %s. File system full?", name.c_str());
  return answer();
}

}  // namespace qrd

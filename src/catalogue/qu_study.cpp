// Making a study and opening it.
#include "catalogue/qu_study.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "catalogue/qu_root.h"
#include "catalogue/qu_study_environment.h"
#include "catalogue/qu_study_folder.h"
#include "disk/qu_study_descriptor.h"
#include "disk/qu_study_names.h"
#include "disk/store_state.h"
#include "units/qu_units.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_list.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

namespace fs = std::filesystem;

constexpr const char* study_folders[] = {"DEF",     catalogue_folder, "TMP",      "PARAM",   "CSCALE",
                                         "U_LITHO", "TRANSFO",        "METAFILE", "U_COLOR", "IMAGES"};
constexpr const char* param_folders[] = {"DVARIO",  "MVARIO", "NEIGH", "ANAM",
                                         "MCORREL", "PCAMOD", "PROP",  "MREGR"};

constexpr std::int64_t versions_with_marker[] = {40200, 50000};

bool make_folders(const char* study) {
  path_text path;
  for (const char* folder : study_folders) {
    qu_path_join(path, {study, path_separator, folder});
    if (qu_file_mkdir(path, false) != 0) return false;
  }
  for (const char* folder : param_folders) {
    qu_path_join(path, {study, path_separator, "PARAM", path_separator, folder});
    if (qu_file_mkdir(path, false) != 0) return false;
  }
  return true;
}

// Makes the parents of a new study, and takes them away again if it comes to nothing.
class made_parents {
 public:
  explicit made_parents(const char* parent) {
    for (std::string path = parent; qu_file_isdirectory(path.c_str()) == 0;) {
      missing_.push_back(path);
      path_text above;
      qu_string_copy(path.c_str(), above);
      qu_file_dirname(above, above);
      if (path == above) break;
      path = above;
    }
    done_ = missing_.empty() || qu_file_mkdir(parent, true) != 2;
  }
  made_parents(const made_parents&) = delete;
  made_parents& operator=(const made_parents&) = delete;
  ~made_parents() {
    for (const std::string& path : missing_)
      if (rmdir(path.c_str()) != 0 && errno != ENOENT) break;
  }
  explicit operator bool() const { return done_; }
  void keep() { missing_.clear(); }

 private:
  std::vector<std::string> missing_;  // from the innermost outwards
  bool done_ = false;
};

struct study_choice {
  const char* name;
  const char* path;
};

// The wanted study, else the first of all, that this program can open.
bool choose_registered(const char* wanted, const string_list& names, const string_list& paths,
                       study_choice& choice) {
  std::int64_t count = names.count();
  auto fits = [&](std::int64_t i) {
    study_record record;
    choice = {names[i], paths[i]};
    return qu_study_descriptor_read(true, choice.name, choice.path, &record) == study_fitness::usable;
  };
  if (std::strcmp(wanted, no_name) != 0)
    for (std::int64_t i = 0; i < count; ++i)
      if (std::strcmp(names[i], wanted) == 0 && fits(i)) return true;
  for (std::int64_t i = 0; i < count; ++i)
    if (fits(i)) return true;
  return false;
}

// A study below the root of which the registry knows nothing.
study_opening choose_below_root(const char* wanted, root_text& path, study_choice& choice) {
  choice.name = default_study_name;
  if (store.running_test != 0) {
    if (std::strcmp(wanted, no_name) == 0) qu_fatal("No more study and no study name on command line");
    if (!qu_is_path_element(wanted)) return study_opening::other_version;
    choice.name = wanted;
  }
  std::string whole = std::string(store.root_path) + path_separator + choice.name;
  if (whole.size() >= root_size) return study_opening::too_long;
  qu_string_copy(whole.c_str(), path);
  choice.path = path;
  return study_opening::opened;
}

// True if another server has deleted the study, or is just deleting it: then its folder stands elsewhere.
bool is_study_gone() {
  struct stat status;
  return stat(store.study_path, &status) != 0 && qu_is_gone(errno);
}

void make_missing_study() {
  if (qu_file_isdirectory(store.study_path) != 0) return;
  if (qu_path_readable(store.study_path))
    qu_fatal("Cannot set study \"%s\" when \"%s\" is a file", store.study_name, store.study_path);
  const study_making result = qu_study_create(store.study_path, no_name, 1);
  // Another server may have made the same default study in this moment.
  const bool made_by_other = result == study_making::exists && qu_file_isdirectory(store.study_path) != 0;
  if (result != study_making::done && !made_by_other) qu_fatal("Impossible to create a default study...");
}

bool is_registered(const string_list& all_paths) {
  std::int64_t count = all_paths.count();
  for (std::int64_t i = 0; i < count; ++i) {
    root_text folder;
    qu_study_folder(all_paths[i], folder);
    if (std::strcmp(folder, store.study_path) == 0) return true;
  }
  return false;
}

// False if there is a registry that can't be read. One that can't be written leaves the study unregistered.
bool register_study() {
  const folder_lock lock(store.root_path);
  string_list all_names, all_paths;
  if (!qu_study_names_read(-1, false, false, nullptr, nullptr, &all_names, &all_paths)) return false;
  if (is_registered(all_paths)) return true;
  all_names.add(store.study_name, name_size);
  all_paths.add(store.study_path, root_size);
  if (lock)
    static_cast<void>(qu_study_names_write(all_names, all_paths));
  else
    qu_message("Cannot create the study_names file...");
  return true;
}

void keep_marker(std::int64_t version) {
  path_text path;
  qu_path_join(path, {store.study_path, path_separator, "DESCR.500"});
  for (std::int64_t marked : versions_with_marker)
    if (version == marked && !qu_file_readable(path)) {
      replaced_file marker(path, write_binary);
      if (marker) marker.commit();
    }
}

struct standard_folder {
  path_text& path;
  const char* name;
};

void set_paths() {
  const standard_folder folders[] = {{store.catalogue_path, catalogue_folder},
                                     {store.def_path, "DEF"},
                                     {store.param_path, "PARAM"},
                                     {store.tmp_path, "TMP"},
                                     {store.u_color_path, "U_COLOR"},
                                     {store.u_litho_path, "U_LITHO"},
                                     {store.images_path, "IMAGES"},
                                     {store.metafile_path, "METAFILE"},
                                     {store.transfo_path, "TRANSFO"},
                                     {store.cscale_path, "CSCALE"}};
  for (const standard_folder& folder : folders)
    qu_path_join(folder.path, {store.study_path, path_separator, folder.name});
}

// The steps of an opening: false if the study has just gone. All other failures are fatal.

bool test_write_protection() {
  path_text path;
  switch (qu_write_test(store.study_path, "This is a test of the Velmar write protection", path)) {
    case write_test::passed:
      return true;
    case write_test::folder_gone:
      return false;
    case write_test::cannot_create:
      qu_fatal(" File System Full or Write Protected...");
    case write_test::cannot_delete:
      break;
  }
  qu_fatal(" File System Incorrect: Impossible to delete a file...");
}

// A study that another server takes away and puts back can be missing at one look and be there at the next:
// something is missing in it only if that is seen so often.
constexpr int looks_for_missing = 10;

bool require_folder(const char* path) {
  for (int look = 0; look < looks_for_missing; ++look) {
    if (qu_file_isdirectory(path) != 0) return true;
    if (is_study_gone()) return false;
  }
  qu_fatal("%s directory not found.", path);
}

enum class folder_state { there, made, gone, failed };

// Empty, or the one that waits for this place. What another server has made at this moment is there.
folder_state make_folder(const char* path, const std::string& waiting = "") {
  for (int look = 0; look < looks_for_missing; ++look) {
    if (qu_file_isdirectory(path) != 0) return folder_state::there;
    if ((waiting.empty() ? mkdir(path, 0777) : qu_take_name(waiting, path)) == 0) return folder_state::made;
    if (qu_is_gone(errno)) return folder_state::gone;
    if (errno != EEXIST) break;
  }
  if (waiting.empty()) return qu_file_mkdir(path, false) == 0 ? folder_state::made : folder_state::failed;
  qu_report_failure("Unable to create directory", path);
  return folder_state::failed;
}

bool make_missing_folder(const char* path, const std::string& waiting = "") {
  if (qu_file_isdirectory(path) != 0) return true;
  qu_message("%s directory not found. Creating...\n", path);
  const folder_state state = make_folder(path, waiting);
  if (state == folder_state::failed) qu_fatal("%s directory: Creation failed.", path);
  return state != folder_state::gone;
}

bool make_definition_folder() {
  const folder_state state = make_folder(store.def_path);
  if (state == folder_state::failed) qu_fatal("IMPOSSIBLE TO CREATE A DIRECTORY... FILE SYSTEM FULL ?");
  return state != folder_state::gone;
}

// The anamorphoses lay in MHISTO once.
bool migrate_anamorphosis_folder() {
  path_text old_path, new_path;
  qu_path_join(old_path, {store.param_path, path_separator, "MHISTO"});
  qu_path_join(new_path, {store.param_path, path_separator, "ANAM"});
  if (qu_file_isdirectory(old_path) == 0) return true;
  if (qu_path_readable(new_path)) {
    qu_message("WARNING: Your study contains OLD anamorphosis directory (MHISTO) and NEW directory (ANAM)");
    qu_message("         You have to move your old anamorphosis manually...");
    return true;
  }
  if (qu_take_name(old_path, new_path) == 0 || errno == EEXIST) return true;
  // Another server, or one that knows nothing of the lock, was quicker.
  if (!qu_is_gone(errno)) qu_fatal("IMPOSSIBLE TO RENAME MHISTO TO ANAM");
  return !is_study_gone();
}

bool make_param_folders() {
  return std::all_of(std::begin(param_folders), std::end(param_folders), [](const char* folder) {
    path_text path;
    qu_path_join(path, {store.param_path, path_separator, folder});
    return make_missing_folder(path);
  });
}

// The study that bare ones are made after, or an empty text. Nothing if that can't be told now.
std::optional<std::string> find_template(const char* wanted) {
  if (std::strcmp(wanted, template_study_name) == 0) return "";
  string_list names, paths;
  if (!qu_study_names_read(-1, false, false, nullptr, nullptr, &names, &paths)) return std::nullopt;
  std::int64_t count = names.count();
  for (std::int64_t i = 0; i < count; ++i) {
    if (std::strcmp(names[i], template_study_name) != 0) continue;
    root_text folder;
    qu_study_folder(paths[i], folder);
    struct stat status, own;
    if (stat(folder, &status) != 0) {
      if (qu_is_short_of(errno)) return std::nullopt;
      continue;
    }
    if (!S_ISDIR(status.st_mode)) continue;
    if (stat(store.study_path, &own) != 0) return std::nullopt;
    // Copied onto itself, the template would lose what it holds.
    return qu_same_file(status, own) ? "" : folder;
  }
  return "";
}

study_opening make_study_folders(const char* wanted, const folder_lock& lock) {
  using state = missing_folders::state;
  missing_folders missing(store.study_path, lock);
  state reached = missing.looked();
  if (reached == state::known && missing.is_bare()) {
    const std::optional<std::string> found = find_template(wanted);
    if (!found)
      reached = state::failed;
    else if (!found->empty())
      reached = missing.bring(*found);
  }
  if (reached == state::gone) return study_opening::gone;
  if (reached == state::failed) {
    qu_report_failure("Unable to make the folders of the study", store.study_path);
    return study_opening::incomplete;
  }
  for (const char* path : {store.tmp_path, store.u_color_path, store.metafile_path, store.cscale_path,
                           store.u_litho_path, store.images_path, store.transfo_path})
    if (!make_missing_folder(path, missing.waiting(path + qu_folder_of(path).size())))
      return study_opening::gone;
  return study_opening::opened;
}

// Makes all that the chosen study has to have.
study_opening prepare_study(const char* wanted) {
  study_record record;
  study_fitness fitness = qu_study_descriptor_read(true, store.study_name, store.study_path, &record);
  for (int look = 1; fitness == study_fitness::unreadable; ++look) {
    if (is_study_gone()) return study_opening::gone;
    if (look == looks_for_missing) qu_fatal("Study Descriptor not found...");
    fitness = qu_study_descriptor_read(true, store.study_name, store.study_path, &record);
  }
  if (fitness == study_fitness::gone) return study_opening::gone;
  if (fitness == study_fitness::other_version) return study_opening::other_version;
  units.kept = record.unit_flag != 0;
  keep_marker(record.study_version);
  if (record.study_version != PROGRAM_VERSION) qu_study_descriptor_write(store.study_path, &record);

  set_paths();
  // Of servers that open the study at one moment one makes what is missing, and the others find it whole.
  const folder_lock lock(store.study_path);
  if (!lock) return qu_is_gone(errno) ? study_opening::gone : study_opening::in_use;
  qu_study_unmark(store.study_path);
  const bool done = test_write_protection() && require_folder(store.catalogue_path) &&
                    make_definition_folder() && require_folder(store.param_path) &&
                    migrate_anamorphosis_folder() && make_param_folders();
  return done ? make_study_folders(wanted, lock) : study_opening::gone;
}

study_opening open_study(const char* wanted) {
  string_list valid_names, valid_paths, all_names, all_paths;
  if (!qu_study_names_read(-1, false, false, &valid_names, &valid_paths, &all_names, &all_paths))
    return study_opening::no_registry;

  study_choice choice = {};
  root_text path_below_root;
  const bool is_found = choose_registered(wanted, valid_names, valid_paths, choice);
  if (!is_found) {
    const study_opening below = choose_below_root(wanted, path_below_root, choice);
    if (below != study_opening::opened) return below;
  }
  qu_string_copy(choice.name, store.study_name);
  qu_string_copy(choice.path, store.study_path);

  // A registered one that is missing by now has just been deleted.
  if (is_found && is_study_gone()) return study_opening::gone;
  if (!is_found) make_missing_study();
  if (!is_registered(all_paths) && !register_study()) return study_opening::no_registry;
  return prepare_study(wanted);
}

// Without symbolic links as far as the system shows it, and without separators at its end.
fs::path true_path(const char* path) {
  std::error_code hidden;
  fs::path result = fs::weakly_canonical(path, hidden);
  if (hidden) result = fs::path(path).lexically_normal();
  return result.has_filename() ? result : result.parent_path();
}

}  // namespace

bool qu_is_path_element(const char* name) {
  return name[0] != '\0' && std::strpbrk(name, "/\\") == nullptr && std::strcmp(name, ".") != 0 &&
         std::strcmp(name, "..") != 0;
}

bool qu_path_lies_within(const char* path, const char* folder) {
  fs::path inner = true_path(path), outer = true_path(folder);
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

study_making qu_study_create(const char* path, const char* template_path, std::int64_t with_units,
                             const std::function<bool()>& enter) {
  if (qu_file_isdirectory(path) != 0) return study_making::exists;

  path_text parent;
  qu_string_copy(path, parent);
  qu_file_dirname(parent, parent);
  made_parents parents(parent);
  if (!parents || !qu_is_valid_path(path)) return study_making::failed;
  study_in_the_making fresh(path);
  study_record record;
  record.unit_flag = with_units;
  if (!fresh || !qu_study_descriptor_write_n(fresh.path(), &record) || !make_folders(fresh.path()))
    return study_making::failed;
  if (std::strcmp(template_path, no_name) != 0) qu_study_copy_environment(template_path, fresh.path());
  if (!fresh.place()) return errno == EEXIST ? study_making::exists : study_making::failed;
  if (enter && !enter()) return study_making::failed;
  fresh.keep();
  parents.keep();
  return study_making::done;
}

study_opening qu_study_open(const char* name) {
  name_text wanted;
  qu_string_copy(std::strcmp(name, no_name) == 0 ? store.study_name : name, wanted);
  const open_store before;
  // The next one takes the place of a study that goes while it is opened.
  constexpr int attempts = 5;
  study_opening opening = study_opening::gone;
  for (int attempt = 0; attempt < attempts && opening == study_opening::gone; ++attempt)
    opening = open_study(wanted);
  if (opening != study_opening::opened) before.put_back();
  return opening;
}

}  // namespace qrd

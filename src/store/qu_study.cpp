// Making a study and opening it.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "store/qd_init.h"
#include "store/qd_placement.h"
#include "store/qu_init.h"
#include "units/qu_units.h"
#include "util/qu_file.h"
#include "util/qu_list.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_string.h"

namespace qrd {

name_text study_name = "None";
root_text study_path = "";
path_text catalogue_path = "";
path_text def_path = "", param_path = "", tmp_path = "", u_color_path = "", u_litho_path = "",
          images_path = "", metafile_path = "", transfo_path = "", cscale_path = "";
std::int64_t has_marker = 0;

namespace {

namespace fs = std::filesystem;

constexpr const char* study_folders[] = {"DEF",     catalogue_folder, "TMP",      "PARAM",   "CSCALE",
                                         "U_LITHO", "TRANSFO",        "METAFILE", "U_COLOR", "IMAGES"};
constexpr const char* param_folders[] = {"DVARIO",  "MVARIO", "NEIGH", "ANAM",
                                         "MCORREL", "PCAMOD", "PROP",  "MREGR"};
constexpr const char* environment_folders[] = {"CSCALE", "U_COLOR", "U_LITHO", "IMAGES", "TRANSFO"};

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

// Makes a folder beside the place of a study. A name that is taken may be all that a dead process of the
// same number has left, or a study of somebody's: it stays.
bool make_working_folder(const char* study, path_text& folder) {
  constexpr int attempts = 100;
  int result = 1;
  for (int attempt = 0; result == 1 && attempt < attempts; ++attempt) {
    qu_path_join(folder, {study, ".T", std::to_string(getpid()), "_", std::to_string(attempt)});
    result = qu_file_mkdir(folder, false);
  }
  return result == 0;
}

void copy_first_words(bool first_use, const char* from, const char* to) {
  path_text source, target;
  qu_path_join(source, {from, first_use ? "/DEF/environ_gene.def" : "/DEF/environ.def"});
  qu_path_join(target, {to, "/DEF/environ.def"});
  if (!qu_file_readable(source)) return;
  bool has_words = qu_path_readable(target);
  if (first_use && has_words)
    qu_file_concat(source, target);
  else if (!first_use && !has_words)
    qu_file_copy(source, target);
}

void copy_display_files(const char* from, const char* to) {
  path_text folder;
  qu_path_join(folder, {from, "/DEF"});
  directory_listing listing(folder);
  if (!listing) return;
  while (const char* name = listing.next()) {
    if (std::strncmp(name, "DISP", 4) != 0) continue;
    path_text source, target;
    qu_path_join(source, {folder, path_separator, name});
    qu_path_join(target, {to, "/DEF/", name});
    std::error_code gone;
    if (fs::is_regular_file(fs::symlink_status(source, gone)) && qu_file_readable(source))
      qu_file_copy(source, target);
  }
}

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
    return qu_study_descriptor_read(true, choice.name, choice.path, &record) == 0;
  };
  if (std::strcmp(wanted, no_name) != 0)
    for (std::int64_t i = 0; i < count; ++i)
      if (std::strcmp(names[i], wanted) == 0 && fits(i)) return true;
  for (std::int64_t i = 0; i < count; ++i)
    if (fits(i)) return true;
  return false;
}

// A study below the root of which the registry knows nothing. False if its path would not fit.
bool choose_below_root(const char* wanted, root_text& path, study_choice& choice) {
  choice.name = default_study_name;
  if (running_test != 0) {
    if (std::strcmp(wanted, no_name) == 0) qu_fatal("No more study and no study name on command line");
    if (!qu_is_path_element(wanted)) return false;
    choice.name = wanted;
  }
  std::string whole = std::string(root_path) + path_separator + choice.name;
  if (whole.size() >= root_size) return false;
  qu_string_copy(whole.c_str(), path);
  choice.path = path;
  return true;
}

void make_missing_study() {
  if (qu_file_isdirectory(study_path) != 0) return;
  if (qu_path_readable(study_path))
    qu_fatal("Cannot set study \"%s\" when \"%s\" is a file", study_name, study_path);
  int result = qu_study_create(study_path, no_name, 1);
  // Another server may have made the same default study in this moment.
  bool made_by_other = result == 1 && qu_file_isdirectory(study_path) != 0;
  if (result != 0 && !made_by_other) qu_fatal("Impossible to create a default study...");
}

void register_study(string_list& all_names, string_list& all_paths) {
  std::int64_t count = all_paths.count();
  for (std::int64_t i = 0; i < count; ++i) {
    root_text folder;
    qu_study_folder(all_paths[i], folder);
    if (std::strcmp(folder, study_path) == 0) return;
  }
  all_names.add(study_name, name_size);
  all_paths.add(study_path, root_size);
  qu_study_names_write(all_names, all_paths);
}

void keep_marker(std::int64_t version) {
  path_text path;
  qu_path_join(path, {study_path, path_separator, "DESCR.500"});
  bool made = false;
  for (std::int64_t marked : versions_with_marker)
    if (version == marked && !qu_file_readable(path))
      made = static_cast<bool>(file_stream(qu_file_open_n(path, write_binary)));
  has_marker = made || qu_file_readable(path) ? 1 : 0;
}

struct standard_folder {
  path_text& path;
  const char* name;
};

void set_paths() {
  const standard_folder folders[] = {{catalogue_path, catalogue_folder},
                                     {def_path, "DEF"},
                                     {param_path, "PARAM"},
                                     {tmp_path, "TMP"},
                                     {u_color_path, "U_COLOR"},
                                     {u_litho_path, "U_LITHO"},
                                     {images_path, "IMAGES"},
                                     {metafile_path, "METAFILE"},
                                     {transfo_path, "TRANSFO"},
                                     {cscale_path, "CSCALE"}};
  for (const standard_folder& folder : folders)
    qu_path_join(folder.path, {study_path, path_separator, folder.name});
}

void test_write_protection() {
  path_text path;
  switch (qu_write_test(study_path, "This is a test of the Velmar write protection", path)) {
    case write_test::passed:
      return;
    case write_test::cannot_create:
      qu_fatal(" File System Full or Write Protected...");
    case write_test::cannot_delete:
      qu_fatal(" File System Incorrect: Impossible to delete a file...");
  }
}

void require_folder(const char* path) {
  if (qu_file_isdirectory(path) == 0) qu_fatal("%s directory not found.", path);
}

// True if the folder was missing.
bool make_missing_folder(const char* path) {
  if (qu_file_isdirectory(path) != 0) return false;
  qu_message("%s directory not found. Creating...\n", path);
  if (qu_file_mkdir(path, false) == 2 || qu_file_isdirectory(path) == 0)
    qu_fatal("%s directory: Creation failed.", path);
  return true;
}

void make_definition_folder() {
  if (qu_file_isdirectory(def_path) != 0) return;
  if (qu_file_mkdir(def_path, false) != 2 && qu_file_isdirectory(def_path) != 0) return;
  qu_file_delete_tree(def_path, true);
  qu_fatal("IMPOSSIBLE TO CREATE A DIRECTORY... FILE SYSTEM FULL ?");
}

// The anamorphoses lay in MHISTO once.
void migrate_anamorphosis_folder() {
  path_text old_path, new_path;
  qu_path_join(old_path, {param_path, path_separator, "MHISTO"});
  qu_path_join(new_path, {param_path, path_separator, "ANAM"});
  if (qu_file_isdirectory(old_path) == 0) return;
  if (qu_path_readable(new_path)) {
    qu_message("WARNING: Your study contains OLD anamorphosis directory (MHISTO) and NEW directory (ANAM)");
    qu_message("         You have to move your old anamorphosis manually...");
  } else if (qu_file_rename(param_path, "MHISTO", "ANAM") == 0) {
    qu_fatal("IMPOSSIBLE TO RENAME MHISTO TO ANAM");
  }
}

void make_param_folders() {
  path_text path;
  for (const char* folder : param_folders) {
    qu_path_join(path, {param_path, path_separator, folder});
    make_missing_folder(path);
  }
}

// The number of missing folders; that of metafiles doesn't count.
int make_study_folders() {
  int missing = 0;
  for (const char* path :
       {tmp_path, u_color_path, metafile_path, cscale_path, u_litho_path, images_path, transfo_path}) {
    bool was_missing = make_missing_folder(path);
    if (was_missing && path != metafile_path) ++missing;
  }
  return missing;
}

// A study without any environment of its own gets that of the study "Template".
void copy_template(const char* wanted) {
  if (std::strcmp(wanted, template_study_name) == 0) return;
  string_list names, paths;
  qu_study_names_read(-1, false, false, nullptr, nullptr, &names, &paths);
  std::int64_t count = names.count();
  for (std::int64_t i = 0; i < count; ++i) {
    if (std::strcmp(names[i], template_study_name) != 0) continue;
    root_text folder;
    qu_study_folder(paths[i], folder);
    if (qu_file_isdirectory(folder) == 0) continue;
    // Copied onto itself, the template would lose what it holds.
    std::error_code unknown;
    if (!fs::equivalent(folder, study_path, unknown)) qu_study_copy_environment(true, folder, study_path);
    return;
  }
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

int qu_study_create(const char* path, const char* template_path, std::int64_t with_units) {
  if (qu_file_isdirectory(path) != 0) return 1;

  // The study is made beside its place and appears whole, so that no other server opens half of it.
  path_text parent, fresh;
  qu_string_copy(path, parent);
  qu_file_dirname(parent, parent);
  if (qu_file_isdirectory(parent) == 0 && qu_file_mkdir(parent, true) == 2) return 2;
  if (!make_working_folder(path, fresh)) return 2;

  study_record record;
  record.unit_flag = with_units;
  int result = 2;
  if (qu_study_descriptor_write_n(fresh, &record) != 0 && make_folders(fresh))
    result = qu_take_name(fresh, path) == 0 ? 0 : errno == EEXIST ? 1 : 2;
  if (result != 0) {
    qu_file_delete_tree(fresh, true);
    return result;
  }
  if (std::strcmp(template_path, no_name) != 0) qu_study_copy_environment(false, template_path, path);
  return 0;
}

void qu_study_copy_environment(bool first_use, const char* from, const char* to) {
  copy_first_words(first_use, from, to);
  for (const char* folder : environment_folders) {
    path_text source, target;
    qu_path_join(source, {from, path_separator, folder});
    qu_path_join(target, {to, path_separator, folder});
    if (qu_path_readable(source) && qu_file_isdirectory(source) != 0) qu_dir_copy(source, target);
  }
  copy_display_files(from, to);
}

int qu_study_open(const char* name) {
  name_text wanted;
  qu_string_copy(std::strcmp(name, no_name) == 0 ? study_name : name, wanted);
  string_list valid_names, valid_paths, all_names, all_paths;
  qu_study_names_read(-1, false, false, &valid_names, &valid_paths, &all_names, &all_paths);

  study_choice choice = {};
  root_text path_below_root;
  if (!choose_registered(wanted, valid_names, valid_paths, choice) &&
      !choose_below_root(wanted, path_below_root, choice))
    return 1;
  qu_string_copy(choice.name, study_name);
  qu_string_copy(choice.path, study_path);

  make_missing_study();
  register_study(all_names, all_paths);

  study_record record;
  int result = qu_study_descriptor_read(true, study_name, study_path, &record);
  if (result == 1) qu_fatal("Study Descriptor not found...");
  if (result == 2) return 1;
  unit_flag = record.unit_flag != 0 ? 1 : 0;
  keep_marker(record.study_version);
  if (record.study_version != PROGRAM_VERSION) qu_study_descriptor_write(study_path, &record);

  set_paths();
  test_write_protection();
  require_folder(catalogue_path);
  make_definition_folder();
  require_folder(param_path);
  migrate_anamorphosis_folder();
  make_param_folders();
  constexpr int bare_study = 5;
  if (make_study_folders() == bare_study) copy_template(wanted);
  return 0;
}

}  // namespace qrd

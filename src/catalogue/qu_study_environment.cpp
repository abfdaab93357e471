#include "catalogue/qu_study_environment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "util/qu_copy.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

constexpr const char* environment_folders[] = {"CSCALE", "U_COLOR", "U_LITHO", "IMAGES", "TRANSFO"};
constexpr const char* counted_folders[] = {"TMP", "U_COLOR", "CSCALE", "U_LITHO", "IMAGES", "TRANSFO"};
constexpr std::size_t missing_in_bare_study = 5;

// The steps of a copy: false, with errno set, if one could not be done now, but perhaps later. What may not
// be read is passed over.

bool passed_over() {
  return !qu_is_short_of(errno);
}

enum class sort { file, folder };

// True if it is there and may be read. Nothing if that can't be told now.
std::optional<bool> is_readable(const std::string& path, sort wanted) {
  struct stat status;
  if (access(path.c_str(), R_OK) != 0 || stat(path.c_str(), &status) != 0)
    return passed_over() ? std::optional(false) : std::nullopt;
  return S_ISDIR(status.st_mode) == (wanted == sort::folder);
}

bool ends_with(const std::string& path, const std::string& end_path) {
  const file_stream whole(qu_file_open_n(path.c_str(), read_binary)),
      end(qu_file_open_n(end_path.c_str(), read_binary));
  constexpr int from_start = 0, from_end = 2;
  if (!whole || !end || qu_file_seek(end.get(), 0, from_end) != 0) return false;
  const std::int64_t bytes = qu_file_tell(end.get());
  if (qu_file_seek(whole.get(), -bytes, from_end) != 0 || qu_file_seek(end.get(), 0, from_start) != 0)
    return false;
  for (;;) {
    const int character = std::getc(end.get());
    if (character != std::getc(whole.get())) return false;
    if (character == EOF) return std::ferror(end.get()) == 0 && std::ferror(whole.get()) == 0;
  }
}

bool copy_first_words(bool first_use, const std::string& from, const std::string& to) {
  const std::string source = from + (first_use ? "/DEF/environ_gene.def" : "/DEF/environ.def");
  const std::string target = to + "/DEF/environ.def";
  const std::optional<bool> has_source = is_readable(source, sort::file);
  const std::optional<bool> has_words = is_readable(target, sort::file);
  if (!has_source || !has_words) return false;
  if (!*has_source || *has_words != first_use) return true;
  if (!first_use) return qu_file_copy(source.c_str(), target.c_str()) != 0 || passed_over();
  // They are there from an opening that was cut.
  if (ends_with(target, source)) return true;
  return qu_file_concat(source.c_str(), target.c_str()) != 0 || passed_over();
}

bool copy_display_files(const std::string& from, const std::string& to) {
  directory_listing listing((from + "/DEF").c_str());
  if (!listing) return passed_over();
  while (const char* name = listing.next()) {
    if (std::strncmp(name, "DISP", 4) != 0) continue;
    const std::string source = from + "/DEF/" + name;
    struct stat status;
    if (lstat(source.c_str(), &status) != 0) {
      if (!passed_over()) return false;
    } else if (S_ISREG(status.st_mode) && qu_file_copy(source.c_str(), (to + "/DEF/" + name).c_str()) == 0 &&
               !passed_over()) {
      return false;
    }
  }
  return true;
}

bool copy_folder(const std::string& source, const std::string& target) {
  const std::optional<bool> has_source = is_readable(source, sort::folder);
  if (!has_source) return false;
  return !*has_source || qu_dir_copy(source.c_str(), target.c_str()) == 0 || passed_over();
}

bool is_counted(const std::string& name) {
  return std::find(std::begin(counted_folders), std::end(counted_folders), name) != std::end(counted_folders);
}

// True if a folder of the study can only be one that an opening prepared.
bool is_prepared(const std::string& path, const std::string& name) {
  struct stat status;
  if (name[0] != being_made || !qu_is_working_name(name) || lstat(path.c_str(), &status) != 0 ||
      !S_ISDIR(status.st_mode))
    return false;
  directory_listing listing(path.c_str());
  if (!listing) return false;
  while (const char* entry = listing.next())
    if (entry[0] != '.' && !is_counted(entry) && !qu_is_working_name(entry)) return false;
  return true;
}

// By an open folder: what another program moves away meanwhile lacks nothing for that.
std::optional<bool> lacks(int study, const char* name) {
  struct stat status;
  if (fstatat(study, name, &status, 0) != 0) return passed_over() ? std::optional(true) : std::nullopt;
  return !S_ISDIR(status.st_mode);
}

}  // namespace

missing_folders::missing_folders(const char* study, const folder_lock& lock) : study_(study) {
  const int folder = open(study, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) {
    state_ = qu_is_gone(errno) ? state::gone : state::failed;
    return;
  }
  state_ = state::known;
  for (const char* name : counted_folders) {
    const std::optional<bool> missing = lacks(folder, name);
    if (!missing) state_ = state::failed;
    if (missing.value_or(false)) names_.emplace_back(name);
  }
  close(folder);
  if (state_ == state::known && !names_.empty()) find_left(lock);
}

missing_folders::~missing_folders() {
  if (!beside_.empty()) rmdir(beside_.c_str());
}

bool missing_folders::is_bare() const {
  return names_.size() == missing_in_bare_study;
}

bool missing_folders::is_missing(const std::string& name) const {
  return std::find(names_.begin(), names_.end(), name) != names_.end();
}

// What a cut opening has prepared: for a bare study it is made anew, and where the first folder had taken its
// place the others are all there.
void missing_folders::find_left(const folder_lock& lock) {
  directory_listing listing(study_.c_str());
  if (!listing) return;
  while (const char* name = listing.next()) {
    const std::string path = study_ + path_separator + name;
    if (!is_prepared(path, name)) continue;
    if (is_bare()) {
      if (lock.is_real()) qu_file_delete_tree(path.c_str(), true);
      continue;
    }
    if (std::all_of(names_.begin(), names_.end(), [&](const std::string& each) {
          return qu_file_isdirectory((path + path_separator + each).c_str()) != 0;
        }))
      beside_ = path;
  }
}

missing_folders::state missing_folders::bring(const std::string& template_study) {
  state_ = prepare(template_study);
  if (state_ != state::known && !beside_.empty()) {
    const int reason = errno;
    qu_file_delete_tree(beside_.c_str(), true);
    errno = reason;
    beside_.clear();
  }
  return state_;
}

missing_folders::state missing_folders::prepare(const std::string& template_study) {
  if (!copy_first_words(true, template_study, study_) || !copy_display_files(template_study, study_))
    return state::failed;
  const auto make = [this](const std::string& name) {
    return mkdir((study_ + path_separator + name).c_str(), 0777);
  };
  const std::string name = qu_with_working_name(qu_working_folder_name, being_made, make);
  if (name.empty()) return qu_is_gone(errno) ? state::gone : state::failed;
  beside_ = study_ + path_separator + name;
  for (const char* folder : environment_folders)
    if (!copy_folder(template_study + path_separator + folder,
                     (is_missing(folder) ? beside_ : study_) + path_separator + folder))
      return state::failed;
  for (const std::string& each : names_)
    if (mkdir((beside_ + path_separator + each).c_str(), 0777) != 0 && errno != EEXIST)
      return qu_is_gone(errno) ? state::gone : state::failed;
  return state::known;
}

std::string missing_folders::waiting(const std::string& name) const {
  return beside_.empty() || !is_missing(name) ? "" : beside_ + path_separator + name;
}

void qu_study_copy_environment(const char* from, const char* to) {
  copy_first_words(false, from, to);
  for (const char* folder : environment_folders)
    copy_folder(std::string(from) + path_separator + folder, std::string(to) + path_separator + folder);
  copy_display_files(from, to);
}

}  // namespace qrd

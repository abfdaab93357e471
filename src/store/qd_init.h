// The study session: open, lock, version.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "util/qu_constants.h"

namespace qrd {

// Version 14.0.0 of the database, (major * 100 + minor) * 100 + patch.
inline constexpr std::int64_t PROGRAM_VERSION = 140000;
inline constexpr std::int64_t STUDY_DESCRIPTOR_VERSION = 520;

// A version number taken apart.
struct version_parts {
  std::int64_t major, minor, patch;
};
constexpr version_parts parts_of_version(std::int64_t version) {
  return {version / 10000, version % 10000 / 100, version % 100};
}

struct study_record {
  std::int64_t unit_flag = 1;
  std::int64_t study_version = PROGRAM_VERSION;
  std::int64_t is_64bit = 0;
};

// The open study.
extern name_text study_name;  // "None" before a study is open
extern root_text study_path;
extern path_text catalogue_path;
extern path_text def_path, param_path, tmp_path, u_color_path, u_litho_path, images_path, metafile_path,
    transfo_path, cscale_path;
extern std::int64_t is_64bit;    // of the last descriptor read
extern std::int64_t has_marker;  // DESCR.500 exists
extern std::int64_t lock_taken;  // qd_init has run

// 0 done, 1 exists, 2 failed. `template_path` may be "None". `enter`, if there is one, has the last word once
// the study stands in its place: false is a failure. Nothing is left of one, parents included.
int qu_study_create(const char* path, const char* template_path, std::int64_t with_units,
                    const std::function<bool()>& enter = nullptr);
void qu_study_copy_environment(bool first_use, const char* from, const char* to);
// What came of opening a study; anything but the first leaves open what was.
enum study_opening : int {
  STUDY_OPENED = 0,
  STUDY_OTHER_VERSION = 1,  // that of the study found
  STUDY_NO_REGISTRY = 2,    // it is there and can't be read
  STUDY_TOO_LONG = 3,       // the path of a study below this root
  STUDY_GONE = 4,           // other servers delete what this one wants to open
  STUDY_IN_USE = 5,         // another server prepares it for too long
  STUDY_INCOMPLETE = 6      // what it lacks can't be brought now; told
};
// "None" takes the current name or the first that fits, which also stands in for a name that can't be opened.
// Other failures are fatal.
int qu_study_open(const char* name);
// Which root and which study are open, to be put back after a failure.
class open_store {
 public:
  open_store();
  void put_back() const;

 private:
  std::vector<std::string> texts_;
  std::vector<std::int64_t> flags_;
};
// 0 usable; 1 not readable; 2 another version. A missing one is made anew.
int qu_study_descriptor_read(bool report, const char* name, const char* path, study_record* record);
// 1 written, 0 not; the old descriptor then stays. The version written is always PROGRAM_VERSION. The
// first form ends the process when the file can't be opened.
int qu_study_descriptor_write(const char* path, study_record* record);
int qu_study_descriptor_write_n(const char* path, study_record* record);
// The version, 0 if the root has none, or `version_unreadable`.
inline constexpr std::int64_t version_unreadable = -1;
std::int64_t qu_version_read(const char* root);
void qu_version_write(const char* root, std::int64_t version);
// 0 accepted; 1 refused, with the message in version_message.
int qd_version_check(const char* root);
extern char version_message[1001];
// Empties the selection tables and installs the hooks of the library.
void qd_tables_init();
// 1 if the lock file was made, 0 if it was there, or if another server has just deleted the study.
int qd_init();
void qd_end(int strict);
// What a signal handler may remove when the process can't end in good order: the path of the lock
// file, empty while no study is open.
extern path_text lock_path;
void qu_study_mark_64bit();

// True if a name can be one element of a path.
bool qu_is_path_element(const char* name);
// True if the path is the folder or lies below it, whatever symbolic links stand between.
bool qu_path_lies_within(const char* path, const char* folder);

}  // namespace qrd

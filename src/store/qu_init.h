// The root: where it is, whether it can be written, and the registry of studies in it.
#pragma once

#include <cstdint>

#include "util/qu_constants.h"
#include "util/qu_list.h"

namespace qrd {

inline constexpr char default_study_name[] = "Velmar-Init";
inline constexpr char template_study_name[] = "Template";
inline constexpr char catalogue_folder[] = "QRD";
inline constexpr char registry_file_name[] = "study_names.def";

// Settings of the store, set by qu_init.
extern char program_short_name[10];
extern char program_name[20];
extern char program_version_text[15];
extern char program_version_long[20];
extern root_text root_path;        // without a separator at its end
extern std::int64_t root_has_end;  // it was given with one: "$init$Gold" is "Gold" in the root
extern root_text root_windows;     // what "$root$" expands to
extern root_text root_unix;        // only kept and written back
extern std::int64_t running_test;

// The word lists of parameter files: "Free".., "3".. to "19", "0".. to "9", and the unit names.
extern string_list length_unit_names;
extern string_list format_names;
extern string_list width_names;
extern string_list digit_names;
extern string_list other_unit_names;

// Opens the root for the process; null means QRD_INIT, else the per-user data folder. Failures are
// fatal. `mode` is 0 for a server.
void qu_init(int mode, const char* root, const char* short_name, const char* name, const char* version,
             const char* long_version);

// Creates and deletes a file WRT_TRY_<random> of a folder, which holds `text` for an instant. `path`
// receives its name.
enum class write_test { passed, cannot_create, cannot_delete, folder_gone };
write_test qu_write_test(const char* folder, const char* text, path_text& path);

// The registry. Each wanted output is replaced; null means not wanted. Gives the number of valid
// names if these are wanted, else the number of pairs. `mode` 1 puts "None" first, -1 doesn't.
// A missing registry is empty. One that is there and can't be read gives `registry_unreadable`.
//
// `all_paths` holds the paths as the registry spells them, so that a rewrite gives back lines that
// another platform wrote with "\"; `valid_paths` holds them as folders of this platform.
inline constexpr int registry_unreadable = -1;
inline constexpr char no_registry_text[] = "Not a valid Velmar path (does not contain a list of studies).";
int qu_study_names_read(int mode, bool sort, bool no_check, string_list* valid_names,
                        string_list* valid_paths, string_list* all_names, string_list* all_paths);
// Makes these the pairs of the registry. What stands there of one of them, and is longer than a list can show
// it, stays whole. False after a report if it can't be written; then the old registry stays.
// REQUIRES: the lock of the root (see qu_lock.h), held since the lists were read.
bool qu_study_names_write(const string_list& all_names, const string_list& all_paths);
// The folder of this platform that a path of the registry means.
void qu_study_folder(const char* registered_path, root_text& folder);

}  // namespace qrd

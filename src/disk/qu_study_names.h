// The registry of the studies of a root, the text file study_names.def.
#pragma once

#include <cstdint>
#include <optional>

#include "util/qu_constants.h"
#include "util/qu_list.h"

namespace qrd {

inline constexpr char registry_file_name[] = "study_names.def";

// The registry. Each wanted output is replaced; null means not wanted. Gives the number of valid
// names if these are wanted, else the number of pairs. `mode` 1 puts "None" first, -1 doesn't.
// A missing registry is empty. One that is there and can't be read gives nothing.
//
// `all_paths` holds the paths as the registry spells them, so that a rewrite gives back lines that
// another platform wrote with "\"; `valid_paths` holds them as folders of this platform.
inline constexpr char no_registry_text[] = "Not a valid Velmar path (does not contain a list of studies).";
[[nodiscard]] std::optional<std::int64_t> qu_study_names_read(int mode, bool sort, bool no_check,
                                                              string_list* valid_names,
                                                              string_list* valid_paths,
                                                              string_list* all_names, string_list* all_paths);
// Makes these the pairs of the registry. What stands there of one of them, and is longer than a list can show
// it, stays whole. False after a report if it can't be written; then the old registry stays.
// REQUIRES: the lock of the root (see qu_lock.h), held since the lists were read.
[[nodiscard]] bool qu_study_names_write(const string_list& all_names, const string_list& all_paths);
// The folder of this platform that a path of the registry means.
void qu_study_folder(const char* registered_path, root_text& folder);

}  // namespace qrd

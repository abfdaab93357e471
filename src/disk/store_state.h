// What this process works on: the root, and the study that is open in it.
#pragma once

#include <cstdint>

#include "util/qu_constants.h"

namespace qrd {

inline constexpr char default_study_name[] = "Velmar-Init";
inline constexpr char template_study_name[] = "Template";
inline constexpr char catalogue_folder[] = "QRD";

// Settings of the store, set by qu_init.
extern char program_name[20];
extern char program_version_text[15];
extern root_text root_path;        // without a separator at its end
extern std::int64_t root_has_end;  // it was given with one: "$init$Gold" is "Gold" in the root
extern root_text root_windows;     // what "$root$" expands to
extern root_text root_unix;        // only kept and written back
extern std::int64_t running_test;

// The open study.
extern name_text study_name;  // "None" before a study is open
extern root_text study_path;
extern path_text catalogue_path;
extern path_text def_path, param_path, tmp_path, u_color_path, u_litho_path, images_path, metafile_path,
    transfo_path, cscale_path;
extern std::int64_t is_64bit;    // of the last descriptor read
extern std::int64_t has_marker;  // DESCR.500 exists
extern std::int64_t lock_taken;  // qd_init has run

}  // namespace qrd

// What this process works on: the root, and the study that is open in it.
#pragma once

#include <cstdint>

#include "util/qu_constants.h"

namespace qrd {

inline constexpr char default_study_name[] = "Velmar-Init";
inline constexpr char template_study_name[] = "Template";
inline constexpr char catalogue_folder[] = "QRD";

struct store_state {
  // Settings of the store, set by qu_init.
  char program_name[20] = "";
  char program_version_text[15] = "";
  root_text root_path = "";         // without a separator at its end
  std::int64_t root_has_end = 0;    // it was given with one: "$init$Gold" is "Gold" in the root
  path_text handle_test_path = "";  // of the file that qu_test_open_file opens
  root_text root_windows = "";      // what "$root$" expands to
  root_text root_unix = "";         // only kept and written back
  std::int64_t running_test = 0;

  // The open study.
  name_text study_name = "None";  // before a study is open
  root_text study_path = "";
  path_text catalogue_path = "";
  path_text def_path = "", param_path = "", tmp_path = "", u_color_path = "", u_litho_path = "",
            images_path = "", metafile_path = "", transfo_path = "", cscale_path = "";
  std::int64_t is_64bit = 0;    // of the last descriptor read
  std::int64_t lock_taken = 0;  // qd_init has run
};

extern store_state store;

}  // namespace qrd

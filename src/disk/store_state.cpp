#include "disk/store_state.h"

namespace qrd {

char program_name[20] = "";
char program_version_text[15] = "";
root_text root_path = "";
std::int64_t root_has_end = 0;
root_text root_windows = "";
root_text root_unix = "";
std::int64_t running_test = 0;

name_text study_name = "None";
root_text study_path = "";
path_text catalogue_path = "";
path_text def_path = "", param_path = "", tmp_path = "", u_color_path = "", u_litho_path = "",
          images_path = "", metafile_path = "", transfo_path = "", cscale_path = "";
std::int64_t has_marker = 0;
std::int64_t is_64bit = 0;
std::int64_t lock_taken = 0;

}  // namespace qrd

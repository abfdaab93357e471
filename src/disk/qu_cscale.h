// Colour scales: how values map to the colours of a palette. They belong to the study and lie in its
// CSCALE folder as CSCA.<n>; the layout stands in the source.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disk/qu_interval.h"
#include "units/qu_units.h"
#include "util/qu_constants.h"
#include "util/qu_list.h"
#include "util/qu_outcome.h"

namespace qrd {

enum cscale_type : std::int64_t {
  SCALE_AUTOMATIC = 0,
  SCALE_CLASSES = 1,
  SCALE_MANUAL = 2,
  SCALE_FACIES = 3
};

struct color_scale {
  std::int64_t readonly = 0;
  name_text name = "None";
  name_text palette_name = "None";
  std::int64_t palette_size = 0;  // not stored
  std::int64_t scale_type = SCALE_AUTOMATIC;
  std::int64_t class_count = 2;
  interval_table intervals;                // manual and facies kinds
  std::int64_t mode[3] = {2, 0, 2};        // display modes of the manual kind
  std::int64_t color[3][3] = {};           // three special colours: red, green, blue
  std::vector<std::int64_t> facies_rgbs;   // facies kind: all reds, all greens, all blues, by class
  std::vector<std::string> facies_labels;  // facies kind: one per class, up to 49 characters
  std::int64_t legend_flag = 1;
  std::int64_t flag_a = 1;
  std::int64_t na_flag = 1;
  name_text na_label = "N/A";
  std::int64_t other_flag = 1;
  name_text other_label = "Other";
  double value[3] = {missing_double, missing_double, missing_double};
  std::int64_t default_unit = 1;  // not 0: `unit` is the float default
  qd_format_record unit;
};

// A damaged scale in the study is fatal, and so is a folder of scales or palettes that can't be listed. May
// end the process, here and below.

// Sets the defaults; with `white` the colours are 255 instead of 0.
void qu_cscale_init(color_scale& scale, bool white, const char* name, const char* palette_name);
// Looks for a scale, and gives its path. Unclear: too many files are open.
found qu_cscale_test(const char* name, path_text& path);
// Fills an empty list with all names, sorted. False if one can't be read now.
[[nodiscard]] bool qu_cscale_get_list(string_list& list);
// False after a report if it isn't found, or can't be read now.
[[nodiscard]] bool qu_cscale_read(const char* name, bool white, color_scale& scale);
// Puts it in place of an older scale of that name. False after a failure; an older one stays then.
[[nodiscard]] bool qu_cscale_write(color_scale& scale);
// False if it isn't found, is read-only or can't be deleted.
[[nodiscard]] bool qu_cscale_delete(const char* name);
// True if a scale uses the palette, or one can't be read now.
bool qu_cscale_uses(const char* palette_name);

}  // namespace qrd

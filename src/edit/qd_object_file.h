// What polygon and wireframe files share: a points file with one sample per object, whose generated
// variables hold the place, the name and the measure of each.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "disk/object_names.h"
#include "disk/qd_records.h"
#include "edit/qd_companion.h"

namespace qrd {

inline constexpr char object_name_variable[] = "N+ NAME";
inline constexpr char object_volume_variable[] = "V+ VOLUME";

struct object_coordinate {
  builtin_variable variable;
  const qd_format_record* format;
};

// One value of each object in order; lengths in centimetres.
struct object_samples {
  std::vector<double> centers;  // all x, all y, and in 3D all z
  std::vector<std::string> names;
  std::vector<double> measures;
};

// The generated variables of a file of that many dimensions.
struct object_variables {
  std::span<const object_coordinate> coordinates;
  const char* measure;
  qd_format_record measure_format;
};

// Makes a points file with a sample for each object, and with the generated variables if there is one.
// `companion` writes the geometry into the folder; the file appears in the catalogue with all this, or not at
// all. A missing directory is made. False after a failure, which leaves nothing. May end the process.
[[nodiscard]] bool qd_object_file_new(const char* directory, const char* file,
                                      const object_variables& variables, const object_samples& samples,
                                      const std::function<bool(const char* folder)>& companion);

// Names of the objects that a selection leaves, without blanks at their ends. Nothing when they can't
// be read: all objects count then.
std::optional<object_name_set> qd_selected_object_names(const char* directory, const char* file,
                                                        const char* selection, const char* name_variable);

enum class [[nodiscard]] selection_state{
    usable,
    ignored,  // "None", or one that is gone, which is told on the console
    unknown   // can't tell
};
// `kind` is the word of the message, such as "Polygon".
selection_state qd_object_selection_state(const char* kind, const found_file& file, const char* selection);

}  // namespace qrd

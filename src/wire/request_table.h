// The requests: their names, who serves them, what travels to the server and back.
//
// A layout is a list of values, parts and groups:
//
//   int first            a value and its name; the types are those of values.h
//   double values[n]     n of them in a row; a count is a number, the name of a value before it, or two of
//                        these with * or + between
//   colours              one of layout_parts
//   n of (...)           the group n times
//   if name (...)        the group if that value isn't 0, or if the client is such a one of client_versions.h
//   if name = 3 (...)    if the value is 3; > is the other comparison
//   unless name (...)    the contrary
//
// A text has its limit in parentheses, which counts the terminator: a number, the name of a value, or "any".
// Without one the limit is text_limit.
#pragma once

#include <iterator>

namespace qrd {

// What several layouts have in common.
struct layout_part {
  const char* name;
  const char* layout;
};
inline constexpr layout_part layout_parts[] = {
    {"names", "int count, text names[count]"},
    {"float_range", "if float_range_client (long first, long last)"},
    {"text_range", "if text_range_client (long first, long last)"},
    {"numbers", "double missing, double values[count]"},
    {"new_variable",
     "text name, int bit_length, int format, int width, int digits, if old_client (text(11) unit), "
     "unless old_client (int has_unit, if has_unit (text(11) unit))"},
    {"faults",
     "bool is_2d, bool has_attributes, double missing, int faults, faults of (text(8) name, bool "
     "is_polyline, "
     "int segments, segments of (double points[9], double attributes[3], int priority))"},
    {"attributes",
     "int attributes, attributes of (text(50) name, int type, if type = 1 (int value), "
     "if type = 2 (double value), if type = 3 (int size, text(size) value), "
     "if type = 4 (int count, int values[count]), if type = 5 (int count, double values[count]), "
     "if type = 6 (int count, count of (int size, text(size) value)))"},
    {"contours",
     "double box[6], long contours, contours of (text(16) contour, text(16) polygon, double z_min, "
     "double z_max, int corners, double xy[2 * corners])"},
    {"wireframes",
     "int objects, objects of (text(50) name, int red, int green, int blue, int pieces, "
     "pieces of (int vertices, int triangles, double xyz[3 * vertices], int corners[3 * triangles]))"},
    {"colours", "int count, int red[count], int green[count], int blue[count]"},
    {"scale",
     "int type, bool is_readonly, text palette, int classes, int colour_1[3], int manual_colour_3[3], "
     "int manual_colour_2[3], int facies_colour_2[3], int modes[3], text unused_1, text unused_2, "
     "int intervals, bool has_integer_bounds, bool has_manual, bool has_facies, "
     "if has_manual (if classes > 0 (double bounds[classes + 1], int palette_indices[classes])), "
     "if has_facies (if classes > 0 (if intervals > 0 (double minima[intervals], double maxima[intervals], "
     "int indices[intervals], int rgb[3 * classes], text labels[classes])))"},
};

struct request_row {
  const char* name;
  const char* handler;
  const char* arguments;
  const char* answer;
  const char* values;                  // behind the answer's name
  const char* other_answer = nullptr;  // an answer without values that may come instead
};

// In the order in which CSUPREQ tells them.
inline constexpr request_row request_table[] = {
#define REQUEST(name, handler, ...) {name, #handler, __VA_ARGS__},
#include "wire/request_table.inc"
#undef REQUEST
};
static_assert(std::size(request_table) == 83);

}  // namespace qrd

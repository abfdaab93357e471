// CPOLYGONS.
#include <algorithm>
#include <cstring>
#include <new>

#include "catalogue/qd_info.h"
#include "edit/qd_polygon.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/length_factors.h"
#include "requests/polygon_names.h"
#include "wire/answer.h"

namespace qrd {

namespace {

// A longer name has no place on the wire.
bool can_be_sent(const contour& each) {
  return std::strlen(each.name) < wire_name_size && std::strlen(each.owner->name) < wire_name_size;
}

// The vertices are divided in place: the system goes with the request.
bool write_contour(contour& written, const unit_divisors& unit) {
  for (vertex& corner : written.vertices) {
    corner.x /= unit.x;
    corner.y /= unit.y;
  }
  const auto count = static_cast<std::int64_t>(written.vertices.size());
  return write_value(wire_string{written.name, wire_name_size}) &&
         write_value(wire_string{written.owner->name, wire_name_size}) &&
         write_value(wire_double{written.z_min / unit.z}) &&
         write_value(wire_double{written.z_max / unit.z}) && write_value(wire_int{narrow_int(count)}) &&
         (count == 0 || write_value(wire_doubles{&written.vertices.front().x, 2 * count}));
}

}  // namespace

request_status server_answer_polygons(const char* /*request*/) {
  if (!is_set(current_context.file)) return refuse("File is not set");
  found_file file = {current_context.directory, current_context.file};
  qd_file_info file_info;
  if (!qd_info_file(file, file_info)) return refuse("Cannot get file info");
  polygon_box box;
  std::unique_ptr<polygon_system> system;
  try {
    const geometry state = qd_polygon_info(file, current_context.selection, box, &system);
    if (state == geometry::unclear) return refuse("Cannot get polygon information.");
    if (state == geometry::no_file || state == geometry::damaged)
      return refuse("%s is not a polygon file.", file.name);
    if (!system && qd_polygon_read(file, current_context.selection, system) != geometry::read)
      return refuse("Cannot read polygons.");
  } catch (const std::bad_alloc&) {
    return refuse("No enough memory to read polygons.");
  }
  // Found before the answer begins: what has been sent of it can't be taken back.
  if (!std::all_of(system->contours.begin(), system->contours.end(), can_be_sent)) return not_served;

  const unit_divisors unit = client_units(system->unit_x, system->unit_y, system->unit_z);
  const double bounds[] = {box.x_min / unit.x, box.y_min / unit.y, box.z_min / unit.z,
                           box.x_max / unit.x, box.y_max / unit.y, box.z_max / unit.z};
  return answer_with([&] {
    return write_value(wire_bool{system->dimension == 2}) && write_value(wire_doubles{bounds, 6}) &&
           write_value(wire_long{system->contours.count()}) &&
           std::all_of(system->contours.begin(), system->contours.end(),
                       [&unit](contour& each) { return write_contour(each, unit); });
  });
}

}  // namespace qrd

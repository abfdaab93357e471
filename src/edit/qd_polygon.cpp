#include "edit/qd_polygon.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_polygon_format.h"
#include "disk/qd_polygon_old.h"
#include "disk/qu_polygon_shape.h"
#include "edit/qd_companion.h"
#include "edit/qd_manage.h"
#include "edit/qd_object_file.h"
#include "samples/qd_selection_rows.h"
#include "util/qu_file.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr builtin_variable locations[3] = {{"XL+ X Location (READONLY)", KIND_X},
                                           {"YL+ Y Location (READONLY)", KIND_Y},
                                           {"ZL+ Z Location (READONLY)", KIND_Z}};
constexpr char surface_variable[] = "S+ SURFACE";

constexpr char polygon_file_name[] = "POLYGON";

void polygon_path(const found_file& file, path_text& path) {
  qd_companion_path(file, polygon_file_name, path);
}

bool write_file(const char* path, polygon_system& system) {
  const polygon_box box = qu_polygon_box(system);
  polygon_header header;
  header.dimension_word = system.dimension;
  header.polygon_count = system.polygons.count();
  header.contour_count = system.contours.count();
  header.vertex_count = qu_vertex_count(system);
  header.x_min = box.x_min, header.x_max = box.x_max;
  header.y_min = box.y_min, header.y_max = box.y_max;
  header.z_min = box.z_min, header.z_max = box.z_max;
  const auto write = [&](XDR* xdr) {
    return qd_polygon_header_move(xdr, header) && qd_polygon_body_write(xdr, system);
  };
  return qd_object_file_replace(path, write) == object_state::sound;
}

// Always false.
bool report_unwritten(const char* directory, const char* file) {
  qu_message("WARNING: Error when writing in the Polygon File %s/%s.", directory, file);
  return false;
}

// Places, names and measures of the polygons.
object_samples samples_of(const polygon_system& system) {
  const bool is_3d = system.dimension == 3;
  const double unit = std::pow(units.distance.factor, static_cast<double>(system.dimension));
  object_samples samples;
  for (const polygon& each : system.polygons) samples.centers.push_back(each.center_x);
  for (const polygon& each : system.polygons) samples.centers.push_back(each.center_y);
  for (const polygon& each : system.polygons) {
    if (is_3d) samples.centers.push_back(each.center_z);
    samples.names.emplace_back(each.name);
    samples.measures.push_back(qu_polygon_measure(each) / unit);
  }
  return samples;
}

// The variables that hold them, while the system lives.
struct generated_variables {
  explicit generated_variables(const polygon_system& system)
      : coordinates{{locations[0], &system.unit_x},
                    {locations[1], &system.unit_y},
                    {locations[2], &system.unit_z}},
        all{std::span(coordinates).first(static_cast<std::size_t>(system.dimension)),
            system.dimension == 3 ? object_volume_variable : surface_variable, float_default} {
    qu_string_copy((units.distance.unit + std::to_string(system.dimension)).c_str(), all.measure_format.unit);
  }
  generated_variables(const generated_variables&) = delete;
  generated_variables& operator=(const generated_variables&) = delete;

  object_coordinate coordinates[3];
  object_variables all;
};

bool read_body(XDR* xdr, std::int64_t bytes, const found_file& file, const char* selection,
               polygon_system& system) {
  polygon_header header;
  if (!qd_polygon_header_move(xdr, header)) return false;
  system.dimension = header.dimension();
  if (header.version <= last_compound_version) return qd_polygon_compounds_read(xdr, header, bytes, system);
  std::optional<object_name_set> kept;
  if (selection != nullptr)
    kept = qd_selected_object_names(file.directory, file.name, selection, object_name_variable);
  return qd_polygon_body_read(xdr, header, bytes, kept, system);
}

// The box of the polygons that a selection leaves, and these.
geometry narrow_box(const found_file& file, const char* selection, polygon_box& box,
                    std::unique_ptr<polygon_system>& system) {
  if (!qd_free_samples_count(file.directory, file.name, selection)) return geometry::damaged;
  const geometry state = qd_polygon_read(file, selection, system);
  if (state == geometry::damaged)
    qu_message("WARNING: not enough memory to read the Polygons File \"%s / %s\".", file.directory,
               file.name);
  if (state != geometry::read) return state == geometry::damaged ? state : geometry::unclear;
  // The bounds start exchanged, so that any vertex moves them.
  std::swap(box.x_min, box.x_max);
  std::swap(box.y_min, box.y_max);
  std::swap(box.z_min, box.z_max);
  for (const contour& each : system->contours) {
    for (const vertex& corner : each.vertices) {
      box.x_min = std::min(box.x_min, corner.x);
      box.x_max = std::max(box.x_max, corner.x);
      box.y_min = std::min(box.y_min, corner.y);
      box.y_max = std::max(box.y_max, corner.y);
    }
    box.z_min = std::min(box.z_min, each.z_min);
    box.z_max = std::max(box.z_max, each.z_max);
  }
  return geometry::read;
}

}  // namespace

geometry qd_polygon_info(const found_file& file, const char* selection, polygon_box& box,
                         std::unique_ptr<polygon_system>* system) {
  if (file.record.organisation != ORG_POINTS) return geometry::no_file;
  path_text path;
  polygon_path(file, path);
  polygon_header header;
  bool read = false;
  {
    companion_reader companion(path, file.name);
    if (companion.opened() != companion_reader::state::open) return companion.unopened();
    xdr_stream xdr(companion.stream(), XDR_DECODE);
    if (!xdr) return geometry::unclear;
    read = qd_polygon_header_move(xdr.get(), header);
    if (!companion.is_whole()) return geometry::unclear;
  }
  box = {header.x_min, header.y_min, header.z_min, header.x_max, header.y_max, header.z_max};
  const selection_state selected = read && selection != nullptr
                                       ? qd_object_selection_state("Polygon", file, selection)
                                       : selection_state::ignored;
  if (selected == selection_state::unknown) return geometry::unclear;
  if (selected == selection_state::usable) {
    if (qd_free_entries() < 2) return geometry::unclear;
    std::unique_ptr<polygon_system> left;
    const geometry narrowed = narrow_box(file, selection, box, system == nullptr ? left : *system);
    if (narrowed != geometry::damaged) return narrowed;
    read = false;
  }
  if (read) return geometry::read;
  qu_message("Polygon file corrupted: %s\n", path);
  return geometry::damaged;
}

geometry qd_polygon_read(const found_file& file, const char* selection,
                         std::unique_ptr<polygon_system>& system) {
  system = nullptr;
  if (file.record.organisation != ORG_POINTS) return geometry::no_file;
  const selection_state selected = qd_object_selection_state("Polygon", file, selection);
  if (selected == selection_state::unknown) return geometry::unclear;
  path_text path;
  polygon_path(file, path);
  companion_reader companion(path, file.name);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return geometry::unclear;
  auto read = qu_polygon_system_new();
  if (!read_body(xdr.get(), companion.bytes(), file,
                 selected == selection_state::usable ? selection : nullptr, *read)) {
    if (!companion.is_whole()) return geometry::unclear;
    companion.set_aside();
    return geometry::damaged;
  }
  qd_coordinates_formats(file, read->unit_x, read->unit_y, read->unit_z);
  system = std::move(read);
  return geometry::read;
}

bool qd_polygon_new(const char* directory, const char* file, polygon_system& system) {
  const generated_variables generated(system);
  return qd_object_file_new(directory, file, generated.all, samples_of(system), [&](const char* folder) {
    path_text path;
    qu_path_join(path, {folder, path_separator, polygon_file_name});
    return write_file(path, system) || report_unwritten(directory, file);
  });
}

void qd_polygon_delete(const char* directory, const char* file) {
  found_file place = {directory, file};
  if (qd_find_geometry(place) != geometry::read || place.record.organisation != ORG_POINTS) return;
  path_text path;
  polygon_path(place, path);
  if (qu_file_readable(path)) static_cast<void>(qd_delete_file(directory, file));
}

}  // namespace qrd

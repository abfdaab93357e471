#include "edit/qd_wireframe.h"

#include <optional>
#include <string>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_wireframe_format.h"
#include "edit/qd_companion.h"
#include "edit/qd_object_file.h"
#include "samples/qd_selection_rows.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr char wireframe_file_name[] = "WIREFRAME";

// Those of the samples' places.
constexpr builtin_variable centers[3] = {{"X+ Gravity Center (READONLY)", KIND_X},
                                         {"Y+ Gravity Center (READONLY)", KIND_Y},
                                         {"Z+ Gravity Center (READONLY)", KIND_Z}};

// Places, names and volumes of the objects.
object_samples samples_of(wireframe& root) {
  const std::size_t count = root.objects.size();
  const double unit = units.distance.factor;
  object_samples samples;
  samples.centers.resize(3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    wireframe_object& object = root.objects[i];
    qu_polyhedron_center(object, samples.centers[i], samples.centers[count + i],
                         samples.centers[2 * count + i]);
    samples.names.emplace_back(object.name);
    samples.measures.push_back(qu_polyhedron_volume(object) / (unit * unit * unit));
  }
  return samples;
}

// The short test of the catalogue, and the path: read if the companion can be looked for.
geometry find_file(const char* directory, const char* file, path_text& path) {
  const found test = qd_points_test(directory, file);
  if (test == found::no) return geometry::no_file;
  const bool is_found = test == found::yes && qd_companion_path(directory, file, wireframe_file_name, path);
  return is_found ? geometry::read : geometry::unclear;
}

void load_units(const char* directory, const char* file, wireframe& root) {
  qd_coordinates_formats(1, directory, file, &root.unit_x, &root.unit_y, &root.unit_z);
  root.unit_volume = float_default;
  qu_string_copy("km3", root.unit_volume.unit);
  qd_var_info info;
  if (qd_variable_test(false, directory, file, object_volume_variable) == found::yes &&
      qd_info_var_name(directory, file, object_volume_variable, info) && info.type == VAR_FLOAT)
    root.unit_volume = info.format;
}

}  // namespace

bool qd_wireframe_write(const char* directory, const char* file, wireframe& root) {
  if (root.objects.empty()) {
    qu_message("Cannot create Wireframe file with 0 polyhedron");
    return false;
  }
  const object_coordinate coordinates[] = {
      {centers[0], &units.distance}, {centers[1], &units.distance}, {centers[2], &units.distance}};
  object_variables variables{coordinates, object_volume_variable, float_default};
  variables.measure_format.format = FORMAT_EXPONENT;
  qu_string_copy((std::string(units.distance.unit) + "3").c_str(), variables.measure_format.unit);
  return qd_object_file_new(directory, file, variables, samples_of(root), [&](const char* folder) {
    path_text path;
    qu_path_join(path, {folder, path_separator, wireframe_file_name});
    const auto write = [&root](XDR* xdr) { return qd_wireframe_body_write(xdr, root); };
    if (qd_object_file_replace(path, write) == object_state::sound) return true;
    qu_message("WARNING: Error when writing in the Wireframe File %s/%s.", directory, file);
    return false;
  });
}

geometry qd_wireframe_read(const char* directory, const char* file, const char* selection,
                           std::unique_ptr<wireframe>& root) {
  root = nullptr;
  path_text path;
  if (const geometry state = find_file(directory, file, path); state != geometry::read) return state;
  std::optional<object_name_set> kept;
  const selection_state selected = qd_object_selection_state("Wireframe", directory, file, selection);
  if (selected == selection_state::unknown) return geometry::unclear;
  companion_reader companion(path, file);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return geometry::unclear;
  if (selected == selection_state::usable)
    kept = qd_selected_object_names(directory, file, selection, object_name_variable);
  auto read = qu_wireframe_new();
  if (!qd_wireframe_body_read(xdr.get(), companion.bytes(), kept, *read)) {
    if (!companion.is_whole()) return geometry::unclear;
    companion.set_aside();
    return geometry::damaged;
  }
  load_units(directory, file, *read);
  root = std::move(read);
  return geometry::read;
}

geometry qd_wireframe_info(const char* directory, const char* file, const char* selection) {
  path_text path;
  if (const geometry state = find_file(directory, file, path); state != geometry::read) return state;
  companion_reader companion(path, file);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return geometry::unclear;
  wireframe_header header;
  bool read = qd_wireframe_header_read(xdr.get(), header);
  if (!companion.is_whole()) return geometry::unclear;
  const selection_state selected =
      read ? qd_object_selection_state("Wireframe", directory, file, selection) : selection_state::ignored;
  if (selected == selection_state::unknown) return geometry::unclear;
  if (selected == selection_state::usable) {
    if (qd_free_entries() < 2) return geometry::unclear;
    read = qd_free_samples_count(directory, file, selection).has_value();
  }
  if (read) return geometry::read;
  qu_message("Wireframe file corrupted: %s\n", path);
  return geometry::damaged;
}

}  // namespace qrd

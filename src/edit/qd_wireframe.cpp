#include "edit/qd_wireframe.h"

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

// The short test of the catalogue, and the path: 0, or the failure 1 (missing) or 2 (can't tell).
int find_file(const char* directory, const char* file, path_text& path) {
  switch (qd_points_test(directory, file, nullptr)) {
    case 0:
      return qd_companion_path(directory, file, wireframe_file_name, path) != 0 ? 0 : 2;
    case 1:
      return 2;
    default:
      return 1;
  }
}

void load_units(const char* directory, const char* file, wireframe& root) {
  qd_coordinates_formats(1, directory, file, &root.unit_x, &root.unit_y, &root.unit_z);
  root.unit_volume = float_default;
  qu_string_copy("km3", root.unit_volume.unit);
  qd_var_info info;
  if (qd_variable_test(false, directory, file, object_volume_variable) == 0 &&
      qd_info_var_name(directory, file, object_volume_variable, info) != 0 && info.type == VAR_FLOAT)
    root.unit_volume = info.format;
}

}  // namespace

int qd_wireframe_write(const char* directory, const char* file, wireframe& root) {
  if (root.objects.empty()) {
    qu_message("Cannot create Wireframe file with 0 polyhedron");
    return 2;
  }
  const object_coordinate coordinates[] = {
      {centers[0], &units.distance}, {centers[1], &units.distance}, {centers[2], &units.distance}};
  object_variables variables{coordinates, object_volume_variable, float_default};
  variables.measure_format.format = FORMAT_EXPONENT;
  qu_string_copy((std::string(units.distance.unit) + "3").c_str(), variables.measure_format.unit);
  const bool made = qd_object_file_new(directory, file, variables, samples_of(root), [&](const char* folder) {
    path_text path;
    qu_path_join(path, {folder, path_separator, wireframe_file_name});
    const auto write = [&root](XDR* xdr) { return qd_wireframe_body_write(xdr, root); };
    if (qd_object_file_replace(path, write) == object_state::sound) return true;
    qu_message("WARNING: Error when writing in the Wireframe File %s/%s.", directory, file);
    return false;
  });
  return made ? 0 : 2;
}

std::unique_ptr<wireframe> qd_wireframe_read(const char* directory, const char* file, const char* selection,
                                             int& status) {
  status = 2;
  path_text path;
  if (find_file(directory, file, path) != 0) return nullptr;
  std::optional<object_name_set> kept;
  const selection_state selected = qd_object_selection_state("Wireframe", directory, file, selection);
  if (selected == selection_state::unknown) return nullptr;
  companion_reader companion(path, file);
  if (companion.opened() != companion_reader::state::open) {
    if (companion.opened() == companion_reader::state::absent) status = 3;
    return nullptr;
  }
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return nullptr;
  if (selected == selection_state::usable)
    kept = qd_selected_object_names(directory, file, selection, object_name_variable);
  auto root = qu_wireframe_new();
  if (!qd_wireframe_body_read(xdr.get(), companion.bytes(), kept, *root)) {
    if (!companion.is_whole()) return nullptr;
    companion.set_aside();
    status = 1;
    return nullptr;
  }
  load_units(directory, file, *root);
  status = 0;
  return root;
}

int qd_wireframe_info(const char* directory, const char* file, const char* selection, wireframe_info& info) {
  path_text path;
  if (int found = find_file(directory, file, path); found != 0) return found;
  companion_reader companion(path, file);
  if (companion.opened() != companion_reader::state::open)
    return companion.opened() == companion_reader::state::absent ? 3 : 2;
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return 2;
  wireframe_header header;
  bool read = qd_wireframe_header_read(xdr.get(), header);
  if (!companion.is_whole()) return 2;
  info.object_count = header.objects;
  const selection_state selected =
      read ? qd_object_selection_state("Wireframe", directory, file, selection) : selection_state::ignored;
  if (selected == selection_state::unknown) return 2;
  if (selected == selection_state::usable) {
    if (qd_free_entries() < 2) return 2;
    info.object_count = qd_free_samples_count(directory, file, selection);
    read = info.object_count >= 0;
  }
  if (!read) {
    qu_message("Wireframe file corrupted: %s\n", path);
    return 1;
  }
  info.vertex_count = header.vertices;
  info.triangle_count = header.triangles;
  const double(&box)[6] = header.box;
  info.x_min = box[0], info.x_max = box[1], info.y_min = box[2];
  info.y_max = box[3], info.z_min = box[4], info.z_max = box[5];
  return 0;
}

}  // namespace qrd

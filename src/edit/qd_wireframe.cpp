#include "edit/qd_wireframe.h"

#include <optional>
#include <string>

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

geometry qd_wireframe_read(const found_file& file, const char* selection, std::unique_ptr<wireframe>& root) {
  root = nullptr;
  if (file.record.organisation != ORG_POINTS) return geometry::no_file;
  path_text path;
  qd_companion_path(file, wireframe_file_name, path);
  std::optional<object_name_set> kept;
  const selection_state selected = qd_object_selection_state("Wireframe", file, selection);
  if (selected == selection_state::unknown) return geometry::unclear;
  companion_reader companion(path, file.name);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return geometry::unclear;
  if (selected == selection_state::usable)
    kept = qd_selected_object_names(file.directory, file.name, selection, object_name_variable);
  auto read = qu_wireframe_new();
  if (!qd_wireframe_body_read(xdr.get(), companion.bytes(), kept, *read)) {
    if (!companion.is_whole()) return geometry::unclear;
    companion.set_aside();
    return geometry::damaged;
  }
  qd_coordinates_formats(file, read->unit_x, read->unit_y, read->unit_z);
  root = std::move(read);
  return geometry::read;
}

geometry qd_wireframe_info(const found_file& file, const char* selection) {
  if (file.record.organisation != ORG_POINTS) return geometry::no_file;
  path_text path;
  qd_companion_path(file, wireframe_file_name, path);
  companion_reader companion(path, file.name);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return geometry::unclear;
  wireframe_header header;
  bool read = qd_wireframe_header_read(xdr.get(), header);
  if (!companion.is_whole()) return geometry::unclear;
  const selection_state selected =
      read ? qd_object_selection_state("Wireframe", file, selection) : selection_state::ignored;
  if (selected == selection_state::unknown) return geometry::unclear;
  if (selected == selection_state::usable) {
    if (qd_free_entries() < 2) return geometry::unclear;
    read = qd_free_samples_count(file.directory, file.name, selection).has_value();
  }
  if (read) return geometry::read;
  qu_message("Wireframe file corrupted: %s\n", path);
  return geometry::damaged;
}

}  // namespace qrd

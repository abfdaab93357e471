// CFILEINFO: all that a client wants to know of the current file.
#include "catalogue/qd_info.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_handles.h"
#include "edit/qd_fault.h"
#include "edit/qd_polygon.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/length_factors.h"
#include "wire/answer.h"
#include "wire/connection.h"
#include "wire/debug.h"

namespace qrd {

namespace {

// What a client calls an organisation.
enum wire_organisation : std::int32_t { WIRE_POINTS = 0, WIRE_GRAVITY = 1, WIRE_CORES = 2, WIRE_GRID = 3 };

// For clients that know lines of one kind only.
enum old_organisation : std::int32_t { OLD_POINTS = 0, OLD_LINES = 1, OLD_GRID = 2 };

// -1 for an unknown organisation.
std::int32_t wire_organisation_of(std::int64_t organisation) {
  switch (organisation) {
    case ORG_POINTS:
      return WIRE_POINTS;
    case ORG_LINES_GRAVITY:
      return WIRE_GRAVITY;
    case ORG_LINES_CORES:
      return WIRE_CORES;
    case ORG_GRID:
      return WIRE_GRID;
    default:
      return -1;
  }
}

std::int32_t for_this_client(std::int32_t organisation) {
  if (client_is(cores_client)) return organisation;
  if (organisation == WIRE_POINTS) return OLD_POINTS;
  return organisation == WIRE_GRID ? OLD_GRID : OLD_LINES;
}

bool write_ints(std::initializer_list<std::int64_t> values) {
  for (std::int64_t value : values) {
    if (!write_value(wire_int{static_cast<std::int32_t>(value)})) return false;
  }
  return true;
}

bool write_doubles(std::initializer_list<double> values) {
  for (double value : values) {
    if (!write_value(wire_double{value})) return false;
  }
  return true;
}

bool write_name(const char* name) {
  return write_value(wire_string{name, name_size});
}

bool write_grid(const qd_grid_record& grid, const unit_divisors& unit) {
  return write_doubles({grid.x0 / unit.x, grid.y0 / unit.y, grid.z0 / unit.z, grid.dx / unit.x,
                        grid.dy / unit.y, grid.dz / unit.z}) &&
         write_ints({grid.nx, grid.ny, grid.nz}) && write_value(wire_bool{grid.rotated != 0}) &&
         write_doubles({grid.angle1, grid.angle2, grid.angle3});
}

// The names of the variables with a role in the file, as far as the client is told of them.
class role_names {
 public:
  // The client tells by the organisation which names follow: it must be the one that is sent.
  role_names(const role_records& roles, std::int64_t organisation, const char* link_name)
      : roles_(roles),
        has_cores_(client_is(cores_client) && organisation == ORG_LINES_CORES),
        knows_line_name_(client_is(line_name_client)),
        has_line_name_(organisation == ORG_POINTS && link_name[0] != '\0') {}

  // Yes, or what it means that a name is missing which the answer needs: none is no failure.
  found find() const { return roles_.otherwise == found::no || has_all() ? found::yes : roles_.otherwise; }

  bool write() const {
    for (int kind : {KIND_SAMPLE_NUMBER, KIND_LINE_NUMBER, KIND_RELATIVE_NUMBER, KIND_X, KIND_Y, KIND_Z}) {
      if (!write_name(name(kind))) return false;
    }
    for (int kind = KIND_X_BEGIN; has_cores_ && kind <= KIND_Z_END; ++kind) {
      if (!write_name(name(kind))) return false;
    }
    return !knows_line_name_ || write_name(has_line_name_ ? name(KIND_LINE_NAME) : no_name);
  }

 private:
  bool has(int kind) const { return roles_.is_there[kind] && roles_.records[kind].name[0] != '\0'; }
  bool has_all() const {
    for (int kind : {KIND_SAMPLE_NUMBER, KIND_LINE_NUMBER, KIND_RELATIVE_NUMBER, KIND_X, KIND_Y, KIND_Z}) {
      if (!has(kind)) return false;
    }
    for (int kind = KIND_X_BEGIN; has_cores_ && kind <= KIND_Z_END; ++kind) {
      if (!has(kind)) return false;
    }
    return !knows_line_name_ || !has_line_name_ || has(KIND_LINE_NAME);
  }
  const char* name(int kind) const { return has(kind) ? roles_.records[kind].name : no_name; }

  const role_records& roles_;
  bool has_cores_;
  bool knows_line_name_;
  bool has_line_name_;
};

}  // namespace

request_status server_answer_file_info(const char* /*request*/) {
  const server_context& context = current_context;
  if (!is_set(context.file)) return refuse("File is not set");
  qd_file_info info;
  found_file place = {context.directory, context.file};
  if (!qd_info_file(place, info)) return refuse("Cannot get file info");
  const qd_file_record& file = place.record;
  const qd_grid_record grid = file.organisation == ORG_GRID ? file.grid : qd_grid_record();
  polygon_box box;
  const bool has_polygons = qd_polygon_info(place, nullptr, box) == geometry::read;
  role_records roles;
  roles.walk(place.folder);
  unit_divisors unit;
  if (!find_client_units(roles, file.dimension, unit)) return not_served;
  const std::int32_t organisation = wire_organisation_of(info.organisation);
  if (organisation < 0) {
    return refuse("Unknown organisation (%d) for file", static_cast<std::int32_t>(info.organisation));
  }
  fault_info faults;
  const bool has_faults = qd_fault_info(place, faults) == geometry::read;
  if (!has_faults) faults = fault_info();
  const role_names names(roles, info.organisation, file.link_name);
  const found told = names.find();
  if (told == found::unreadable && qd_two_files_available()) return refuse("Cannot get file info");
  if (told != found::yes) {
    // Clients get no answer when too many files are open.
    server_debug(1, "Too much files opened to determine variable type.");
    return not_served;
  }

  return answer_with([&] {
    return write_value(wire_int{for_this_client(organisation)}) && write_name(file.link_name) &&
           write_value(wire_bool{has_faults}) && write_value(wire_bool{has_polygons}) &&
           write_ints({info.dimension}) && write_value(wire_long{info.sample_count}) &&
           write_ints({info.line_count}) && write_grid(grid, unit) && names.write() &&
           write_ints({faults.is_2d}) && write_value(wire_bool{faults.has_attributes != 0}) &&
           write_ints({faults.fault_count, faults.segment_count, faults.priority_min, faults.priority_max,
                       faults.priority_limit});
  });
}

}  // namespace qrd

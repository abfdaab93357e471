// Grid files: creation, and changes of origin, mesh and rotation.
#include "catalogue/qd_info.h"
#include "catalogue/qd_locked_file.h"
#include "disk/qd_descriptor_changes.h"
#include "disk/qd_file_descriptor.h"
#include "edit/qd_manage.h"
#include "requests/context.h"
#include "requests/file_creation.h"
#include "requests/handlers.h"
#include "requests/length_factors.h"
#include "units/qu_units.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

namespace {

struct grid_target : locked_file {
  bool is_3d() const { return record.dimension == 3; }
};

// The current file, which must be a grid, locked for a change. False after a refusal.
bool find_grid(grid_target& target) {
  if (!is_set(current_context.directory)) return refuse("Directory is not set");
  if (!is_set(current_context.file)) return refuse("File is not set");
  if (target.open(current_context.directory, current_context.file) != found::yes)
    return refuse("Cannot get file info");
  if (target.record.organisation != ORG_GRID) return refuse("Current file is not a grid");
  return true;
}

request_status write_grid(const grid_target& target) {
  descriptor_changes change;
  // What was derived from the old geometry goes once the new one has found its room on the disk.
  const bool prepared = change.add(target.path, target.record);
  if (prepared) qd_delete_derived_files(target.path);
  if (!prepared || !change.commit()) return refuse("Impossible to write the file_descriptor");
  return answer();
}

// Puts three lengths off the socket into the grid fields of the current file.
request_status modify_lengths(double qd_grid_record::*x, double qd_grid_record::*y,
                              double qd_grid_record::*z) {
  double values[3] = {};
  unit_divisors unit;
  grid_target target;
  if (!read_arguments(values[0], values[1], values[2])) return not_served;
  if (!find_grid(target)) return not_served;
  role_records roles;
  if (current_context.unit_mode != 0) roles.walk(target.path);
  if (!find_client_units(roles, target.record.dimension, unit)) return not_served;

  server_debug(1, "Modifying Grid File: \"%s\".", current_context.file);
  target.record.grid.*x = values[0] * unit.x;
  target.record.grid.*y = values[1] * unit.y;
  if (target.is_3d()) target.record.grid.*z = values[2] * unit.z;
  return write_grid(target);
}

}  // namespace

// CGFILENEW: makes a grid file. Its numbers come in the units of the axes.
request_status server_answer_grid_file_new(const char* /*request*/) {
  request_text name;
  std::int32_t dimension = 0, nx = 1, ny = 1, nz = 1;
  qd_grid_record grid;
  if (!read_arguments(name, dimension, grid.x0, grid.dx, nx, grid.y0, grid.dy, ny)) return not_served;
  if (dimension == 3 && !read_arguments(grid.z0, grid.dz, nz)) return not_served;
  grid.x0 *= units.axis_x.factor;
  grid.dx *= units.axis_x.factor;
  grid.y0 *= units.axis_y.factor;
  grid.dy *= units.axis_y.factor;
  grid.z0 *= units.axis_z.factor;
  grid.dz *= units.axis_z.factor;
  grid.nx = nx;
  grid.ny = ny;
  grid.nz = nz;
  if (!may_create_file(name.c_str())) return not_served;

  const server_context& context = current_context;
  server_debug(1, "Creating Grid File: \"%s\".", name.c_str());
  if (nx < 1 || ny < 1 || nz < 1 ||
      !qd_create_file(context.directory, name.c_str(), ORG_GRID, dimension == 2 ? 2 : 3, &grid))
    return refuse("Cannot create grid file %s: %s/%s", context.study, context.directory, name.c_str());
  return answer();
}

// GRIDMODO: moves the origin of the current grid.
request_status server_answer_grid_file_modify_origin(const char* /*request*/) {
  return modify_lengths(&qd_grid_record::x0, &qd_grid_record::y0, &qd_grid_record::z0);
}

// GRIDMODM: changes the mesh of the current grid.
request_status server_answer_grid_file_modify_mesh(const char* /*request*/) {
  return modify_lengths(&qd_grid_record::dx, &qd_grid_record::dy, &qd_grid_record::dz);
}

// GRIDMODR: turns the current grid. The angle of a 2D grid is the first one.
request_status server_answer_grid_file_modify_rotation(const char* /*request*/) {
  double angle1 = 0.0, angle2 = 0.0, angle3 = 0.0;
  grid_target target;
  if (!read_arguments(angle1, angle2, angle3)) return not_served;
  if (!find_grid(target)) return not_served;

  server_debug(1, "Modifying Grid File: \"%s\".", current_context.file);
  target.record.grid.angle1 = angle1;
  if (target.is_3d()) {
    target.record.grid.angle2 = angle2;
    target.record.grid.angle3 = angle3;
  }
  return write_grid(target);
}

}  // namespace qrd

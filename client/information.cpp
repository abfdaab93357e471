// The long answers that describe the current file and the current variable.
#include "qrd/connection.h"

namespace qrd::client {

namespace {

constexpr std::int32_t first_version_with_cores = 900000;
constexpr std::int32_t first_version_with_line_name = 1300030;
constexpr std::int32_t first_version_without_comment = 502000;

constexpr std::size_t max_old_unit = 5;
constexpr std::size_t max_told_comment = 499;

std::optional<std::string> read_name(stream& wire) {
  std::string name = wire.read_string(max_name);
  if (name.empty() || name == "None") return std::nullopt;
  return name;
}

organisation organisation_of(stream& wire, std::int32_t code, std::int32_t version) {
  const std::int32_t last = version >= first_version_with_cores ? 3 : 2;
  if (code < 0 || code > last) {
    wire.close();
    throw protocol_error("the server sent an unknown file organisation " + std::to_string(code));
  }
  // Older versions know lines of one kind only, and number the grids after them.
  if (last == 2 && code == 2) return organisation::grid;
  return static_cast<organisation>(code);
}

}  // namespace

file_info connection::file_info() {
  call(request("CFILEINFO"), "SFILEINFO");
  client::file_info info;
  info.organisation = organisation_of(wire_, wire_.read_int(), version_);
  info.linked_file = read_name(wire_);
  info.has_faults = wire_.read_bool();
  info.has_polygons = wire_.read_bool();
  info.dimension = wire_.read_int();
  info.samples = wire_.read_long();
  info.lines = wire_.read_int();
  info.origin = wire_.read_point();
  info.mesh = wire_.read_point();
  info.nx = wire_.read_int();
  info.ny = wire_.read_int();
  info.nz = wire_.read_int();
  info.rotated = wire_.read_bool();
  for (double& angle : info.angles) angle = wire_.read_double();
  info.sample_number = read_name(wire_);
  info.line_number = read_name(wire_);
  info.relative_number = read_name(wire_);
  for (auto& name : info.coordinates) name = read_name(wire_);
  if (version_ >= first_version_with_cores && info.organisation == organisation::core_lines) {
    for (auto& name : info.core_begins) name = read_name(wire_);
    for (auto& name : info.core_ends) name = read_name(wire_);
  }
  if (version_ >= first_version_with_line_name) info.line_name = read_name(wire_);
  info.faults_2d = wire_.read_bool();
  info.fault_attributes = wire_.read_bool();
  info.faults = wire_.read_int();
  info.fault_segments = wire_.read_int();
  info.fault_priority_lowest = wire_.read_int();
  info.fault_priority_highest = wire_.read_int();
  info.fault_priority_limit = wire_.read_int();
  return info;
}

variable_info connection::variable_info() {
  call(request("CVARINFO"), "SVARINFO");
  client::variable_info info;
  const std::int32_t type = wire_.read_int();
  if (type < 0 || type > static_cast<std::int32_t>(variable_type::macro)) {
    wire_.close();
    throw protocol_error("the server sent an unknown variable type " + std::to_string(type));
  }
  info.type = static_cast<variable_type>(type);
  info.bits = wire_.read_int();
  info.characters = wire_.read_int();
  info.implicit = wire_.read_bool();
  info.indices = wire_.read_int();
  info.unit = wire_.read_string(is_old() ? max_old_unit : max_unit);
  if (version_ < first_version_without_comment) info.comment = wire_.read_string(max_told_comment);
  if (!is_old()) {
    info.unit_symbol = wire_.read_string(max_unit);
    info.has_unit = wire_.read_int() != 0;
  }
  return info;
}

}  // namespace qrd::client

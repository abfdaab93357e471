// Requests that make files and variables, and change the geometry of files.
#include <limits>

#include "qrd/connection.h"

namespace qrd::client {

namespace {

// Samples in `coordinates`.
std::int64_t sample_count(std::int32_t dimension, std::span<const double> coordinates) {
  if (dimension < 1 || coordinates.size() % static_cast<std::size_t>(dimension) != 0)
    throw bad_argument("each sample needs " + std::to_string(dimension) + " coordinates");
  return static_cast<std::int64_t>(coordinates.size()) / dimension;
}

std::int32_t line_sample_count(std::int32_t dimension, std::span<const double> coordinates) {
  const std::int64_t count = sample_count(dimension, coordinates);
  if (count > std::numeric_limits<std::int32_t>::max()) throw bad_argument("too many samples in one line");
  return static_cast<std::int32_t>(count);
}

// A bare unit text, empty for none, was what the first versions sent.
bool sends_bare_unit(std::int32_t version) {
  return version < 410 || (version >= 400000 && version <= 400999);
}

}  // namespace

void connection::new_points(const std::string& name, std::int32_t dimension,
                            std::span<const double> coordinates) {
  packet head = request("CPFILENEW");
  head.add_string(name).add_long(sample_count(dimension, coordinates)).add_int(dimension);
  send_values(head, coordinates);
}

void connection::append_points(std::int32_t dimension, std::span<const double> coordinates) {
  packet head = request("CPFILEAPP");
  head.add_long(sample_count(dimension, coordinates)).add_int(dimension);
  send_values(head, coordinates);
}

void connection::new_grid(const std::string& name, const grid_geometry& grid) {
  packet full = request("CGFILENEW");
  full.add_string(name).add_int(grid.dimension);
  full.add_double(grid.origin.x).add_double(grid.mesh.x).add_int(grid.nx);
  full.add_double(grid.origin.y).add_double(grid.mesh.y).add_int(grid.ny);
  if (grid.dimension == 3) full.add_double(grid.origin.z).add_double(grid.mesh.z).add_int(grid.nz);
  call(full, "SDONE");
}

void connection::set_grid_origin(const point3& origin) {
  call(request("GRIDMODO").add_double(origin.x).add_double(origin.y).add_double(origin.z), "SDONE");
}

void connection::set_grid_mesh(const point3& mesh) {
  call(request("GRIDMODM").add_double(mesh.x).add_double(mesh.y).add_double(mesh.z), "SDONE");
}

void connection::set_grid_rotation(double angle1, double angle2, double angle3) {
  call(request("GRIDMODR").add_double(angle1).add_double(angle2).add_double(angle3), "SDONE");
}

void connection::new_lines(const std::string& name, std::int32_t dimension) {
  call(request("CLFILENEW").add_string(name).add_int(dimension), "SDONE");
}

void connection::append_line(std::int32_t dimension, std::span<const double> coordinates) {
  packet head = request("CLFILEAPP");
  head.add_int(line_sample_count(dimension, coordinates)).add_int(dimension);
  send_values(head, coordinates);
}

void connection::append_cores(std::int32_t dimension, const point3& start, std::span<const double> ends) {
  packet head = request("CLFILEAPC");
  head.add_int(line_sample_count(dimension, ends)).add_int(dimension);
  head.add_double(start.x).add_double(start.y);
  if (dimension == 3) head.add_double(start.z);
  send_values(head, ends);
}

void connection::link_lines(const std::string& points_file) {
  named("CLFILELNK", points_file);
}

std::vector<std::int32_t> connection::line_lengths() {
  call(request("CLFILECNT"), "SLFILECNT");
  return wire_.read_ints(wire_.read_int());
}

void connection::new_number_variable(std::string_view request_name, const std::string& name,
                                     std::int32_t bits, const number_format& format,
                                     const std::optional<std::string>& unit) {
  packet full = request(request_name);
  full.add_string(name).add_int(bits);
  full.add_int(static_cast<std::int32_t>(format.style)).add_int(format.width).add_int(format.digits);
  if (sends_bare_unit(version_)) {
    full.add_string(unit.value_or(""), max_unit);
  } else {
    full.add_bool(unit.has_value());
    if (unit) full.add_string(*unit, max_unit);
  }
  call(full, "SDONE");
}

void connection::new_float_variable(const std::string& name, std::int32_t bits, const number_format& format,
                                    const std::optional<std::string>& unit) {
  new_number_variable("CVARFNEW", name, bits, format, unit);
}

void connection::new_macro_variable(const std::string& name, std::int32_t bits, const number_format& format,
                                    const std::optional<std::string>& unit) {
  new_number_variable("CVARMNEW", name, bits, format, unit);
}

void connection::new_text_variable(const std::string& name, std::int32_t characters) {
  call(request("CVARCNEW").add_string(name).add_int(characters), "SDONE");
}

void connection::set_line_name() {
  plain("CVARLNAME");
}

}  // namespace qrd::client

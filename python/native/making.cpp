// Files, variables and samples that are made.
#include "python/native/bindings.h"
#include "python/native/values.h"

namespace qrd::python {

namespace {

using client::database;
using client::file_place;
using client::table;

// A variable to be made, with its values if it has some from the start.
struct new_column {
  client::new_variable what;
  std::optional<given_values> values;
};

// (name, bits, characters, unit, comment, (style, width, digits), values or None)
new_column column_of(const py::tuple& told) {
  new_column one;
  one.what.name = client::parse_variable_name(bytes_of(told[0]));
  one.what.bits = told[1].cast<std::int32_t>();
  one.what.characters = told[2].cast<std::int32_t>();
  one.what.unit = bytes_of(told[3]);
  one.what.comment = bytes_of(told[4]);
  const auto format = told[5].cast<py::tuple>();
  one.what.format = {static_cast<client::number_style>(format[0].cast<std::int32_t>()),
                     format[1].cast<std::int32_t>(), format[2].cast<std::int32_t>()};
  if (!told[6].is_none()) one.values.emplace(told[6].cast<py::object>());
  return one;
}

std::vector<new_column> columns_of(const py::list& told) {
  std::vector<new_column> all;
  for (const py::handle one : told) all.push_back(column_of(one.cast<py::tuple>()));
  return all;
}

client::point3 point_of(const py::handle& told) {
  const auto numbers = told.cast<py::tuple>();
  return {numbers[0].cast<double>(), numbers[1].cast<double>(), numbers[2].cast<double>()};
}

void make_file(session& self, const file_place& place, const client::new_geometry& geometry, const text& unit,
               const py::list& variables) {
  const std::vector<new_column> columns = columns_of(variables);
  self.use([&](database& all) {
    const auto fill = [&](table& made) {
      for (const new_column& one : columns) {
        const client::column column = made.make(one.what);
        if (one.values) one.values->write(made, column, {});
      }
    };
    client::make_file(all, place, geometry, fill, {.coordinate_unit = unit.bytes, .progress = nullptr});
  });
}

void make_points(session& self, const file_place& place, std::int32_t dimension, const doubles& coordinates,
                 const text& unit, const py::list& variables) {
  make_file(self, place, client::points_geometry{dimension, span_of(coordinates)}, unit, variables);
}

void make_grid(session& self, const file_place& place, const py::tuple& nodes, const py::handle& origin,
               const py::handle& mesh, const py::handle& angles, std::int32_t dimension, const text& unit,
               const py::list& variables) {
  client::grid_file_geometry grid;
  grid.grid = {dimension,
               point_of(origin),
               point_of(mesh),
               nodes[0].cast<std::int32_t>(),
               nodes[1].cast<std::int32_t>(),
               nodes[2].cast<std::int32_t>()};
  const client::point3 turned = point_of(angles);
  grid.angles[0] = turned.x;
  grid.angles[1] = turned.y;
  grid.angles[2] = turned.z;
  make_file(self, place, grid, unit, variables);
}

// Lines of (coordinates, start or None).
void make_lines(session& self, const file_place& place, std::int32_t dimension, const py::list& told,
                const text& unit, const py::list& variables) {
  std::vector<doubles> held;
  std::vector<client::line_geometry> lines;
  for (const py::handle one : told) {
    const auto line = one.cast<py::tuple>();
    held.push_back(line[0].cast<doubles>());
    lines.push_back({span_of(held.back()), std::nullopt});
    if (!line[1].is_none()) lines.back().start = point_of(line[1]);
  }
  make_file(self, place, client::lines_geometry{dimension, lines}, unit, variables);
}

// New samples at the end, with values for (name, values) of the columns. Wrong values are found before
// anything is sent.
void append(session& self, const file_place& place, std::int32_t dimension, const doubles& coordinates,
            const py::object& start, const py::list& variables) {
  std::vector<std::pair<std::string, given_values>> given;
  for (const py::handle one : variables) {
    const auto pair = one.cast<py::tuple>();
    given.emplace_back(bytes_of(pair[0]), given_values(pair[1].cast<py::object>()));
  }
  std::optional<client::point3> begin;
  if (!start.is_none()) begin = point_of(start);
  const auto samples = span_of(coordinates).size() / static_cast<std::size_t>(dimension);
  self.use([&](database& all) {
    table file(all, place);
    std::vector<client::column> columns;
    for (const auto& [name, values] : given) {
      columns.push_back(file.open(name));
      values.check(columns.back());
    }
    client::connection& server = all.at(place);
    const std::int64_t before = file.samples();
    if (begin)
      server.append_cores(dimension, *begin, span_of(coordinates));
    else if (file.has_lines())
      server.append_line(dimension, span_of(coordinates));
    else
      server.append_points(dimension, span_of(coordinates));
    file.refresh();
    client::writing wish;
    wish.range = client::sample_range{before + 1, before + static_cast<std::int64_t>(samples)};
    for (std::size_t i = 0; i < columns.size(); ++i) given[i].second.write(file, columns[i], wish);
  });
}

void make_variable(session& self, const file_place& place, const py::tuple& told) {
  const new_column one = column_of(told);
  const client::variable_name& name = one.what.name;
  self.use([&](database& all) {
    table file(all, place);
    // A column of a macro variable that has others can't be taken away again.
    const bool stays = name.index && all.at(place).variable_exists(name.name);
    const auto act = [&](bool& made) {
      const client::column column = file.make(one.what);
      made = !stays;
      if (one.values) one.values->write(file, column, {});
    };
    client::make_or_undo(all, act, [&] { file.remove(name.name); });
  });
}

}  // namespace

void add_making(session_class& one) {
  one.def("make_points", &make_points);
  one.def("make_grid", &make_grid);
  one.def("make_lines", &make_lines);
  one.def("make_variable", &make_variable);
  one.def("append", &append);
}

}  // namespace qrd::python

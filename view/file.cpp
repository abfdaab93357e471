// How a file is made.
#include <algorithm>
#include <cmath>

#include "qrd/units.h"
#include "qrd/words.h"
#include "view/answers.h"

namespace qrd::view {

namespace {

json names_json(const std::optional<std::string> (&names)[3]) {
  json all = json::array();
  for (const auto& name : names)
    if (name) all.push_back(*name);
  return all;
}

// Digits behind the point that tell a length to the millimetre; null for what is no length.
json decimals_of(const std::string& unit) {
  const auto factor = client::length_factor(unit);
  if (!factor) return {};
  constexpr double centimetres = 0.1;
  return std::max<std::int64_t>(0, std::lround(std::log10(*factor / centimetres)));
}

json column_json(const client::column& one) {
  json told = {{"name", one.title}, {"unit", one.unit()}, {"decimals", decimals_of(one.unit())}};
  told["type"] = one.is_text() ? "text" : one.is_selection() ? "selection" : "number";
  told[one.is_text() ? "characters" : "bits"] = one.is_text() ? one.info.characters : one.info.bits;
  told["implicit"] = one.info.implicit;
  told["macro"] = one.variable.index.has_value();
  return told;
}

// The place of the first node and the ways to its neighbours. They are asked of the server, which knows how a
// turned grid lies.
json axes_json(client::table& grid, const std::string& unit) {
  const client::file_info& info = grid.info();
  const std::int64_t steps[3] = {std::int64_t{info.ny} * std::max(1, info.nz), std::max(1, info.nz), 1};
  const std::int32_t counts[3] = {info.nx, info.ny, info.dimension == 3 ? info.nz : 1};
  std::vector<client::column> coordinates;
  for (const auto& name : info.coordinates)
    if (name) coordinates.push_back(grid.open(*name));
  if (coordinates.empty() || grid.samples() == 0) return {};
  const auto node = [&](std::int64_t number) {
    std::array<double, 3> at{};
    const client::reading wish{client::sample_range{number, number}, {}, {}, unit, {}};
    for (std::size_t axis = 0; axis < coordinates.size() && axis < at.size(); ++axis)
      at[axis] = grid.read(coordinates[axis], wish).numbers.at(0);
    return at;
  };
  const std::array<double, 3> origin = node(1);
  json axes = json::array();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    // Where there is one node only, the axis has no neighbour to show its way; its length in the grid's own
    // unit is enough to draw the one layer.
    std::array<double, 3> way{};
    if (counts[axis] > 1) {
      way = node(1 + steps[axis]);
      for (std::size_t i = 0; i < way.size(); ++i) way[i] -= origin[i];
    }
    axes.push_back(way);
  }
  return {{"origin", origin}, {"axes", axes}, {"nodes", json::array({counts[0], counts[1], counts[2]})}};
}

}  // namespace

answer file_answer(source& from, const query& asked) {
  return from.with([&](client::database& database) {
    client::table file(database, asked.place());
    const client::file_info& info = file.info();
    const std::vector<std::string> units = file.coordinate_units();
    const std::string unit = asked.text_or("unit", units.empty() ? "" : units.front());
    json told = {{"organisation", client::word_of(info.organisation)},
                 {"dimension", info.dimension},
                 {"samples", info.samples},
                 {"lines", info.lines},
                 {"unit", units.empty() ? "" : units.front()},
                 {"coordinates", names_json(info.coordinates)},
                 {"begins", names_json(info.core_begins)},
                 {"ends", names_json(info.core_ends)},
                 {"comment", database.at(file.place()).comment(client::comment_owner::file)}};
    if (info.linked_file) told["linked"] = *info.linked_file;
    if (file.is_grid()) told["grid"] = axes_json(file, unit);
    const std::vector<client::column> columns = file.columns();
    json variables = json::array();
    for (const client::column& one : columns) variables.push_back(column_json(one));
    told["variables"] = variables;
    json objects = json::array();
    if (info.has_polygons) objects.push_back("polygons");
    if (info.has_faults) objects.push_back("faults");
    if (file.may_have_wireframes()) objects.push_back("wireframes");
    told["objects"] = objects;
    return json_answer(told);
  });
}

answer lines_answer(source& from, const query& asked) {
  return from.with([&](client::database& database) {
    client::table file(database, asked.place());
    json names = json::array(), lengths = json::array();
    for (const client::line& one : file.lines()) {
      names.push_back(one.name.empty() ? std::to_string(one.number) : one.name);
      lengths.push_back(one.size());
    }
    return json_answer({{"names", names}, {"lengths", lengths}});
  });
}

}  // namespace qrd::view

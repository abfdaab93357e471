#include "command/describe.h"

#include <algorithm>
#include <cmath>

#include "command/cell_text.h"
#include "command/progress.h"
#include "qrd/numbers.h"
#include "qrd/units.h"
#include "qrd/words.h"

namespace qrd::command {

namespace {

const char* type_name(client::variable_type type) {
  switch (type) {
    case client::variable_type::text:
      return "text";
    case client::variable_type::macro:
      return "macro";
    case client::variable_type::x:
      return "x coordinate";
    case client::variable_type::y:
      return "y coordinate";
    case client::variable_type::z:
      return "z coordinate";
    case client::variable_type::number:
      break;
  }
  return "number";
}

json optional_text(const std::optional<std::string>& text) {
  return text ? json(*text) : json();
}

// One value for each axis of the file.
template <typename T>
json axes(const T& x, const T& y, const T& z, std::int32_t dimension) {
  return dimension == 3 ? json::array({x, y, z}) : json::array({x, y});
}

json axis_names(const std::optional<std::string> (&names)[3], std::int32_t dimension) {
  return axes(optional_text(names[0]), optional_text(names[1]), optional_text(names[2]), dimension);
}

// The number that a read of such a value prints.
json as_read(const client::column& of, double value) {
  return client::parse_number(number_writer(of).text(value)).value_or(value);
}

// Where samples are looked at for the extents: of a grid its corners, else all.
std::vector<client::sample_range> extreme_samples(const client::table& file) {
  if (!file.is_grid()) return {{1, file.samples()}};
  const client::file_info& info = file.info();
  const std::int64_t nz = std::max(1, info.nz);
  std::vector<client::sample_range> corners;
  for (const std::int64_t i : {0, info.nx - 1})
    for (const std::int64_t j : {0, info.ny - 1})
      for (const std::int64_t k : {std::int64_t{0}, nz - 1}) {
        const std::int64_t sample = (i * info.ny + j) * nz + k + 1;
        corners.push_back({sample, sample});
      }
  return corners;
}

}  // namespace

json describe_file(const client::file_place& place, const client::file_info& info) {
  const auto dimension = info.dimension;
  json result = {{"file", place.file},
                 {"organisation", client::word_of(info.organisation)},
                 {"dimension", dimension},
                 {"samples", info.samples}};
  const bool has_lines = info.organisation == client::organisation::gravity_lines ||
                         info.organisation == client::organisation::core_lines;
  if (has_lines) result["lines"] = info.lines;
  if (info.organisation == client::organisation::grid) {
    result["origin"] = axes(info.origin.x, info.origin.y, info.origin.z, dimension);
    result["mesh"] = axes(info.mesh.x, info.mesh.y, info.mesh.z, dimension);
    result["nodes"] = axes(info.nx, info.ny, info.nz, dimension);
    result["rotated"] = info.rotated;
    result["angles"] = dimension == 3 ? json::array({info.angles[0], info.angles[1], info.angles[2]})
                                      : json::array({info.angles[0]});
  }
  result["coordinates"] = axis_names(info.coordinates, dimension);
  if (info.organisation == client::organisation::core_lines) {
    result["core begins"] = axis_names(info.core_begins, dimension);
    result["core ends"] = axis_names(info.core_ends, dimension);
  }
  if (info.sample_number) result["sample number"] = *info.sample_number;
  if (info.line_number) result["line number"] = *info.line_number;
  if (info.relative_number) result["relative number"] = *info.relative_number;
  if (info.linked_file) result["linked file"] = *info.linked_file;
  if (info.line_name) result["line name"] = *info.line_name;
  result["polygons"] = info.has_polygons;
  result["faults"] = info.has_faults;
  if (info.has_faults)
    result["fault system"] = json{{"dimension", info.faults_2d ? 2 : 3},
                                  {"faults", info.faults},
                                  {"segments", info.fault_segments},
                                  {"attributes", info.fault_attributes},
                                  {"lowest priority", info.fault_priority_lowest},
                                  {"highest priority", info.fault_priority_highest},
                                  {"priority limit", info.fault_priority_limit}};
  return result;
}

json describe_variable(const std::string& name, const client::variable_info& info) {
  json result = {{"variable", name}, {"type", type_name(info.type)}};
  if (info.type == client::variable_type::text)
    result["characters"] = info.characters;
  else
    result["bits"] = info.bits;
  result["implicit"] = info.implicit;
  if (info.type == client::variable_type::macro) result["indices"] = info.indices;
  result["unit"] = info.unit;
  const std::string symbol = client::value_unit(info);
  result["unit symbol"] = symbol;
  if (const std::string shown = info.unit_symbol.value_or("");
      info.has_unit.value_or(false) && shown != symbol)
    result["shown unit"] = shown;
  result["length"] = info.has_unit.value_or(false);
  return result;
}

json extents_of(client::table& file, bool quiet) {
  json extents = std::initializer_list<json::member>{};
  if (file.samples() < 1) return extents;
  progress_bar bar("looking at places", 0, quiet);
  client::reading wish;
  wish.progress = bar.function();
  for (const char axis : {'x', 'y', 'z'}) {
    const auto i = static_cast<std::size_t>(axis - 'x');
    double lowest = HUGE_VAL;
    double highest = -HUGE_VAL;
    std::optional<client::column> looked_at;
    // A core reaches from where it begins to where it ends.
    for (const auto* names : {&file.info().coordinates, &file.info().core_begins, &file.info().core_ends}) {
      if (!(*names)[i]) continue;
      looked_at = file.open(*(*names)[i]);
      for (const client::sample_range& range : extreme_samples(file)) {
        wish.range = range;
        file.read(std::span(&*looked_at, 1), wish, [&](std::span<const client::column_values> values) {
          for (const double value : values[0].numbers) {
            if (std::isnan(value)) continue;
            lowest = std::min(lowest, value);
            highest = std::max(highest, value);
          }
        });
      }
    }
    if (looked_at)
      extents[std::string(1, axis)] =
          lowest <= highest ? json::array({as_read(*looked_at, lowest), as_read(*looked_at, highest)})
                            : json();
  }
  return extents;
}

std::int64_t missing_of(client::table& file, const client::column& of, bool quiet) {
  progress_bar bar("counting", 0, quiet);
  client::reading wish;
  wish.progress = bar.function();
  std::int64_t missing = 0;
  file.read(std::span(&of, 1), wish, [&](std::span<const client::column_values> values) {
    missing += of.is_text() ? std::count(values[0].texts.begin(), values[0].texts.end(), std::string())
                            : std::count_if(values[0].numbers.begin(), values[0].numbers.end(),
                                            [](double value) { return std::isnan(value); });
  });
  return missing;
}

}  // namespace qrd::command

#include "command/roles.h"

#include <algorithm>
#include <iterator>

namespace qrd::command {

std::optional<std::string> role_of(const std::string& name, const client::variable_info& variable,
                                   const client::file_info& file) {
  const auto is_one_of = [&](const std::optional<std::string>(&names)[3]) {
    return std::any_of(std::begin(names), std::end(names), [&](const auto& one) { return one == name; });
  };
  if (is_one_of(file.coordinates))
    return "holds coordinates: without them, or with others, the samples are nowhere or elsewhere in maps, "
           "exports and "
           "links";
  if (is_one_of(file.core_begins) || is_one_of(file.core_ends))
    return "holds ends of the cores: without them, or with others, the holes have no path or another one";
  if (file.line_name == name) return "names the lines: the linked file's lines lose their names";
  if (file.sample_number == name || file.line_number == name || file.relative_number == name ||
      variable.implicit)
    return "is computed by the server: programs that number samples, lines or nodes by it stop working";
  if (name.ends_with("(READONLY)"))
    return "is kept by the server for the objects of the file: polygons, faults or wireframes stop working";
  return std::nullopt;
}

}  // namespace qrd::command

#include "command/sizes.h"

#include <cmath>
#include <cstdio>
#include <iterator>

namespace qrd::command {

object_size& object_size::operator+=(const object_size& other) {
  directories += other.directories;
  files += other.files;
  variables += other.variables;
  samples += other.samples;
  bytes += other.bytes;
  return *this;
}

double bytes_of(const client::variable_info& variable, std::int64_t samples) {
  constexpr double bits_of_a_byte = 8;
  if (variable.implicit) return 0;
  const double each = variable.characters > 0 ? variable.characters : variable.bits / bits_of_a_byte;
  const std::int32_t columns = variable.type == client::variable_type::macro ? variable.indices : 1;
  return std::ceil(each * static_cast<double>(samples)) * columns;
}

object_size size_of(client::database& owner, const object_path& path) {
  object_size size;
  const auto add_below = [&](const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      object_path below = path;
      below.push_back(name);
      size += size_of(owner, below);
    }
  };
  if (path.size() == 1) {
    const std::vector<std::string> directories = owner.at(path[0]).directories();
    size.directories = static_cast<std::int64_t>(directories.size());
    add_below(directories);
    return size;
  }
  if (path.size() == 2) {
    add_below(owner.at(path[0], path[1]).files());
    return size;
  }
  const client::file_place place = {path[0], path[1], path[2]};
  client::table file(owner, place);
  size.files = path.size() == 3 ? 1 : 0;
  size.samples = file.samples();
  client::connection& server = owner.at(place);
  for (const std::string& name : path.size() == 3 ? server.variables() : std::vector<std::string>{path[3]}) {
    server.set_variable(name);
    const client::variable_info info = server.variable_info();
    if (!info.implicit) ++size.variables;
    size.bytes += bytes_of(info, size.samples);
  }
  return size;
}

std::string bytes_text(double bytes) {
  constexpr const char* units[] = {"B", "kB", "MB", "GB", "TB"};
  std::size_t unit = 0;
  for (; bytes >= 1000 && unit + 1 < std::size(units); ++unit) bytes /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.3g %s", bytes, units[unit]);
  return text;
}

}  // namespace qrd::command

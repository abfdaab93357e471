// CPALLST, CPALXIST, CPALREAD, CPALWRIT, CPALDEL.
#include <algorithm>
#include <span>

#include "disk/qu_palette.h"
#include "requests/handlers.h"
#include "requests/resource_files.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/arrays.h"

namespace qrd {

namespace {

constexpr char palette_failure[] = "An error happened during Palette %s read";

// Reads `count` values and keeps the first ones that fit.
bool read_channel(std::int32_t count, std::span<std::int32_t, palette_maximum> kept) {
  array_in_parts whole(std::max(count, 0));
  const std::int32_t fitting = std::clamp(count, 0, palette_maximum);
  if (!_qrd_read_int_array(connection.client_socket, kept.data(), fitting)) return false;
  std::int32_t dropped[palette_maximum];
  for (std::int32_t left = count - fitting; left > 0; left -= palette_maximum)
    if (!_qrd_read_int_array(connection.client_socket, dropped, std::min(left, palette_maximum)))
      return false;
  return true;
}

bool in_range(std::span<const std::int32_t, palette_maximum> values, std::int32_t count) {
  return std::all_of(values.begin(), values.begin() + count,
                     [](std::int32_t value) { return value >= 0 && value <= palette_value_maximum; });
}

}  // namespace

request_status server_answer_palette_list(const char* /*request*/) {
  if (!resources_available(resources::palettes)) return not_served;
  return answer(wire_names{qu_palette_get_list()});
}

request_status server_answer_palette_exists(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!resources_available(resources::palettes)) return not_served;
  const found state = qu_palette_exists(name);
  if (state == found::unreadable) return refuse(palette_failure, name);
  return answer(wire_bool{state == found::yes});
}

request_status server_answer_palette_read(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!resources_available(resources::palettes)) return not_served;
  palette_colours colours;
  if (!qu_palette_read(name, colours)) return refuse(palette_failure, name);
  return answer(wire_int{colours.count}, wire_ints{colours.red.data(), colours.count},
                wire_ints{colours.green.data(), colours.count},
                wire_ints{colours.blue.data(), colours.count});
}

request_status server_answer_palette_write(const char* /*request*/) {
  name_text name;
  palette_colours colours;
  if (!read_arguments(name, colours.count)) return not_served;
  if (!read_channel(colours.count, colours.red) || !read_channel(colours.count, colours.green) ||
      !read_channel(colours.count, colours.blue))
    return not_served;
  if (!resources_available(resources::palettes)) return not_served;
  if (colours.count < 0 || colours.count > palette_maximum)
    return refuse("Palettes cannot have more than %d colors", palette_maximum);
  if (!in_range(colours.red, colours.count) || !in_range(colours.green, colours.count) ||
      !in_range(colours.blue, colours.count))
    return refuse("RGBs for Palettes must be in the [0-255] interval");
  switch (qu_palette_write(name, colours)) {
    case palette_writing::not_created:
      return refuse("Cannot create new Palette named %s.", name);
    case palette_writing::failed:
      return refuse("An error occured during Palette %s writing", name);
    case palette_writing::done:
      break;
  }
  return answer();
}

request_status server_answer_palette_delete(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!resources_available(resources::both)) return not_served;
  switch (qu_palit_delete(name, palette_prefix)) {
    case palette_deletion::done:
      return answer();
    case palette_deletion::in_use:
      return refuse("Cannot delete palette named %s as it is used by a Color Scale.", name);
    case palette_deletion::failed:
      break;
  }
  return refuse("An error happened during Palette deletion");
}

}  // namespace qrd

// CPOLYNEW.
#include <algorithm>
#include <iterator>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalogue/qd_lookup.h"
#include "disk/qu_polygon_shape.h"
#include "edit/qd_polygon.h"
#include "requests/arrival.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/polygon_names.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/arrays.h"
#include "wire/debug.h"
#include "wire/send_or_receive.h"

namespace qrd {

namespace {

// Rings grow by so many vertices while they arrive, whatever count was announced.
constexpr std::int64_t ring_step = 1 << 15;

struct default_colour {
  std::int64_t red, green, blue;
};
constexpr default_colour polygon_colors[] = {{225, 0, 0},   {0, 146, 0},   {95, 95, 255}, {255, 255, 0},
                                             {254, 168, 0}, {149, 0, 148}, {253, 1, 138}, {157, 78, 64}};

// A contour as it travels; the vertices are in centimetres.
struct contour_entry {
  char contour_name[wire_name_size] = "";
  char polygon_name[wire_name_size] = "";
  vertex_ring vertices;
};

// The names of polygons, each with the rank at which it first joined.
class name_ranks {
 public:
  void add_new(const char* name) {
    if (ranks_.emplace(name, next_).second) ++next_;
  }
  // Joins once more, and gives the first rank.
  std::int64_t add(const char* name) {
    const auto entry = ranks_.emplace(name, next_++).first;
    return entry->second;
  }

 private:
  std::unordered_map<std::string, std::int64_t> ranks_;
  std::int64_t next_ = 0;
};

arrival read_entry(contour_entry& entry) {
  double z_min = 0, z_max = 0;
  std::int32_t count = 0;
  if (!read_arguments(entry.contour_name, entry.polygon_name, z_min, z_max, count)) return arrival::broken;
  if (count < 0) return arrival::refused;
  const bool read =
      read_in_parts(entry.vertices, count, 2, ring_step, [&entry](std::int64_t first, std::int64_t part) {
        double* place = &entry.vertices[static_cast<std::size_t>(first)].x;
        return _qrd_read_double_array(connection.client_socket, place, 2 * part) != 0;
      });
  if (!read) return arrival::broken;
  for (vertex& corner : entry.vertices) {
    corner.x *= units.axis_x.factor;
    corner.y *= units.axis_y.factor;
  }
  return arrival::complete;
}

// The first polygon of a request stands before the table and takes its last row.
const default_colour& colour_of_rank(std::int64_t rank) {
  constexpr auto rows = static_cast<std::int64_t>(std::size(polygon_colors));
  return polygon_colors[rank == 0 ? rows - 1 : (rank - 1) % rows];
}

polygon& polygon_of_entry(const char* name, name_ranks& ranks, polygon_system& system) {
  if (polygon* present = system.polygons.find(name)) return *present;
  const default_colour& colour = colour_of_rank(ranks.add(name));
  polygon& made = qu_polygon_new_auto(system);
  qu_polygon_rename(system, made, name);
  made.red = colour.red;
  made.green = colour.green;
  made.blue = colour.blue;
  made.marked = 1;
  return made;
}

std::unique_ptr<polygon_system> build_system(std::vector<contour_entry>& entries, name_ranks& ranks) {
  auto system = qu_polygon_system_new();
  system->unit_x = units.axis_x;
  system->unit_y = units.axis_y;
  system->unit_z = units.axis_z;
  // A longer name could not be sent back.
  system->longest_numbered_name = wire_name_size - 1;
  for (contour_entry& entry : entries) {
    const char* owner = entry.polygon_name[0] == '\0' ? entry.contour_name : entry.polygon_name;
    contour& made = qu_polygon_add_contour(*system, polygon_of_entry(owner, ranks, *system));
    qu_contour_rename(*system, made, entry.contour_name);
    made.vertices = std::move(entry.vertices);
  }
  for (auto each = system->polygons.begin(); each != system->polygons.end();) {
    polygon& checked = *each++;
    if (!qu_polygon_check(*system, checked)) qu_polygon_delete(*system, checked);
  }
  return system;
}

}  // namespace

request_status server_answer_polygons_new(const char* /*request*/) {
  request_text name;
  std::int32_t ignored_flag = 0;
  double ignored_box[6];
  std::int64_t count = 0;
  if (!read_arguments(name, ignored_flag) ||
      !_qrd_read_double_array(connection.client_socket, ignored_box, 6) || !read_arguments(count))
    return not_served;
  std::vector<contour_entry> entries;
  name_ranks ranks;
  arrival state = count < 0 ? arrival::refused : arrival::complete;
  std::unique_ptr<polygon_system> system;
  try {
    for (std::int64_t i = 0; i < count && state == arrival::complete; ++i) {
      state = read_entry(entries.emplace_back());
      ranks.add_new(entries.back().polygon_name);
    }
  } catch (const std::bad_alloc&) {
    // Clients get no answer. What has not been read must not be taken for the next request.
    clean_packet();
    return not_served;
  }
  if (state == arrival::broken) return not_served;
  if (state == arrival::refused) clean_packet();
  if (state == arrival::complete) system = build_system(entries, ranks);

  if (!is_set(current_context.directory)) return refuse("Directory is not set");
  const found test = qd_file_test(ORG_ANY, DIM_ANY, current_context.directory, name.c_str());
  if (test == found::unclear) return refuse("Cannot open files");
  if (test == found::yes)
    return refuse("File %s: %s/%s already exists", current_context.study, current_context.directory,
                  name.c_str());
  server_debug(1, "Creating File: \"%s\".", name.c_str());
  if (state == arrival::refused || !qd_polygon_new(current_context.directory, name.c_str(), *system))
    return refuse("Cannot create file %s: %s/%s", current_context.study, name.c_str(), name.c_str());
  const request_status status = answer();
  // A client that never heard of the file must not find it.
  if (status != served) qd_polygon_delete(current_context.directory, name.c_str());
  return status;
}

}  // namespace qrd

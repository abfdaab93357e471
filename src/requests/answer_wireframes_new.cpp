// CWIRENEW.
#include <algorithm>
#include <cinttypes>
#include <new>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "edit/qd_wireframe.h"
#include "requests/arrival.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "samples/qd_reported_check.h"
#include "samples/qd_variable_table.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/arrays.h"

namespace qrd {

namespace {

constexpr char triangles_failure[] = "Error while reading triangles from network";
// Arrays are filled by so many vertices or triangles while they arrive. Room that isn't touched yet costs
// nothing, and is taken at once up to a bound, whatever count was announced.
constexpr std::int64_t array_step = 1 << 13;
constexpr std::int64_t most_room = 1 << 23;

// What the client is told of a part that can't be taken.
struct triple_texts {
  const char* unread;
  const char* no_memory;
};

// Reads `count` times three numbers; `finish(first)` sees those that have come, from triple `first` on, while
// they are in the processor's cache.
template <typename Number, typename Read, typename Finish>
arrival read_triples(number_block<Number>& numbers, std::int64_t count, Read read, const triple_texts& texts,
                     const char*& refusal, Finish finish) {
  refusal = texts.no_memory;
  if (count < 0) return arrival::refused;
  try {
    numbers.reserve(static_cast<std::size_t>(3 * std::min(count, most_room)));
    const bool complete =
        read_in_parts(numbers, 3 * count, 1, 3 * array_step, [&](std::int64_t first, std::int64_t part) {
          if (!read(connection.client_socket, numbers.data() + first, part)) return false;
          finish(first / 3);
          return true;
        });
    if (complete) return arrival::complete;
  } catch (const std::bad_alloc&) {
    return arrival::refused;
  }
  refusal = texts.unread;
  return arrival::refused;
}

// To centimetres, and into the extents.
void take_vertices(wireframe_piece& piece, std::int64_t first) {
  qu_piece_scale_and_extend(piece, first, {units.axis_x.factor, units.axis_y.factor, units.axis_z.factor});
}

// `valid` stays true while every triangle names vertices of the piece. The client is told `refusal` of what
// is refused.
arrival read_piece(wireframe_piece& piece, bool& valid, const char*& refusal) {
  constexpr triple_texts vertex_texts = {"Error while reading vertices from network",
                                         "Not enough memory to store wireframes vertices in memory."};
  constexpr triple_texts triangle_texts = {triangles_failure,
                                           "Not enough memory to store wireframes triangles in memory."};
  std::int32_t vertices = 0, triangles = 0;
  if (!read_arguments(vertices, triangles)) return arrival::broken;
  const arrival state = read_triples(piece.vertices, vertices, _qrd_read_kept_doubles, vertex_texts, refusal,
                                     [&piece](std::int64_t first) { take_vertices(piece, first); });
  if (state != arrival::complete) return state;
  return read_triples(piece.triangles, triangles, _qrd_read_kept_ints, triangle_texts, refusal,
                      [&](std::int64_t first) { valid = valid && qu_piece_valid(piece, first); });
}

arrival read_object(wireframe_object& object, bool& valid, const char*& refusal) {
  std::int32_t red = 0, green = 0, blue = 0, pieces = 0;
  refusal = network_failure;
  if (!read_arguments(object.name, red, green, blue, pieces) || pieces < 0) return arrival::refused;
  object.red = red;
  object.green = green;
  object.blue = blue;
  for (std::int32_t i = 0; i < pieces; ++i)
    if (arrival state = read_piece(object.pieces.emplace_back(), valid, refusal); state != arrival::complete)
      return state;
  return arrival::complete;
}

}  // namespace

request_status server_answer_new_wireframes(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  if (!is_set(current_context.directory)) return refuse("Directory is not set");
  if (qd_directory_test(current_context.directory) != found::yes)
    return refuse("Current directory does not exist %s: %s", current_context.study,
                  current_context.directory);
  const found test = qd_file_test(ORG_ANY, DIM_ANY, current_context.directory, name.c_str());
  if (test == found::unclear) return refuse("Cannot open files");
  if (test == found::yes)
    return refuse("File %s: %s/%s already exists", current_context.study, current_context.directory,
                  name.c_str());

  std::int32_t count = 0;
  if (!read_arguments(count) || count < 0) return clean_and_refuse("%s", network_failure);
  auto root = qu_wireframe_new();
  root->unit_x = root->unit_y = root->unit_z = units.distance;
  bool valid = true;
  try {
    for (std::int32_t i = 0; i < count; ++i) {
      const char* refusal = nullptr;
      const arrival state = read_object(root->objects.emplace_back(), valid, refusal);
      if (state == arrival::broken) return not_served;
      if (state == arrival::refused) return clean_and_refuse("%s", refusal);
    }
  } catch (const std::bad_alloc&) {
    return clean_and_refuse("Memory allocation failed (%" PRId64 " bytes)", std::int64_t{232});
  }
  if (!valid) return refuse("%s", triangles_failure);
  if (qd_wireframe_write(current_context.directory, name.c_str(), *root)) return answer();
  // Clients know that a file without objects gets no answer.
  if (root->objects.empty()) return not_served;
  return refuse("Cannot create file %s: %s/%s", current_context.study, current_context.directory,
                name.c_str());
}

}  // namespace qrd

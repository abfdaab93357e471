// CWIREREAD.
#include <algorithm>
#include <new>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "disk/qd_records.h"
#include "edit/qd_wireframe.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/length_factors.h"
#include "samples/qd_reported_check.h"
#include "samples/qd_variable_table.h"
#include "wire/answer.h"

namespace qrd {

namespace {

bool is_sent(const wireframe_piece& piece) {
  return piece.piece_type != 0;
}

std::int32_t sent_pieces(const wireframe_object& object) {
  return static_cast<std::int32_t>(std::count_if(object.pieces.begin(), object.pieces.end(), is_sent));
}

bool write_piece(const wireframe_piece& piece) {
  return write_value(wire_int{narrow_int(piece.vertex_count())}) &&
         write_value(wire_int{narrow_int(piece.triangle_count())}) &&
         write_value(wire_kept_doubles{piece.vertices.data(), 3 * piece.vertex_count()}) &&
         write_value(wire_kept_ints{piece.triangles.data(), 3 * piece.triangle_count()});
}

bool write_object(const wireframe_object& object) {
  return write_value(wire_string{object.name, name_size}) && write_value(wire_int{narrow_int(object.red)}) &&
         write_value(wire_int{narrow_int(object.green)}) && write_value(wire_int{narrow_int(object.blue)}) &&
         write_value(wire_int{sent_pieces(object)}) &&
         std::all_of(object.pieces.begin(), object.pieces.end(),
                     [](const wireframe_piece& piece) { return !is_sent(piece) || write_piece(piece); });
}

// From centimetres to the client's units.
void divide(wireframe& root, const unit_divisors& unit) {
  for (wireframe_object& object : root.objects)
    for (wireframe_piece& piece : object.pieces)
      for (std::size_t i = 0; i < piece.vertices.size(); i += 3) {
        piece.vertices[i] = piece.vertices[i] / unit.x;
        piece.vertices[i + 1] = piece.vertices[i + 1] / unit.y;
        piece.vertices[i + 2] = piece.vertices[i + 2] / unit.z;
      }
}

}  // namespace

request_status server_answer_wireframes_read(const char* /*request*/) {
  if (!is_set(current_context.file)) return refuse("File is not set");
  found_file file = {current_context.directory, current_context.file};
  qd_file_info file_info;
  if (!qd_info_file(file, file_info)) return refuse("Cannot get file info");
  const geometry state = qd_wireframe_info(file, current_context.selection);
  if (state == geometry::unclear) return refuse("Cannot get wireframe information: Too much files opened.");
  if (state == geometry::no_file || state == geometry::damaged)
    return refuse("%s is not a wireframe file.", file.name);
  std::unique_ptr<wireframe> root;
  try {
    if (qd_wireframe_read(file, current_context.selection, root) != geometry::read)
      return refuse("Cannot read wireframes.");
  } catch (const std::bad_alloc&) {
    return refuse("Not enough memory to read wireframes.");
  }

  divide(*root, client_units(root->unit_x, root->unit_y, root->unit_z));
  std::erase_if(root->objects, [](const wireframe_object& object) { return sent_pieces(object) == 0; });
  return answer_with([&root] {
    return write_value(wire_int{static_cast<std::int32_t>(root->objects.size())}) &&
           std::all_of(root->objects.begin(), root->objects.end(), write_object);
  });
}

}  // namespace qrd

#include "disk/qd_wireframe_format.h"

#include <algorithm>

#include "util/qu_xdr_block.h"

namespace qrd {

namespace {

constexpr std::uint32_t object_name_limit = 50;

bool move_header(XDR* xdr, wireframe_header& header) {
  return qu_xdr_int(xdr, &header.version) && qu_xdr_int(xdr, &header.objects) &&
         qu_xdr_int(xdr, &header.vertices) && qu_xdr_int(xdr, &header.triangles) &&
         std::min({header.objects, header.vertices, header.triangles}) >= 0 &&
         qu_xdr_doubles(xdr, header.box, 6);
}

// A count and so many items of three numbers. What a file promises is bounded by what it holds.
template <typename Number>
bool move_items(XDR* xdr, number_block<Number>& numbers, std::int64_t bytes_left) {
  constexpr std::int64_t item_bytes = 3 * sizeof(Number);
  auto count = static_cast<std::int64_t>(numbers.size() / 3);
  if (!qu_xdr_int(xdr, &count)) return false;
  if (xdr->x_op == XDR_DECODE) {
    if (count < 0 || count > bytes_left / item_bytes) return false;
    numbers.resize(static_cast<std::size_t>(3 * count));
  }
  return qu_xdr_kept(xdr, numbers.data(), count * item_bytes) != 0;
}

bool move_piece(XDR* xdr, std::int64_t version, std::int64_t bytes_left, wireframe_piece& piece) {
  if (version >= 3 && !qu_xdr_int(xdr, &piece.piece_type)) return false;
  return move_items(xdr, piece.vertices, bytes_left) && move_items(xdr, piece.triangles, bytes_left) &&
         qu_xdr_int(xdr, &piece.closed);
}

bool write_object(XDR* xdr, wireframe_object& object) {
  auto pieces = static_cast<std::int64_t>(object.pieces.size());
  return qu_xdr_text(xdr, object.name, object_name_limit) && qu_xdr_int(xdr, &object.red) &&
         qu_xdr_int(xdr, &object.green) && qu_xdr_int(xdr, &object.blue) && qu_xdr_int(xdr, &pieces) &&
         std::all_of(object.pieces.begin(), object.pieces.end(),
                     [xdr](wireframe_piece& piece) { return move_piece(xdr, wireframe_version, 0, piece); });
}

// One object; it joins the root if its name is among the kept ones.
bool read_object(XDR* xdr, std::int64_t version, std::int64_t bytes_left,
                 const std::optional<object_name_set>& kept, wireframe& root) {
  name_text name;
  std::int64_t red = 0, green = 0, blue = 0, pieces = 0;
  if (!qu_xdr_text(xdr, name, object_name_limit) || !qu_xdr_int(xdr, &red) || !qu_xdr_int(xdr, &green) ||
      !qu_xdr_int(xdr, &blue) || !qu_xdr_int(xdr, &pieces) || pieces < 0)
    return false;
  wireframe_object& object = qu_polyhedron_new(root, name);
  object.red = red;
  object.green = green;
  object.blue = blue;
  object.pieces.clear();
  for (std::int64_t i = 0; i < pieces; ++i) {
    wireframe_piece& piece = object.pieces.emplace_back();
    if (!move_piece(xdr, version, bytes_left, piece) || !qu_piece_valid(piece)) return false;
    qu_piece_extend(piece);
  }
  if (kept && !kept->contains(object.name)) root.objects.pop_back();
  return true;
}

}  // namespace

bool qd_wireframe_header_read(XDR* xdr, wireframe_header& header) {
  return move_header(xdr, header);
}

bool qd_wireframe_body_write(XDR* xdr, wireframe& root) {
  wireframe_header header;
  header.objects = static_cast<std::int64_t>(root.objects.size());
  header.vertices = qu_polyhedron_vertex_count(root);
  header.triangles = qu_polyhedron_triangle_count(root);
  qu_polyhedron_box(root, header.box);
  return move_header(xdr, header) &&
         std::all_of(root.objects.begin(), root.objects.end(),
                     [xdr](wireframe_object& object) { return write_object(xdr, object); });
}

bool qd_wireframe_body_read(XDR* xdr, std::int64_t bytes, const std::optional<object_name_set>& kept,
                            wireframe& root) {
  wireframe_header header;
  if (!move_header(xdr, header)) return false;
  for (std::int64_t i = 0; i < header.objects; ++i)
    if (!read_object(xdr, header.version, bytes, kept, root)) return false;
  return true;
}

}  // namespace qrd

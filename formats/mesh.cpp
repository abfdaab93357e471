#include "formats/mesh.h"

#include <algorithm>
#include <cmath>

#include "qrd/error.h"

namespace qrd::formats {

std::optional<mesh_format> mesh_format_of(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) return std::nullopt;
  std::string ending(path.substr(dot + 1));
  std::transform(ending.begin(), ending.end(), ending.begin(), [](char one) {
    return one >= 'A' && one <= 'Z' ? static_cast<char>(one - 'A' + 'a') : one;
  });
  if (ending == "obj") return mesh_format::obj;
  if (ending == "ply") return mesh_format::ply;
  if (ending == "stl") return mesh_format::stl;
  return std::nullopt;
}

std::vector<client::wireframe> read_mesh(mesh_format format, std::string_view bytes,
                                         const std::string& name) {
  auto objects = format == mesh_format::obj   ? read_obj(bytes, name)
                 : format == mesh_format::ply ? read_ply(bytes, name)
                                              : read_stl(bytes, name);
  std::erase_if(objects, [](const client::wireframe& one) { return one.pieces.empty(); });
  if (objects.empty()) throw client::error("the file has no triangles");
  return objects;
}

std::string write_mesh(mesh_format format, std::span<const client::wireframe> objects) {
  for (const client::wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces)
      for (const client::triangle& one : piece.triangles)
        for (const std::int32_t corner : one.vertices)
          if (corner < 0 || static_cast<std::size_t>(corner) >= piece.vertices.size())
            throw client::error("the wireframe \"" + object.name + "\" has a triangle without a corner");
  return format == mesh_format::obj   ? write_obj(objects)
         : format == mesh_format::ply ? write_ply(objects)
                                      : write_stl(objects);
}

std::string_view take_word(std::string_view& text) {
  constexpr std::string_view blanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(blanks));
  text.remove_prefix(word.size());
  return word;
}

double mesh_coordinate(double value) {
  constexpr double farthest = 1e30;
  if (!(std::abs(value) <= farthest)) throw client::error("a vertex lies nowhere");
  return value;
}

void add_face(client::wireframe_piece& piece, std::span<const std::int32_t> corners) {
  if (corners.size() < 3) throw client::error("a face has fewer than three corners");
  for (std::size_t i = 2; i < corners.size(); ++i)
    piece.triangles.push_back({{corners[0], corners[i - 1], corners[i]}});
}

}  // namespace qrd::formats

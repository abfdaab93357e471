// Wavefront OBJ: lines that begin with a word. "v x y z" is a vertex, "f a b c ..." a face of vertices
// counted from 1 in the whole file, or from the last one backwards with -1; "a/t/n" tells texture and normal
// as well. "o" or "g" begins an object.
#include <algorithm>
#include <charconv>
#include <map>

#include "formats/mesh.h"
#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::formats {

namespace {

// Takes the next word off the front.
[[noreturn]] void fail(std::size_t line, const std::string& text) {
  throw client::error("line " + std::to_string(line) + ": " + text);
}

// An object in the making: vertices are numbered anew in each.
class object_reader {
 public:
  explicit object_reader(std::string name) { made_.name = std::move(name); }

  void add_face_of(const std::vector<std::size_t>& corners, const std::vector<client::point3>& vertices) {
    std::vector<std::int32_t> own;
    for (const std::size_t corner : corners) {
      const auto [place, is_new] = own_.emplace(corner, static_cast<std::int32_t>(piece_.vertices.size()));
      if (is_new) piece_.vertices.push_back(vertices[corner]);
      own.push_back(place->second);
    }
    add_face(piece_, own);
  }

  client::wireframe finish() {
    if (!piece_.triangles.empty()) made_.pieces.push_back(std::move(piece_));
    return std::move(made_);
  }

 private:
  client::wireframe made_;
  client::wireframe_piece piece_;
  std::map<std::size_t, std::int32_t> own_;
};

}  // namespace

std::vector<client::wireframe> read_obj(std::string_view text, const std::string& name) {
  std::vector<client::wireframe> objects;
  std::vector<client::point3> vertices;
  std::vector<std::size_t> corners;
  object_reader current(name);
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::string_view what = take_word(line);
    if (what == "v") {
      if (vertices.size() == most_in_piece) fail(number, "too many vertices");
      double place[3];
      for (double& each : place) {
        const auto value = client::parse_number(take_word(line));
        if (!value) fail(number, "a vertex needs three numbers");
        each = mesh_coordinate(*value);
      }
      vertices.push_back({place[0], place[1], place[2]});
    } else if (what == "f") {
      corners.clear();
      for (std::string_view word = take_word(line); !word.empty(); word = take_word(line)) {
        std::int64_t corner = 0;
        std::from_chars(word.data(), word.data() + word.size(), corner);
        const auto count = static_cast<std::int64_t>(vertices.size());
        if (corner == 0 || corner > count || corner < -count)
          fail(number, "a corner is none of the vertices before it");
        corners.push_back(static_cast<std::size_t>(corner > 0 ? corner - 1 : count + corner));
      }
      if (corners.size() < 3) fail(number, "a face needs three corners");
      current.add_face_of(corners, vertices);
    } else if (what == "o" || what == "g") {
      objects.push_back(current.finish());
      const std::size_t first = line.find_first_not_of(" \t\r");
      std::string own = first == std::string_view::npos ? name : std::string(line.substr(first));
      while (!own.empty() && (own.back() == ' ' || own.back() == '\r' || own.back() == '\t')) own.pop_back();
      current = object_reader(std::move(own));
    }
  }
  objects.push_back(current.finish());
  return objects;
}

std::string write_obj(std::span<const client::wireframe> objects) {
  std::string text;
  std::size_t before = 1;
  for (const client::wireframe& object : objects) {
    text += "o " + object.name + "\n";
    for (const client::wireframe_piece& piece : object.pieces) {
      for (const client::point3& vertex : piece.vertices)
        text += "v " + client::number_text(vertex.x) + " " + client::number_text(vertex.y) + " " +
                client::number_text(vertex.z) + "\n";
      for (const client::triangle& one : piece.triangles) {
        text += "f";
        for (const std::int32_t corner : one.vertices)
          text += " " + std::to_string(before + static_cast<std::size_t>(corner));
        text += "\n";
      }
      before += piece.vertices.size();
    }
  }
  return text;
}

}  // namespace qrd::formats

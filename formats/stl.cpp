// STL. Binary: 80 bytes of no meaning, the number of triangles as 32 bits, and for each its normal and three
// corners as twelve 32-bit floats and two bytes more; little-endian. Text: "solid NAME", facets with "vertex
// x y z" lines, "endsolid".
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

#include "formats/mesh.h"
#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::formats {

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::size_t head_size = 80;
constexpr std::size_t facet_size = 50;
constexpr std::size_t normal_size = 12;

// Corners at the same place are one vertex.
class corner_collector {
 public:
  std::int32_t add(const client::point3& place) {
    const auto [found, is_new] = known_.emplace(std::array{place.x, place.y, place.z},
                                                static_cast<std::int32_t>(piece.vertices.size()));
    if (is_new) piece.vertices.push_back(place);
    return found->second;
  }
  client::wireframe_piece piece;

 private:
  std::map<std::array<double, 3>, std::int32_t> known_;
};

template <typename T>
T value_at(std::string_view bytes, std::size_t place) {
  T value;
  std::memcpy(&value, bytes.data() + place, sizeof value);
  return value;
}

void finish(std::vector<client::wireframe>& objects, const std::string& name, corner_collector& corners) {
  client::wireframe object;
  object.name = name;
  if (!corners.piece.triangles.empty()) object.pieces.push_back(std::move(corners.piece));
  objects.push_back(std::move(object));
  corners = {};
}

bool is_binary(std::string_view bytes) {
  if (bytes.size() < head_size + 4) return false;
  const std::size_t count = value_at<std::uint32_t>(bytes, head_size);
  // Some binary files begin with "solid" too.
  return bytes.size() == head_size + 4 + count * facet_size || !bytes.starts_with("solid");
}

std::vector<client::wireframe> read_binary(std::string_view bytes, const std::string& name) {
  const std::size_t count = value_at<std::uint32_t>(bytes, head_size);
  if ((bytes.size() - head_size - 4) / facet_size < count) throw client::error("the file breaks off");
  if (3 * count > most_in_piece) throw client::error("too many triangles");
  corner_collector corners;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t facet = head_size + 4 + i * facet_size + normal_size;
    std::int32_t each[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const auto number = [&](std::size_t axis) {
        return mesh_coordinate(
            static_cast<double>(value_at<float>(bytes, facet + (3 * k + axis) * sizeof(float))));
      };
      each[k] = corners.add({number(0), number(1), number(2)});
    }
    add_face(corners.piece, each);
  }
  std::vector<client::wireframe> objects;
  finish(objects, name, corners);
  return objects;
}

std::vector<client::wireframe> read_words(std::string_view text, const std::string& name) {
  std::vector<client::wireframe> objects;
  corner_collector corners;
  std::vector<std::int32_t> facet;
  std::string own = name;
  const auto take_word = [&] {
    constexpr std::string_view blanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    return word;
  };
  const auto rest_of_line = [&] {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size());
    line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
    line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    return std::string(line);
  };
  if (take_word() != "solid") throw client::error("this is no STL file");
  if (std::string told = rest_of_line(); !told.empty()) own = told;
  for (std::string_view word = take_word(); !word.empty(); word = take_word()) {
    if (word == "vertex") {
      double place[3];
      for (double& each : place) {
        const auto value = client::parse_number(take_word());
        if (!value) throw client::error("a vertex needs three numbers");
        each = mesh_coordinate(*value);
      }
      facet.push_back(corners.add({place[0], place[1], place[2]}));
    } else if (word == "endloop") {
      add_face(corners.piece, facet);
      facet.clear();
    } else if (word == "endsolid" || word == "solid") {
      const std::string told = rest_of_line();
      if (word == "endsolid")
        finish(objects, own, corners);
      else
        own = told.empty() ? name : told;
    }
  }
  if (!facet.empty() || !corners.piece.triangles.empty()) throw client::error("the file breaks off");
  return objects;
}

void append_number(std::string& bytes, double value) {
  if (!(std::abs(value) <= std::numeric_limits<float>::max()))
    throw client::error("a vertex is too far for STL");
  const auto single = static_cast<float>(value);
  char stored[sizeof single];
  std::memcpy(stored, &single, sizeof single);
  bytes.append(stored, sizeof stored);
}

}  // namespace

std::vector<client::wireframe> read_stl(std::string_view bytes, const std::string& name) {
  return is_binary(bytes) ? read_binary(bytes, name) : read_words(bytes, name);
}

std::string write_stl(std::span<const client::wireframe> objects) {
  std::string bytes(head_size, ' ');
  std::uint32_t count = 0;
  for (const client::wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces)
      count += static_cast<std::uint32_t>(piece.triangles.size());
  bytes.append(reinterpret_cast<const char*>(&count), sizeof count);
  for (const client::wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces)
      for (const client::triangle& one : piece.triangles) {
        bytes.append(normal_size, '\0');  // whoever reads it computes the normal
        for (const std::int32_t corner : one.vertices) {
          const client::point3& place = piece.vertices[static_cast<std::size_t>(corner)];
          for (const double value : {place.x, place.y, place.z}) append_number(bytes, value);
        }
        bytes.append(2, '\0');
      }
  return bytes;
}

}  // namespace qrd::formats

// PLY: a header of lines that tells the elements and the properties of each, then their values as text or as
// bytes. Of the element "vertex" x, y and z are taken, of "face" the list "vertex_indices" or "vertex_index",
// counted from 0.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>

#include "formats/mesh.h"
#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::formats {

namespace {

static_assert(std::endian::native == std::endian::little);

enum class coding { text, little_endian, big_endian };

struct number_type {
  std::string_view name, other_name;
  std::size_t size;
};
constexpr number_type types[] = {{"char", "int8", 1},     {"uchar", "uint8", 1},   {"short", "int16", 2},
                                 {"ushort", "uint16", 2}, {"int", "int32", 4},     {"uint", "uint32", 4},
                                 {"float", "float32", 4}, {"double", "float64", 8}};

struct property {
  std::string name;
  std::size_t type = 0;                   // of a value, by its place in the table
  std::optional<std::size_t> count_type;  // of a list
};

struct element {
  std::string name;
  std::size_t count = 0;
  std::vector<property> properties;
};

[[noreturn]] void fail(const std::string& text) {
  throw client::error("this is no PLY file that can be read: " + text);
}

std::size_t type_of(std::string_view name) {
  const auto* found = std::find_if(std::begin(types), std::end(types), [&](const number_type& one) {
    return one.name == name || one.other_name == name;
  });
  if (found == std::end(types)) fail("\"" + std::string(name) + "\" is no type");
  return static_cast<std::size_t>(found - std::begin(types));
}

class values {
 public:
  values(std::string_view bytes, coding how) : bytes_(bytes), how_(how) {}

  double take(std::size_t type) {
    if (how_ == coding::text) {
      const auto value = client::parse_number(take_word(bytes_));
      if (!value) fail("it breaks off, or has something else than numbers");
      return *value;
    }
    const std::size_t size = types[type].size;
    if (bytes_.size() < size) fail("it breaks off");
    std::array<char, 8> stored{};
    bytes_.copy(stored.data(), size);
    if (how_ == coding::big_endian)
      std::reverse(stored.begin(), stored.begin() + static_cast<std::ptrdiff_t>(size));
    bytes_.remove_prefix(size);
    switch (type) {
      case 0:
        return as<std::int8_t>(stored);
      case 1:
        return as<std::uint8_t>(stored);
      case 2:
        return as<std::int16_t>(stored);
      case 3:
        return as<std::uint16_t>(stored);
      case 4:
        return as<std::int32_t>(stored);
      case 5:
        return as<std::uint32_t>(stored);
      case 6:
        return static_cast<double>(as<float>(stored));
      default:
        return as<double>(stored);
    }
  }
  // A whole number from 0 to below the bound.
  std::int32_t take_index(std::size_t type, std::size_t bound) {
    const double value = take(type);
    if (!(value >= 0 && value < static_cast<double>(bound)) || value != std::floor(value))
      fail("a corner is none of the vertices");
    return static_cast<std::int32_t>(value);
  }
  std::size_t left() const { return bytes_.size(); }

 private:
  template <typename T>
  static T as(const std::array<char, 8>& stored) {
    T value;
    std::memcpy(&value, stored.data(), sizeof value);
    return value;
  }
  std::string_view bytes_;
  coding how_;
};

// What stands before the values; takes it off the front.
std::vector<element> read_head(std::string_view& bytes, coding& how) {
  std::vector<element> elements;
  bool told = false;
  if (!bytes.starts_with("ply")) fail("it does not begin with \"ply\"");
  for (;;) {
    const std::size_t end = bytes.find('\n');
    if (end == std::string_view::npos) fail("its head has no end");
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end + 1);
    const std::string_view what = take_word(line);
    if (what == "end_header") break;
    if (what == "format") {
      const std::string_view name = take_word(line);
      told = true;
      if (name == "ascii")
        how = coding::text;
      else if (name == "binary_little_endian")
        how = coding::little_endian;
      else if (name == "binary_big_endian")
        how = coding::big_endian;
      else
        fail("its format is \"" + std::string(name) + "\"");
    } else if (what == "element") {
      element one;
      one.name = take_word(line);
      const std::string_view count = take_word(line);
      const auto [behind, problem] = std::from_chars(count.data(), count.data() + count.size(), one.count);
      if (problem != std::errc() || behind != count.data() + count.size() || one.count > most_in_piece)
        fail("there can't be \"" + std::string(count) + "\" of an element");
      elements.push_back(std::move(one));
    } else if (what == "property") {
      if (elements.empty()) fail("a property of nothing");
      property one;
      std::string_view type = take_word(line);
      if (type == "list") {
        one.count_type = type_of(take_word(line));
        type = take_word(line);
      }
      one.type = type_of(type);
      one.name = take_word(line);
      elements.back().properties.push_back(std::move(one));
    }
  }
  if (!told) fail("it tells no format");
  return elements;
}

void read_vertex(values& from, const element& vertices, client::wireframe_piece& piece) {
  client::point3 place;
  for (const property& one : vertices.properties) {
    if (one.count_type) {
      for (std::int32_t left = from.take_index(*one.count_type, most_in_piece); left > 0; --left)
        from.take(one.type);
      continue;
    }
    const double value = from.take(one.type);
    if (one.name == "x") place.x = mesh_coordinate(value);
    if (one.name == "y") place.y = mesh_coordinate(value);
    if (one.name == "z") place.z = mesh_coordinate(value);
  }
  piece.vertices.push_back(place);
}

void read_face(values& from, const element& faces, client::wireframe_piece& piece,
               client::wireframe& object) {
  std::vector<std::int32_t> corners;
  for (const property& one : faces.properties) {
    if (!one.count_type) {
      const double value = from.take(one.type);
      const auto colour =
          static_cast<std::int32_t>(std::clamp(std::isfinite(value) ? value : 0.0, 0.0, 255.0));
      if (one.name == "red") object.red = colour;
      if (one.name == "green") object.green = colour;
      if (one.name == "blue") object.blue = colour;
      continue;
    }
    const bool are_corners = one.name == "vertex_indices" || one.name == "vertex_index";
    for (std::int32_t left = from.take_index(*one.count_type, most_in_piece); left > 0; --left) {
      if (are_corners)
        corners.push_back(from.take_index(one.type, piece.vertices.size()));
      else
        from.take(one.type);
    }
  }
  add_face(piece, corners);
}

template <typename T>
void append(std::string& bytes, T value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

std::vector<client::wireframe> read_ply(std::string_view bytes, const std::string& name) {
  coding how{};
  const std::vector<element> elements = read_head(bytes, how);
  values from(bytes, how);
  client::wireframe object;
  object.name = name;
  client::wireframe_piece piece;
  for (const element& one : elements) {
    // An element takes a byte at least, so that no count makes the reading longer than the file.
    if (one.count > 0 && one.properties.empty()) fail("an element has no properties");
    if (one.count > from.left()) fail("it breaks off");
    for (std::size_t i = 0; i < one.count; ++i) {
      if (one.name == "vertex")
        read_vertex(from, one, piece);
      else if (one.name == "face")
        read_face(from, one, piece, object);
      else
        for (const property& each : one.properties) {
          std::int32_t left = each.count_type ? from.take_index(*each.count_type, most_in_piece) : 1;
          for (; left > 0; --left) from.take(each.type);
        }
    }
  }
  if (!piece.triangles.empty()) object.pieces.push_back(std::move(piece));
  return {std::move(object)};
}

std::string write_ply(std::span<const client::wireframe> objects) {
  std::size_t vertices = 0, faces = 0;
  for (const client::wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces) {
      vertices += piece.vertices.size();
      faces += piece.triangles.size();
    }
  std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(vertices) +
                      "\nproperty double x\nproperty double y\nproperty double z\nelement face " +
                      std::to_string(faces) +
                      "\nproperty list uchar int vertex_indices\nproperty uchar red\nproperty uchar green\n"
                      "property uchar blue\nend_header\n";
  for (const client::wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces)
      for (const client::point3& vertex : piece.vertices)
        for (const double value : {vertex.x, vertex.y, vertex.z}) append(bytes, value);
  std::int32_t before = 0;
  for (const client::wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces) {
      for (const client::triangle& one : piece.triangles) {
        append(bytes, std::uint8_t{3});
        for (const std::int32_t corner : one.vertices) append(bytes, before + corner);
        for (const std::int32_t colour : {object.red, object.green, object.blue})
          append(bytes, static_cast<std::uint8_t>(std::clamp(colour, 0, 255)));
      }
      before += static_cast<std::int32_t>(piece.vertices.size());
    }
  return bytes;
}

}  // namespace qrd::formats

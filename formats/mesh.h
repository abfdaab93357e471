// Surfaces of triangles in files of other programs: OBJ, PLY and STL.
//
// Colours and everything else but vertices and faces is passed over; faces of more corners are cut into
// triangles. Whatever bytes a file has, what comes out has its corners within its vertices; an `error` tells
// what is wrong.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qrd/objects.h"

namespace qrd::formats {

enum class mesh_format { obj, ply, stl };

// By the ending of a name: ".obj", ".ply" or ".stl", in any case.
std::optional<mesh_format> mesh_format_of(std::string_view path);

// Each object of the file; without a name of its own it gets `name`.
std::vector<client::wireframe> read_mesh(mesh_format format, std::string_view bytes, const std::string& name);
// An `error` if a corner isn't one of the vertices; what the other writers REQUIRE.
std::string write_mesh(mesh_format format, std::span<const client::wireframe> objects);

std::vector<client::wireframe> read_obj(std::string_view text, const std::string& name);
std::string write_obj(std::span<const client::wireframe> objects);
// Text, or binary of either byte order.
std::vector<client::wireframe> read_ply(std::string_view bytes, const std::string& name);
// One surface of all objects, binary, little-endian, with its colours on the faces.
std::string write_ply(std::span<const client::wireframe> objects);
// Text or binary. Corners at one place become one vertex.
std::vector<client::wireframe> read_stl(std::string_view bytes, const std::string& name);
// Binary. Places have seven figures in it, not more.
std::string write_stl(std::span<const client::wireframe> objects);

// What the readers share.
// The next word, which goes from the text with the blanks before it; empty at the end.
std::string_view take_word(std::string_view& text);
// A finite number for a coordinate; an `error` for another one.
double mesh_coordinate(double value);
// A polygon of corners as a fan of triangles. REQUIRES: corners within the vertices.
void add_face(client::wireframe_piece& piece, std::span<const std::int32_t> corners);
// How many more vertices or triangles a piece may get.
constexpr std::size_t most_in_piece = std::size_t{1} << 30;

}  // namespace qrd::formats

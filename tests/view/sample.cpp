// Adds to the study "Holes" of a database a directory "Models" with a file of each further kind, for the test
// of the page:
//
//   view_sample ROOT [POINTS]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "qrd/table.h"

using namespace qrd::client;

namespace {

constexpr point3 middle = {701500, 128000, 100};  // metres, among the holes
constexpr double radius = 300;

// A closed body: a ball between two poles.
wireframe ball() {
  constexpr int around = 24, down = 12;
  wireframe_piece piece;
  for (int i = 0; i <= down; ++i)
    for (int j = 0; j < around; ++j) {
      const double a = M_PI * i / down, b = 2 * M_PI * j / around;
      piece.vertices.push_back({middle.x + radius * std::sin(a) * std::cos(b),
                                middle.y + radius * std::sin(a) * std::sin(b),
                                middle.z + radius / 2 * std::cos(a)});
    }
  for (int i = 0; i < down; ++i)
    for (int j = 0; j < around; ++j) {
      const int here = i * around + j, beside = i * around + (j + 1) % around;
      piece.triangles.push_back({{here, here + around, beside}});
      piece.triangles.push_back({{beside, here + around, beside + around}});
    }
  return {.name = "Ore body", .red = 220, .green = 120, .blue = 40, .pieces = {piece}};
}

contour square(const char* name, double size) {
  contour one;
  one.name = name;
  one.vertices = {{middle.x - size, middle.y - size},
                  {middle.x + size, middle.y - size},
                  {middle.x + size, middle.y + size},
                  {middle.x - size, middle.y + size}};
  return one;
}

void fill(database& all, std::int64_t points) {
  const auto place = [](const char* file) { return file_place{"Holes", "Models", file}; };
  all.at("Holes").new_directory("Models");
  const grid_geometry blocks = {3, {middle.x - 400, middle.y - 400, middle.z - 150}, {40, 40, 25}, 20, 20,
                                12};
  make_file(all, place("blocks"), grid_file_geometry{blocks, {20, 0, 0}}, [&](table& file) {
    std::vector<double> grades;
    for (int i = 0; i < 20; ++i)
      for (int j = 0; j < 20; ++j)
        for (int k = 0; k < 12; ++k)
          grades.push_back(
              3 * std::exp(-(std::pow(i - 9.5, 2) + std::pow(j - 9.5, 2)) / 30 - std::pow(k - 6, 2) / 12));
    file.write(file.make({.name = {"grade", {}}, .bits = 32, .unit = "%"}), grades);
  });
  std::vector<double> coordinates(3 * static_cast<std::size_t>(points));
  std::vector<double> grades(static_cast<std::size_t>(points)), places(grades.size());
  for (std::size_t i = 0; i < grades.size(); ++i) {
    const double turn = 0.001 * static_cast<double>(i),
                 away = radius * std::sqrt(static_cast<double>(i) / static_cast<double>(points));
    coordinates[i] = middle.x + away * std::cos(turn);
    coordinates[grades.size() + i] = middle.y + away * std::sin(turn);
    coordinates[2 * grades.size() + i] = middle.z + 50 * std::sin(turn / 7);
    grades[i] = away / 100;
    places[i] = i % 2 == 0 ? 1 : 0;
  }
  make_file(all, place("cloud"), points_geometry{3, coordinates}, [&](table& file) {
    file.write(file.make({.name = {"grade", {}}, .bits = 32, .unit = "%"}), grades);
    file.write(file.make({.name = {"even", {}}, .bits = 1}), places);
  });
  all.use_unit("m");
  connection& server = all.at("Holes", "Models");
  server.new_polygons("lots", std::vector<contour>{square("outer", 400), square("inner", 150)});
  server.new_wireframes("bodies", std::vector<wireframe>{ball()});
  const double top = middle.z + 200, bottom = middle.z - 200;
  const fault_segment upper = {{{middle.x - 400, middle.y, top},
                                {middle.x + 400, middle.y + 100, top},
                                {middle.x - 400, middle.y, bottom}}};
  const fault_segment lower = {{{middle.x + 400, middle.y + 100, top},
                                {middle.x + 400, middle.y + 100, bottom},
                                {middle.x - 400, middle.y, bottom}}};
  all.at(place("blocks")).write_faults({.is_2d = false, .faults = {{"F1", false, {upper, lower}}}});
}

}  // namespace

int main(int count, char** words) {
  try {
    database all({.root = words[1]});
    fill(all, count > 2 ? std::atoll(words[2]) : 2000);
    return 0;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return 1;
  }
}

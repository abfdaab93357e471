// Polygons and wireframes: whole files of them, and how the check of rings grows.
#include <sys/socket.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bare.h"
#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

constexpr char wireframe_name[] = "WIREFRAME";

using make_ring = void (*)(client::packet& request, int vertices);

// A circle of 100 m around (0, 0): most edges are far from each other.
void circle(client::packet& request, int vertices) {
  for (int i = 0; i < vertices; ++i) {
    const double angle = 2 * std::numbers::pi * i / vertices;
    request.add_double(100 * std::cos(angle)).add_double(100 * std::sin(angle));
  }
}

// Slanted teeth: the box of nearly every edge touches that of every other one, and no edges cross.
void teeth(client::packet& request, int vertices) {
  const double step = 10.0 / vertices;
  for (int i = 0; i < vertices - 2; ++i) {
    const double top = i % 2 == 0 ? 0 : 1000;
    request.add_double(i * step + top).add_double(top);
  }
  request.add_double(3000).add_double(0).add_double(0).add_double(-1000);
}

// Long edges side by side, turned against the axes: the boxes of all edges lie in each other.
void comb(client::packet& request, int vertices) {
  constexpr double length = 1000, distance = 0.1, turn = 0.3;
  const auto add = [&](double x, double y) {
    request.add_double(x * std::cos(turn) - y * std::sin(turn))
        .add_double(x * std::sin(turn) + y * std::cos(turn));
  };
  // Up, to the side, down, to the side; closed below.
  for (int i = 0; i < vertices - 2; ++i) add(i / 2 * distance, i % 4 == 1 || i % 4 == 2 ? length : 0);
  add(vertices * distance, -1);
  add(0, -1);
}

std::string polygon_request(const std::string& name, int contours, int vertices, make_ring ring) {
  client::packet request("CPOLYNEW", client::long_size::eight_bytes);
  request.add_string(name).add_bool(true);
  for (int i = 0; i < 6; ++i) request.add_double(0);
  request.add_long(contours);
  for (int i = 0; i < contours; ++i) {
    request.add_string("c" + std::to_string(i)).add_string("p" + std::to_string(i % 10));
    request.add_double(0).add_double(1).add_int(vertices);
    ring(request, vertices);
  }
  return request.bytes();
}

// Removes the big files of the rounds before: the system would be writing them back meanwhile. All else
// stays, as file systems are slow in giving out again what was deleted a moment ago.
void drop_geometry(const study_files& files) {
  std::vector<std::filesystem::path> dropped;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(files.root())) {
    const std::string name = entry.path().filename().string();
    if (name == "POLYGON" || name == wireframe_name || name == "bare") dropped.push_back(entry.path());
  }
  for (const std::filesystem::path& path : dropped) std::filesystem::remove(path);
}

// A new name each time, all of one length.
std::string next_name() {
  static int number = 1000;
  return "file " + std::to_string(++number);
}

// Requests that each make a file of so many rings.
class ring_files {
 public:
  ring_files(int contours, int vertices, make_ring ring)
      : contours_(contours), vertices_(vertices), ring_(ring) {
    next();
  }
  void next() {
    name_ = next_name();
    request_ = polygon_request(name_, contours_, vertices_, ring_);
  }
  const std::string& request() const { return request_; }
  // A ring that crosses itself would be left out of the file, and cost less.
  void check(measured_server& server) const {
    server.exchange(request_, done_size);
    server.connection().set_file(name_);
    if (server.connection().polygons().contours.size() != static_cast<std::size_t>(contours_))
      throw std::runtime_error("a ring has not come into its file");
  }

 private:
  int contours_;
  int vertices_;
  make_ring ring_;
  std::string name_;
  std::string request_;
};

void measure_growth(report& table, const study_files& files, const char* what, int contours, make_ring ring) {
  measured_server server(files);
  std::optional<comparison> before;
  for (const int vertices : {100, 1000, 10000}) {
    ring_files rings(contours, vertices, ring);
    const comparison now = times_of(
        5, [&] { server.exchange(rings.request(), done_size); }, [&] { rings.next(); });
    rings.check(server);
    table.add(
        growth_row(std::to_string(contours) + " " + what + ", vertices of each: " + std::to_string(vertices),
                   now, 10, before));
    before = now;
  }
}

constexpr int surface_side = 709;
constexpr int surface_triangles = 1'000'000;
constexpr int surface_vertices = surface_side * surface_side;
constexpr std::size_t surface_size = surface_vertices * std::size_t{24} + surface_triangles * std::size_t{12};

// A wavy surface over a square.
std::string wireframe_request(const std::string& name) {
  client::packet request("CWIRENEW");
  request.add_string(name).add_int(1).add_string("surface").add_int(1).add_int(2).add_int(3).add_int(1);
  request.add_int(surface_vertices).add_int(surface_triangles);
  for (int i = 0; i < surface_vertices; ++i) {
    const int x = i % surface_side, y = i / surface_side;
    request.add_double(x).add_double(y).add_double(std::sin(x / 50.0) * std::cos(y / 50.0));
  }
  for (int i = 0; i < surface_triangles; ++i) {
    const int cell = i / 2;
    const int corner = cell / (surface_side - 1) * surface_side + cell % (surface_side - 1);
    if (i % 2 == 0)
      request.add_int(corner).add_int(corner + 1).add_int(corner + surface_side);
    else
      request.add_int(corner + 1).add_int(corner + surface_side + 1).add_int(corner + surface_side);
  }
  return request.bytes();
}

// A folder, or a file with its content, of what the server made for a wireframe beside the surface itself.
struct file_part {
  std::filesystem::path name;
  std::optional<std::string> content;
};

std::filesystem::path folder_of_wireframe(const std::filesystem::path& root) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
    if (entry.path().filename() == wireframe_name) return entry.path().parent_path();
  throw std::runtime_error("the server has made no wireframe");
}

// A folder comes before what it holds.
std::vector<file_part> parts_of(const std::filesystem::path& folder) {
  std::vector<file_part> parts;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().filename() == wireframe_name) continue;
    file_part& part = parts.emplace_back();
    part.name = std::filesystem::relative(entry.path(), folder);
    if (entry.is_directory()) continue;
    std::ifstream stream(entry.path(), std::ios::binary);
    part.content.emplace(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return parts;
}

// As plainly as it goes: each file made in its place and written once.
void write_parts(const std::filesystem::path& folder, const std::vector<file_part>& parts) {
  std::filesystem::create_directory(folder);
  for (const file_part& part : parts) {
    if (part.content)
      write_file((folder / part.name).string(), *part.content);
    else
      std::filesystem::create_directory(folder / part.name);
  }
}

// SWIREF, the number of objects, name and colour, the number of pieces, both counts, the surface.
std::size_t wireframe_answer_size() {
  return text_size(6) + 4 + text_size(7) + 3 * 4 + 4 + 2 * 4 + surface_size;
}

}  // namespace

void measure_polygons(report& table, const study_files& files, const bench_settings& settings) {
  const std::string path = (files.root() / "bare").string();
  // The server beside a bare program that takes and writes the same bytes.
  const auto creation = [&](int contours, int vertices, make_ring ring) {
    ring_files rings(contours, vertices, ring);
    const std::size_t size = rings.request().size();
    const bare_program bare([&](int socket) { take_file(socket, path, size, size); });
    measured_server server(files);
    const comparison times = compare(
        settings.rounds, [&] { server.exchange(rings.request(), done_size); },
        [&] {
          bare.ask();
          send_all(bare.socket(), rings.request().data(), size);
          drain(bare.socket(), 1);
        },
        [&] {
          drop_geometry(files);
          rings.next();
        });
    rings.check(server);
    return times;
  };
  table.add(time_row("1000 circles of 1000 vertices", creation(1000, 1000, circle)));

  // All that a ring takes beyond its transfer and its writing is put down to the check.
  constexpr int combs = 20;
  const comparison times = creation(combs, 10'000, comb);
  row check = time_row("check of a comb of 10000 vertices", times, at_most(10));
  check.measured = (times.measured.median - times.bare->median) * 1e3 / combs;
  check.bare.reset();
  check.ratio.reset();
  table.add(check);
  measure_growth(table, files, "circles", 100, circle);
  measure_growth(table, files, "slanted teeth", 10, teeth);
  measure_growth(table, files, "combs", 10, comb);
}

void measure_wireframes(report& table, const study_files& files, const bench_settings& settings) {
  std::string name, request;
  const auto next_request = [&] {
    name = next_name();
    request = wireframe_request(name);
  };
  next_request();
  {
    measured_server server(files);
    server.exchange(request, done_size);
    next_request();
  }
  const std::filesystem::path made = folder_of_wireframe(files.root());
  const std::vector<file_part> parts = parts_of(made);
  int number = 0;
  const bare_program taking([&](int socket) {
    // Beside those of the server: what a file system takes to make a file depends on what was deleted there.
    const std::filesystem::path folder = made.parent_path() / ("bare " + std::to_string(++number));
    write_parts(folder, parts);
    take_file(socket, (folder / wireframe_name).string(), request.size(), surface_size);
  });
  const auto measure_writing = [&](measured_server& server) {
    // The disk is at work behind some of them.
    return compare(
        3 * settings.rounds, [&] { server.exchange(request, done_size); },
        [&] {
          taking.ask();
          send_all(taking.socket(), request.data(), request.size());
          drain(taking.socket(), 1);
        },
        [&] {
          drop_geometry(files);
          next_request();
        });
  };
  {
    // The bare program waits for no disk either.
    const server_setting environment("QRD_SYNC", "0");
    measured_server server(files);
    table.add(speed_row("writing 1 million triangles, QRD_SYNC=0", request.size(), measure_writing(server),
                        at_least(0.8)));
  }
  measured_server server(files);
  table.add(speed_row("writing 1 million triangles", request.size(), measure_writing(server)));

  server.exchange(request, done_size);
  server.connection().set_file(name);
  const std::string path = (files.root() / "bare").string();
  write_file(path, surface_size);
  const std::size_t answer = wireframe_answer_size();
  const std::string question = client::packet("CWIREREAD").bytes();
  const bare_program pushing([&](int socket) { push_file(socket, path, answer, protocol_step, MSG_MORE); });
  const comparison reading = compare(
      settings.rounds, [&] { server.exchange(question, answer); },
      [&] {
        pushing.ask();
        drain(pushing.socket(), answer);
      });
  table.add(speed_row("reading 1 million triangles", answer, reading, at_least(0.5)));
  drop_geometry(files);
}

}  // namespace qrd::bench

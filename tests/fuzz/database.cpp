#include "fuzz/database.h"

#include "support/formats.h"

namespace qrd::fuzz {

namespace {

using test::bytes;
using test::ring;

constexpr int samples = 5;

std::string points_file(const char* name, int count) {
  bytes made = bytes("CPFILENEW").text(name).i64(count).i32(3);
  for (int axis = 0; axis < 3; ++axis)
    for (int i = 1; i <= count; ++i) made.f64(10 * axis + i);
  return made;
}

std::string number_variable(const char* request_name, const char* name, int bits) {
  return bytes(request_name).text(name).i32(bits, 1, 8, 0, 1).text("");
}
std::string written_numbers(int count = samples) {
  bytes written = bytes("CWRITVARF").i64(1, count).i32(0).f64(-1).i64(count);
  for (int i = 0; i < count; ++i) written.f64(i == 2 ? -1 : i);
  return written;
}

bytes faults(bool is_2d, const std::vector<const char*>& names, int segments, int priority) {
  bytes made = bytes("CWRITFAUL").i32(is_2d, !is_2d).f64(-9).i32(static_cast<int>(names.size()));
  for (const char* name : names) {
    made.text(name).i32(is_2d, segments);
    for (int i = 0; i < segments; ++i) made.f64(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11).i32(priority);
  }
  return made;
}

// Variables of every width and kind in the points file.
requests points() {
  requests made = {points_file("points", samples), named("CFILESET", "points"),
                   bytes("CCOMSET").i32(2, 0).text("first line\nsecond line")};
  for (int bits : {2, 4, 8, 16, 32, 64}) {
    const std::string name = "f" + std::to_string(bits);
    append(made, {number_variable("CVARFNEW", name.c_str(), bits), named("CVARSET", name.c_str()),
                  written_numbers()});
  }
  append(made, {bytes("CVARCOMM").i32(0).text("of a variable"), number_variable("CVARFNEW", "sel", 1),
                named("CVARSET", "sel"), bytes("CWRITVARS").i64(1, samples, samples).u8(1, 0, 1, 1, 0),
                bytes("CVARFNEW").text("len").i32(64, 0, 8, 2, 1).text("m"),
                bytes("CVARCNEW").text("text").i32(6), named("CVARSET", "text"),
                bytes("CWRITVARC")
                    .i64(1, samples)
                    .i32(0)
                    .text("?")
                    .i64(samples)
                    .text(test::strings{"one", "two", "?", "four", "sixsix"})});
  for (int bits : {1, 8}) {
    const std::string name = "m" + std::to_string(bits) + "[xxxxx]";
    append(made, {number_variable("CVARMNEW", name.c_str(), bits), named("CVARSET", name.c_str()),
                  bytes("CMACROADD").i32(2, 1, 3, 7, 1).text("red").text("blue"), bytes("CINDSET").i32(7)});
    if (bits == 8) made.push_back(written_numbers());
  }
  append(made, {faults(false, {"west", "east"}, 1, 3)});
  return made;
}

requests lines() {
  const bytes cores = bytes("CLFILEAPC").i32(2, 3).f64(0, 0, 0).f64(1, 2, 3, 4, 5, 6);
  return {bytes("CLFILENEW").text("lines").i32(2),
          named("CFILESET", "lines"),
          bytes("CLFILEAPP").i32(2, 2).f64(1, 2, 3, 4),
          bytes("CLFILEAPP").i32(3, 2).f64(1, 2, 3, 4, 5, 6),
          number_variable("CVARFNEW", "v", 64),
          named("CVARSET", "v"),
          bytes("CWRITLINF").i64(1, 2).f64(-1, 5, 6),
          bytes("CLFILENEW").text("cores").i32(3),
          named("CFILESET", "cores"),
          cores,
          cores,
          points_file("heads", 2),
          named("CFILESET", "heads"),
          named("CFILESET", "cores"),
          named("CLFILELNK", "heads"),
          named("CFILESET", "heads"),
          bytes("CVARCNEW").text("hole").i32(4),
          named("CVARSET", "hole"),
          bytes("CWRITVARC").i64(1, 2).i32(0).text("").i64(2).text("A1").text("B2"),
          bytes("CVARLNAME")};
}

requests grid() {
  return {bytes("CGFILENEW").text("grid").i32(3).f64(0, 1).i32(3).f64(5, 2).i32(2).f64(0, 1).i32(2),
          named("CFILESET", "grid"),
          number_variable("CVARFNEW", "v", 32),
          named("CVARSET", "v"),
          written_numbers(12),
          number_variable("CVARFNEW", "sel", 1),
          faults(true, {"line"}, 2, 1)};
}

requests solids() {
  bytes polygons = bytes("CPOLYNEW").text("polygons").i32(1);
  polygons.f64(0, 0, 0, 0, 0, 0).i64(3);
  ring(polygons.text("c1").text("Lake").f64(1, 2), {0, 0, 4, 0, 4, 4, 0, 4, 0, 0});
  ring(polygons.text("c1").text("Lake").f64(1, 2), {10, 0, 12, 0, 12, 2});
  ring(polygons.text("Pit").text("").f64(0, 0), {20, 0, 21, 0, 21, 1});
  bytes wires = bytes("CWIRENEW").text("wires").i32(2);
  for (const char* name : {"Ore body", "Waste"}) {
    wires.text(name).i32(1, 2, 3, 1, 4, 4);
    wires.f64(0, 0, 0, 1, 0, 0).f64(0, 1, 0, 0, 0, 1);
    wires.i32(0, 2, 1, 0, 1, 3).i32(0, 3, 2, 1, 2, 3);
  }
  requests made = {polygons, wires};
  for (const char* name : {"polygons", "wires"})
    append(made, {named("CFILESET", name), number_variable("CVARFNEW", "sel", 1), named("CVARSET", "sel"),
                  bytes("CWRITVARS").i64(1, 2, 2).u8(0, 1)});
  return made;
}

requests colours() {
  const auto scale = [](const char* name, int type, int intervals, int manual, int facies) {
    bytes out = bytes("CSCANEW").text(name).i32(type, 1).text("pal").i32(2);
    out.i32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11).i32(4, 5, 6).text("").text("");
    return out.i32(intervals, 0, manual, facies);
  };
  bytes facies = scale("facies", 3, 2, 0, 1).f64(1, 4, 3, 6).i32(0, 1, 1, 2, 3, 4, 5, 6);
  return {bytes("CPALWRIT").text("pal").i32(2, 1, 2, 3, 4, 5, 6), scale("automatic", 0, 0, 0, 0),
          scale("classes", 1, 0, 0, 0), scale("manual", 2, 0, 1, 0).f64(0, 10, 20).i32(1, 0),
          facies.text("sand").text("clay")};
}

requests bags() {
  requests made = {named("CFILESET", "points"), named("CVARSET", "f64")};
  const bytes all = test::attributes_of_all_types();
  for (int scope = 0; scope < 4; ++scope)
    append(made, {bytes("CVDATWRIT").text("bag").i32(scope, 3, 7).raw(all)});
  return made;
}

}  // namespace

std::vector<requests> building_requests(const std::string& root) {
  requests first = opening_requests(root);
  for (const char* study : {"S", "T"})
    append(first, {bytes("CSTUDYNEW").text(study).text(root + "/" + study)});
  append(first, {named("CSTUDYSET", "S"), named("CDIRNEW", "D"), named("CDIRSET", "D")});
  return {first, points(), lines(), grid(), solids(), colours(), bags()};
}

requests opening_requests(const std::string& root) {
  return {bytes("CHELLO").text("").i32(1300030), bytes("CARCH").i32(1), bytes("CQRDDATA").text(root)};
}

requests choosing_requests() {
  return {named("CSTUDYSET", "S"), named("CDIRSET", "D")};
}

}  // namespace qrd::fuzz

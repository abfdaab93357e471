#include "fuzz/database.h"

#include <initializer_list>

#include "support/bytes.h"

namespace qrd::fuzz {

namespace {

using test::bytes;
using requests = std::vector<std::string>;

constexpr int samples = 5;

bytes request(const char* name) {
  return bytes().text(name);
}
std::string named(const char* name, const char* text) {
  return request(name).text(text).str();
}

bytes& ring(bytes& out, std::initializer_list<double> xy) {
  out.i32(static_cast<std::int32_t>(xy.size() / 2));
  for (double value : xy) out.f64(value);
  return out;
}

std::string points_file(const char* name, int count) {
  bytes made = request("CPFILENEW").text(name).i64(count).i32(3);
  for (int axis = 0; axis < 3; ++axis)
    for (int i = 1; i <= count; ++i) made.f64(10 * axis + i);
  return made.str();
}

std::string number_variable(const char* request_name, const char* name, int bits) {
  return request(request_name).text(name).i32(bits, 1, 8, 0, 1).text("").str();
}
std::string written_numbers(int count = samples) {
  bytes written = request("CWRITVARF").i64(1, count).i32(0).f64(-1).i64(count);
  for (int i = 0; i < count; ++i) written.f64(i == 2 ? -1 : i);
  return written.str();
}

// Variables of every width and kind in the points file.
requests points() {
  requests made = {points_file("points", samples), named("CFILESET", "points"),
                   request("CCOMSET").i32(2, 0).text("first line\nsecond line").str()};
  for (int bits : {2, 4, 8, 16, 32, 64}) {
    const std::string name = "f" + std::to_string(bits);
    made.push_back(number_variable("CVARFNEW", name.c_str(), bits));
    made.push_back(named("CVARSET", name.c_str()));
    made.push_back(written_numbers());
  }
  made.push_back(request("CVARCOMM").i32(0).text("of a variable").str());
  made.push_back(number_variable("CVARFNEW", "sel", 1));
  made.push_back(named("CVARSET", "sel"));
  made.push_back(request("CWRITVARS").i64(1, samples, samples).raw({"\1\0\1\1\0", samples}).str());
  made.push_back(request("CVARFNEW").text("len").i32(64, 0, 8, 2, 1).text("m").str());
  made.push_back(request("CVARCNEW").text("text").i32(6).str());
  made.push_back(named("CVARSET", "text"));
  bytes texts = request("CWRITVARC").i64(1, samples).i32(0).text("?").i64(samples);
  for (const char* text : {"one", "two", "?", "four", "sixsix"}) texts.text(text);
  made.push_back(texts.str());
  for (int bits : {1, 8}) {
    const std::string name = "m" + std::to_string(bits) + "[xxxxx]";
    made.push_back(number_variable("CVARMNEW", name.c_str(), bits));
    made.push_back(named("CVARSET", name.c_str()));
    made.push_back(request("CMACROADD").i32(2, 1, 3, 7, 1).text("red").text("blue").str());
    made.push_back(request("CINDSET").i32(7).str());
    if (bits == 8) made.push_back(written_numbers());
  }
  bytes fault = request("CWRITFAUL").i32(0, 1).f64(-9).i32(2);
  for (const char* name : {"west", "east"}) {
    fault.text(name).i32(0, 1);
    for (int i = 0; i < 12; ++i) fault.f64(i);
    fault.i32(3);
  }
  made.push_back(fault.str());
  return made;
}

requests lines() {
  requests made = {request("CLFILENEW").text("lines").i32(2).str(),
                   named("CFILESET", "lines"),
                   request("CLFILEAPP").i32(2, 2).f64(1, 2, 3, 4).str(),
                   request("CLFILEAPP").i32(3, 2).f64(1, 2, 3, 4, 5, 6).str(),
                   number_variable("CVARFNEW", "v", 64),
                   named("CVARSET", "v"),
                   request("CWRITLINF").i64(1, 2).f64(-1, 5, 6).str(),
                   request("CLFILENEW").text("cores").i32(3).str(),
                   named("CFILESET", "cores")};
  for (int i = 0; i < 2; ++i)
    made.push_back(request("CLFILEAPC").i32(2, 3).f64(0, 0, 0).f64(1, 2, 3, 4, 5, 6).str());
  for (const char* name : {"heads", "cores"}) {
    if (std::string(name) == "heads") made.push_back(points_file(name, 2));
    made.push_back(named("CFILESET", name));
    if (std::string(name) == "cores") made.push_back(named("CLFILELNK", "heads"));
  }
  made.push_back(named("CFILESET", "heads"));
  made.push_back(request("CVARCNEW").text("hole").i32(4).str());
  made.push_back(named("CVARSET", "hole"));
  made.push_back(request("CWRITVARC").i64(1, 2).i32(0).text("").i64(2).text("A1").text("B2").str());
  made.push_back(request("CVARLNAME").str());
  return made;
}

requests grid() {
  requests made = {
      request("CGFILENEW").text("grid").i32(3).f64(0, 1).i32(3).f64(5, 2).i32(2).f64(0, 1).i32(2).str(),
      named("CFILESET", "grid"),
      number_variable("CVARFNEW", "v", 32),
      named("CVARSET", "v"),
      written_numbers(12),
      number_variable("CVARFNEW", "sel", 1)};
  bytes fault = request("CWRITFAUL").i32(1, 0).f64(-9).i32(1).text("line").i32(1, 2);
  for (int segment = 0; segment < 2; ++segment) {
    for (int i = 0; i < 12; ++i) fault.f64(i);
    fault.i32(1);
  }
  made.push_back(fault.str());
  return made;
}

requests solids() {
  bytes polygons = request("CPOLYNEW").text("polygons").i32(1);
  polygons.f64(0, 0, 0, 0, 0, 0).i64(3);
  ring(polygons.text("c1").text("Lake").f64(1, 2), {0, 0, 4, 0, 4, 4, 0, 4, 0, 0});
  ring(polygons.text("c1").text("Lake").f64(1, 2), {10, 0, 12, 0, 12, 2});
  ring(polygons.text("Pit").text("").f64(0, 0), {20, 0, 21, 0, 21, 1});
  bytes wires = request("CWIRENEW").text("wires").i32(2);
  for (const char* name : {"Ore body", "Waste"}) {
    wires.text(name).i32(1, 2, 3, 1, 4, 4);
    wires.f64(0, 0, 0, 1, 0, 0).f64(0, 1, 0, 0, 0, 1);
    wires.i32(0, 2, 1, 0, 1, 3).i32(0, 3, 2, 1, 2, 3);
  }
  requests made = {polygons.str(), wires.str()};
  for (const char* name : {"polygons", "wires"}) {
    made.push_back(named("CFILESET", name));
    made.push_back(number_variable("CVARFNEW", "sel", 1));
    made.push_back(named("CVARSET", "sel"));
    made.push_back(request("CWRITVARS").i64(1, 2, 2).raw({"\0\1", 2}).str());
  }
  return made;
}

requests colours() {
  requests made = {request("CPALWRIT").text("pal").i32(2, 1, 2, 3, 4, 5, 6).str()};
  const auto scale = [](const char* name, int type, int intervals, int manual, int facies) {
    bytes out = request("CSCANEW").text(name).i32(type, 1).text("pal").i32(2);
    for (int i = 0; i < 12; ++i) out.i32(i);
    return out.i32(4, 5, 6).text("").text("").i32(intervals, 0, manual, facies);
  };
  made.push_back(scale("automatic", 0, 0, 0, 0).str());
  made.push_back(scale("classes", 1, 0, 0, 0).str());
  made.push_back(scale("manual", 2, 0, 1, 0).f64(0, 10, 20).i32(1, 0).str());
  bytes facies = scale("facies", 3, 2, 0, 1);
  facies.f64(1, 4, 3, 6).i32(0, 1).i32(1, 2, 3, 4, 5, 6).text("sand").text("clay");
  made.push_back(facies.str());
  return made;
}

requests bags() {
  requests made = {named("CFILESET", "points"), named("CVARSET", "f64")};
  for (int scope = 0; scope < 4; ++scope) {
    bytes bag = request("CVDATWRIT").text("bag").i32(scope, 3, 7);
    bag.text("nothing").i32(0).text("number").i32(1, -7).text("real").i32(2).f64(2.5);
    bag.text("text").i32(3, 6).text("hello").text("ints").i32(4, 2, 1, 2147483647);
    bag.text("reals").i32(5, 1).f64(0.5).text("texts").i32(6, 2, 1).text("").i32(3).text("ab");
    made.push_back(bag.str());
  }
  return made;
}

}  // namespace

std::vector<std::vector<std::string>> building_requests(const std::string& root) {
  requests first = opening_requests(root);
  for (const char* study : {"S", "T"})
    first.push_back(request("CSTUDYNEW").text(study).text(root + "/" + study).str());
  first.push_back(named("CSTUDYSET", "S"));
  first.push_back(named("CDIRNEW", "D"));
  first.push_back(named("CDIRSET", "D"));
  return {first, points(), lines(), grid(), solids(), colours(), bags()};
}

std::vector<std::string> opening_requests(const std::string& root) {
  return {request("CHELLO").text("").i32(1300030).str(), request("CARCH").i32(1).str(),
          request("CQRDDATA").text(root).str()};
}

std::vector<std::string> choosing_requests() {
  return {named("CSTUDYSET", "S"), named("CDIRSET", "D")};
}

}  // namespace qrd::fuzz

#include "fuzz/targets.h"

#include <zlib.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "fuzz/database.h"
#include "support/bytes.h"
#include "support/descriptors.h"
#include "support/layout.h"
#include "wire/connection.h"

namespace qrd::fuzz {

namespace {

using test::bytes;
using test::file_fields;
using requests = std::vector<std::string>;

constexpr char directory[] = "S/QRD/DIRE.1";

bytes request(const char* name) {
  return bytes().text(name);
}
std::string named(const char* name, const char* text) {
  return request(name).text(text).str();
}
std::string plain(const char* name) {
  return request(name).str();
}

// A file of the directory, by the order in which they were made.
std::string in_file(int number, const std::string& name) {
  return directory + ("/FILE." + std::to_string(number)) + "/" + name;
}
std::string in_variable(int file, int number, const std::string& name) {
  return in_file(file, "VARI." + std::to_string(number) + "/" + name);
}

enum file_number {
  points_file = 1,
  lines_file,
  cores_file,
  heads_file,
  grid_file,
  polygons_file,
  wires_file
};
// Variables of the points file behind the sample number and the coordinates.
enum variable_number { f2 = 5, f4, f8, f16, f32, f64, sel, len, text, m1, m8 };

void append(requests& all, const requests& more) {
  all.insert(all.end(), more.begin(), more.end());
}

requests opened_with(const std::string& root, const requests& more) {
  requests all = opening_requests(root);
  append(all, choosing_requests());
  append(all, more);
  return all;
}

const std::string read_numbers = request("CREADVARF").i64(-1, -1).i32(0).str();
const std::string read_selected = request("CREADVARF").i64(-1, -1).i32(1).str();
const std::string read_texts = request("CREADVARC").i64(-1, -1).i32(0).str();
const std::string read_bits = request("CREADVARS").i64(-1, -1).str();
const std::string write_numbers = request("CWRITVARF").i64(2, 3).i32(0).f64(-1).i64(2).f64(7, -1).str();
const std::string grow_points = request("CPFILEAPP").i64(1).i32(3).f64(1, 2, 3).str();

requests reads_of(const char* variable, const std::string& read) {
  return {named("CVARSET", variable), plain("CVARINFO"), read_numbers, read};
}
requests reads_of_macro(const char* variable) {
  requests all = {named("CVARSET", variable), plain("CVARINFO"), plain("CMACROIND"), plain("CMACROALP")};
  append(all, {request("CINDSET").i32(7).str(), read_numbers, write_numbers});
  append(all, {named("CINDASET", "red"), read_numbers});
  return all;
}

// Reading and changing all that a points file has.
requests points_requests() {
  requests all = {named("CFILESET", "points"), plain("CFILEINFO"), plain("CVARLST"),
                  request("CVARTLST").i32(1).str(), request("CCOMGET").i32(2).str()};
  for (const char* variable : {"f2", "f4", "f8", "f16", "f32", "f64", "len"}) {
    append(all, {named("CVARSET", variable), plain("CVARINFO"), read_numbers});
  }
  append(all, {named("CSELSET", "sel"), read_numbers, read_selected, write_numbers});
  append(all, reads_of("sel", read_bits));
  append(all, reads_of("text", read_texts));
  append(all, reads_of("X+ Gravity Center", read_selected));
  append(all, reads_of_macro("m8[xxxxx]"));
  append(all, reads_of_macro("m1[xxxxx]"));
  return all;
}

requests data_requests() {
  requests all = {named("CFILESET", "points")};
  for (const char* variable : {"f2", "f4", "f8", "f16", "f32", "f64", "len"})
    append(all, {named("CVARSET", variable), read_numbers, write_numbers});
  append(all, {named("CVARSET", "sel"), read_bits, request("CWRITVARS").i64(2, 4, 3).raw({"\0\1\1", 3}).str(),
               named("CVARSET", "text"), read_texts,
               request("CWRITVARC").i64(1, 2).i32(0).text("").i64(2).text("a").text("bc").str()});
  append(all, {named("CSELSET", "sel"), named("CVARSET", "f64"), read_selected, read_texts});
  append(all, reads_of_macro("m8[xxxxx]"));
  append(all,
         {named("CSELSET", "m1[xxxxx]"), named("CVARSET", "f8"), read_numbers, grow_points, read_numbers});
  return all;
}

requests lines_requests() {
  requests all;
  for (const char* file : {"lines", "cores"}) {
    append(all, {named("CFILESET", file), plain("CFILEINFO"), plain("CLFILECNT"), plain("CVARLST")});
    for (const char* variable : {"X+ Gravity Center", "LN+ Line Number (READONLY)",
                                 "SN+ Sample Number (READONLY)", "RN+ Relative Number (READONLY)"})
      append(all, {named("CVARSET", variable), read_numbers, request("CREADLINF").i32(1).str(),
                   request("CREADLINF").i32(2).str()});
  }
  append(all, {named("CFILESET", "lines"), named("CVARSET", "v"),
               request("CWRITLINF").i64(2, 3).f64(-1, 5, 6, 7).str(),
               request("CLFILEAPP").i32(2, 2).f64(1, 2, 3, 4).str(), request("CREADLINF").i32(3).str(),
               named("CFILESET", "cores"), request("CLFILEAPC").i32(1, 3).f64(0, 0, 0).f64(1, 2, 3).str(),
               named("CFILESET", "heads"), plain("CFILEINFO"), named("CVARSET", "hole"), plain("CVARLNAME")});
  return all;
}

requests grid_requests() {
  requests all = {named("CFILESET", "grid"), plain("CFILEINFO"), plain("CVARLST")};
  for (const char* variable :
       {"v", "X+ Coordinate (READONLY)", "IY+ Index (READONLY)", "SN+ Sample Number (READONLY)"})
    append(all, {named("CVARSET", variable), plain("CVARINFO"), read_numbers});
  append(all, {request("GRIDMODO").f64(1, 2, 3).str(), request("GRIDMODM").f64(1, 2, 3).str(),
               request("GRIDMODR").f64(10, 20, 30).str(), request("CFAULTS").i32(127).str()});
  return all;
}

requests solid_requests(const char* file, const char* read) {
  return {named("CFILESET", file),
          plain("CFILEINFO"),
          plain(read),
          request("CUNITMODE").i32(1).str(),
          plain(read),
          named("CSELSET", "sel"),
          plain(read),
          named("CVARSET", "N+ NAME"),
          read_texts};
}

requests bag_requests() {
  requests all = {named("CFILESET", "points"), named("CVARSET", "f64")};
  for (int scope = 0; scope < 4; ++scope)
    append(all, {request("CVDATEXIS").text("bag").i32(scope).str(),
                 request("CVDATVERS").text("bag").i32(scope).str(),
                 request("CVDATREAD").text("bag").i32(scope).str()});
  all.push_back(request("CVDATWRIT").text("bag").i32(0, 4, 0).str());
  return all;
}

requests colour_requests() {
  requests all = {plain("CPALLST"), named("CPALXIST", "pal"), named("CPALREAD", "pal"), plain("CSCALST")};
  for (const char* scale : {"automatic", "classes", "manual", "facies"})
    append(all, {named("CSCAXIST", scale), named("CSCAREAD", scale)});
  append(all, {named("CPALDEL", "pal"), named("CSCADEL", "manual"), named("CPALDEL", "pal"),
               request("CPALWRIT").text("pal").i32(1, 1, 2, 3).str()});
  return all;
}

requests study_requests(const std::string& root) {
  requests all = opening_requests(root);
  append(all, {plain("CSTUDYLST"), named("CSTUDYSET", "T"), plain("CDIRLST"), named("CSTUDYSET", "S"),
               request("CSTUDYNEW").text("N").text(root + "/N").str(), plain("CSTUDYLST"),
               named("CSTUDYSET", "N"), plain("CSTUDYDEL"), plain("CSTUDYLST"), named("CSTUDYSET", "S")});
  return all;
}

std::string compressed(const std::string& content) {
  std::string out(compressBound(content.size()) + 64, '\0');
  z_stream stream = {};
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

// Codes of 9 bits for each byte: the widths grow only where the fuzzer finds out how.
std::string packed(const std::string& content, int largest_width) {
  std::string out = {'\x1F', '\x9D', static_cast<char>(0x80 | largest_width)};
  unsigned held = 0;
  int bits = 0;
  for (char c : content) {
    held |= static_cast<unsigned>(static_cast<unsigned char>(c)) << bits;
    for (bits += 9; bits >= 8; bits -= 8, held >>= 8) out += static_cast<char>(held);
  }
  if (bits > 0) out += static_cast<char>(held);
  return out;
}

bytes& same(bytes& out, int count, int value) {
  for (int i = 0; i < count; ++i) out.i32(value);
  return out;
}

std::vector<std::string> old_scales() {
  std::vector<std::string> made;
  for (int version : {500000, 501000, 501001, 501002}) {
    bytes file;
    file.i32(version).text("manual").text("pal").i32(0, 2, 3);
    if (version >= 501000) file.i32(3).f64(0, 10, 20, 10, 20, 40);
    if (version < 501000) file.f64(0, 10, 20, 40);
    same(file.i32(2, 1, 0, 1), 9, 7);
    if (version >= 501002) file.i32(0);
    if (version >= 501001) file.i32(0).text("o").i32(0).text("n");
    if (version >= 501000) file.i32(0, 1).f64(1, 2, 3);
    if (version >= 501002) file.i32(0);
    if (version >= 501000) file.i32(2, 10, 2, 1).text("m").f64(100);
    made.push_back(file.str());
  }
  return made;
}

bytes& box(bytes& file) {
  return file.f64(0, 400, 0).f64(400, 0, 300);
}
bytes& ring(bytes& file) {
  return file.i32(3).f64(0, 0, 300).f64(0, 0, 300);
}

std::vector<std::string> old_polygons() {
  std::vector<std::string> made;
  for (int version : {1, 2, 3}) {
    bytes file;
    file.i32(version, 0);
    if (version == 3) file.i32(1);
    box(file.i32(1, 2, 7));
    for (const char* name : {"Up", "Low"}) {
      file.text(name).i32(1).f64(7, 8);
      if (version >= 2) file.f64(9);
      ring(file.f64(0, 0).i32(1).f64(10, 20, 1, 2).i32(3, 4).f64(15));
    }
    file.i32(3).text("Up").text("gone").text("Low").text("River").i32(5, 6, 7);
    if (version >= 2) file.i32(8).f64(11, 12, 13);
    made.push_back(file.str());
  }
  for (int version : {4, 5, 6}) {
    bytes file;
    file.i32(version, version == 4 ? 1 : 3);
    if (version == 6) file.i64(1, 1, 7);
    if (version != 6) file.i32(1, 1, 7);
    box(file).text("Area").i32(1, 2, 3, 4).f64(100, 200, 300).i32(1, 1).text("Out").i32(1);
    if (version == 4) file.f64(10, 20, 1, 2).i32(3, 4).f64(30, 5).i32(6).f64(90).i32(1);
    if (version != 4) file.f64(10, 20, 30, 1, 2, 5).i32(3, 4, 6).f64(90);
    ring(ring(file.f64(0, 300)).i32(1));
    made.push_back(file.str());
  }
  return made;
}

}  // namespace

std::vector<format> formats(const std::string& root) {
  const auto on_points = opened_with(root, points_requests());
  requests changing_points = on_points;
  append(changing_points,
         {grow_points, request("CVARUNIT").i32(2).text("m").text("km").str(), named("CVARSET", "f64"),
          request("CVARUNIT").i32(1).text("ft").str(), plain("CVARDEL"), plain("CFILEDEL")});
  requests macro = {named("CFILESET", "points")};
  append(macro, reads_of_macro("m8[xxxxx]"));
  append(macro, reads_of_macro("m1[xxxxx]"));
  append(macro, {request("CMACROADD").i32(2, 1, 3, 9, 1).text("red").text("green").str(), plain("CMACROALP"),
                 grow_points, named("CVARSET", "m8[00007]"), plain("CVARDEL"), plain("CVARLST")});
  const std::string f64_data = in_variable(points_file, f64, "DATAVAR");
  requests solids = solid_requests("polygons", "CPOLYGONS");
  append(solids, {plain("CFILEDEL")});
  return {
      {"registry", {"study_names.def"}, study_requests(root)},
      {"study_descriptor", {"S/DESCR", "T/DESCR"}, study_requests(root)},
      {"root_texts",
       {"DATA", "read_write.def", "S/QRD/DESCR", "S/DEF/environ.def", "S/LOCK"},
       study_requests(root)},
      {"directory_descriptor",
       {"S/QRD/DIRE.1/DESCR"},
       opened_with(root, {plain("CDIRLST"), named("CDIRXIST", "D"), plain("CFILELST"), named("CDIRNEW", "E"),
                          named("CDIRSET", "E"), named("CDIRSET", "D"), plain("CDIRDEL"), plain("CDIRLST")})},
      {"points_descriptor",
       {in_file(points_file, "DESCR")},
       opened_with(root,
                   {plain("CFILELST"), request("CFILETLST").i32(-1, -1).str(), named("CFILESET", "points"),
                    plain("CFILEINFO"), named("CVARSET", "f64"), read_numbers, named("CVARSET", "text"),
                    read_texts, named("CVARSET", "SN+ Sample Number (READONLY)"), read_numbers,
                    plain("CPOLYGONS"), grow_points})},
      {"grid_descriptor", {in_file(grid_file, "DESCR")}, opened_with(root, grid_requests())},
      {"lines_descriptor",
       {in_file(lines_file, "DESCR"), in_file(cores_file, "DESCR"), in_file(heads_file, "DESCR")},
       opened_with(root, lines_requests())},
      {"variable_descriptor",
       {in_variable(points_file, f64, "DESCR"), in_variable(points_file, sel, "DESCR"),
        in_variable(points_file, text, "DESCR"), in_variable(points_file, m8, "DESCR"),
        in_variable(points_file, len, "DESCR"), in_variable(points_file, 2, "DESCR")},
       changing_points},
      {"line_table",
       {in_file(lines_file, "LINE"), in_file(cores_file, "LINE")},
       opened_with(root, lines_requests())},
      {"macro",
       {in_variable(points_file, m8, "MACRO"), in_variable(points_file, m1, "MACRO")},
       opened_with(root, macro)},
      {"data",
       {in_variable(points_file, f2, "DATAVAR"), in_variable(points_file, f4, "DATAVAR"),
        in_variable(points_file, f8, "DATAVAR"), in_variable(points_file, f16, "DATAVAR"),
        in_variable(points_file, f32, "DATAVAR"), f64_data, in_variable(points_file, sel, "DATAVAR"),
        in_variable(points_file, text, "DATAVAR"), in_variable(points_file, m8, "DATAVAR"),
        in_variable(points_file, m1, "DATAVAR")},
       opened_with(root, data_requests())},
      {"comment",
       {in_file(points_file, "COMMENT"), in_variable(points_file, f64, "COMMENT")},
       opened_with(root,
                   {named("CFILESET", "points"), request("CCOMGET").i32(2).str(), named("CVARSET", "f64"),
                    request("CCOMGET").i32(3).str(), request("CCOMSET").i32(2, 1).text("more").str(),
                    request("CVARCOMM").i32(1).text("more").str(), request("CCOMGET").i32(3).str()})},
      {"polygon", {in_file(polygons_file, "POLYGON")}, opened_with(root, solids)},
      {"wireframe",
       {in_file(wires_file, "WIREFRAME")},
       opened_with(root, solid_requests("wires", "CWIREREAD"))},
      {"fault",
       {in_file(points_file, "FAULT"), in_file(grid_file, "FAULT")},
       opened_with(root, {named("CFILESET", "points"), request("CFAULTS").i32(127).str(),
                          request("CWRITFAUL").i32(1, 0).f64(-9).i32(0).str(), named("CFILESET", "grid"),
                          request("CFAULTS").i32(1).str()})},
      {"bag",
       {"S/VENDOR.0", "S/QRD/DIRE.1/VENDOR.0", in_file(points_file, "VENDOR.0"),
        in_variable(points_file, f64, "VENDOR.0")},
       opened_with(root, bag_requests())},
      {"scale",
       {"S/CSCALE/CSCA.0", "S/CSCALE/CSCA.1", "S/CSCALE/CSCA.2", "S/CSCALE/CSCA.3"},
       opened_with(root, colour_requests())},
      {"palette", {"S/U_COLOR/PAL.0", "PAL.0"}, opened_with(root, colour_requests())},
      {"archive",
       {f64_data + ".gz", f64_data + ".Z"},
       opened_with(root, {named("CFILESET", "points"), named("CVARSET", "f64"), plain("CVARINFO"),
                          read_numbers, write_numbers, read_numbers}),
       {f64_data}},
  };
}

std::vector<std::string> requests_by_layout() {
  // Groups, arrays and what depends on a number come `count` times; `count` also chooses the texts.
  class values : public test::value_source {
   public:
    explicit values(int count) : count_(count) {}
    std::int64_t number(const test::layout_value& value) override {
      if (value.name == "dimension") return 2 + count_ % 2;
      return value.decides ? count_ : ++made_ % 4;
    }
    std::string text(const test::layout_value& value) override {
      constexpr const char* names[] = {"points", "sel", "f64", "pal", "lines", "m8[xxxxx]", ""};
      const std::string name = names[static_cast<std::size_t>(count_ + ++made_) % std::size(names)];
      return name.substr(0, static_cast<std::size_t>(std::max<std::int64_t>(value.limit, 1)) - 1);
    }

   private:
    int count_, made_ = 0;
  };
  requests all;
  for (const request_row& row : request_table)
    for (int count = 0; count < 7; ++count) {
      values chosen(count);
      all.push_back(test::packed_request(row, chosen, protocol_version));
    }
  return all;
}

std::vector<std::string> old_contents(const std::string& format_name) {
  std::vector<std::string> made;
  if (format_name == "points_descriptor")
    for (int version : {100, 200, 520, 900})
      made.push_back(file_fields{.name = "points", .samples = 5, .allocated = 512}.bytes_of(version));
  if (format_name == "grid_descriptor")
    for (int version : {100, 200, 520, 900})
      made.push_back(file_fields{.name = "grid",
                                 .organisation = 5,
                                 .lengths = {0, 5, 0, 1, 2, 1},
                                 .nodes = {3, 2, 2},
                                 .samples = 12,
                                 .allocated = 512}
                         .bytes_of(version));
  if (format_name == "polygon") made = old_polygons();
  if (format_name == "scale") made = old_scales();
  if (format_name == "archive") {
    std::string content;
    for (int i = 0; i < 512; ++i) content += bytes().f64(i % 7).str();
    made = {compressed(content), packed(content, 16), packed("abababab", 9)};
  }
  if (format_name == "root_texts") made = {"14.0.0\n#made\n", "#by hand\n"};
  if (format_name == "palette") made = {"pal\n  1   2   3\n255 255 255\n"};
  return made;
}

}  // namespace qrd::fuzz

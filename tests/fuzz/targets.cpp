#include "fuzz/targets.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "fuzz/database.h"
#include "support/bytes.h"
#include "support/descriptors.h"
#include "support/formats.h"
#include "support/layout.h"
#include "wire/connection.h"

namespace qrd::fuzz {

namespace {

using test::bytes;
using test::file_fields;

constexpr char directory[] = "S/QRD/DIRE.1";

// A file of the directory, by the order in which they were made.
std::string in_file(int number, const std::string& name) {
  return directory + ("/FILE." + std::to_string(number)) + "/" + name;
}
std::string in_variable(int file, int number, const std::string& name) {
  return in_file(file, "VARI." + std::to_string(number) + "/" + name);
}

enum file_number {
  points_number = 1,
  lines_number,
  cores_number,
  heads_number,
  grid_number,
  polygons_number,
  wires_number
};
// Variables of the points file behind the sample number.
enum variable_number { x = 2, f2 = 5, f4, f8, f16, f32, f64, sel, len, text, m1, m8 };

std::vector<std::string> of_points(const std::vector<int>& variables, const std::string& name) {
  std::vector<std::string> all;
  for (const int number : variables) all.push_back(in_variable(points_number, number, name));
  return all;
}

requests opened_with(const std::string& root, const requests& more) {
  requests all = opening_requests(root);
  append(all, choosing_requests());
  append(all, more);
  return all;
}

const std::string read_numbers = bytes("CREADVARF").i64(-1, -1).i32(0);
const std::string read_selected = bytes("CREADVARF").i64(-1, -1).i32(1);
const std::string read_texts = bytes("CREADVARC").i64(-1, -1).i32(0);
const std::string read_bits = bytes("CREADVARS").i64(-1, -1);
const std::string write_numbers = bytes("CWRITVARF").i64(2, 3).i32(0).f64(-1).i64(2).f64(7, -1);
const std::string grow_points = bytes("CPFILEAPP").i64(1).i32(3).f64(1, 2, 3);

requests reads_of(const char* variable, const std::string& read) {
  return {named("CVARSET", variable), bytes("CVARINFO"), read_numbers, read};
}
requests reads_of_macro(const char* variable) {
  requests all = {named("CVARSET", variable), bytes("CVARINFO"), bytes("CMACROIND"), bytes("CMACROALP")};
  append(all, {bytes("CINDSET").i32(7), read_numbers, write_numbers});
  append(all, {named("CINDASET", "red"), read_numbers});
  return all;
}

// Reading and changing all that a points file has.
requests points_requests() {
  requests all = {named("CFILESET", "points"), bytes("CFILEINFO"), bytes("CVARLST"), bytes("CVARTLST").i32(1),
                  bytes("CCOMGET").i32(2)};
  for (const char* variable : {"f2", "f4", "f8", "f16", "f32", "f64", "len"})
    append(all, {named("CVARSET", variable), bytes("CVARINFO"), read_numbers});
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
  append(all, {named("CVARSET", "sel"), read_bits, bytes("CWRITVARS").i64(2, 4, 3).raw({"\0\1\1", 3}),
               named("CVARSET", "text"), read_texts,
               bytes("CWRITVARC").i64(1, 2).i32(0).text("").i64(2).text("a").text("bc")});
  append(all, {named("CSELSET", "sel"), named("CVARSET", "f64"), read_selected, read_texts});
  append(all, reads_of_macro("m8[xxxxx]"));
  append(all,
         {named("CSELSET", "m1[xxxxx]"), named("CVARSET", "f8"), read_numbers, grow_points, read_numbers});
  return all;
}

requests lines_requests() {
  requests all;
  for (const char* file : {"lines", "cores"}) {
    append(all, {named("CFILESET", file), bytes("CFILEINFO"), bytes("CLFILECNT"), bytes("CVARLST")});
    for (const char* variable : {"X+ Gravity Center", "LN+ Line Number (READONLY)",
                                 "SN+ Sample Number (READONLY)", "RN+ Relative Number (READONLY)"})
      append(all, {named("CVARSET", variable), read_numbers, bytes("CREADLINF").i32(1),
                   bytes("CREADLINF").i32(2)});
  }
  append(all,
         {named("CFILESET", "lines"), named("CVARSET", "v"), bytes("CWRITLINF").i64(2, 3).f64(-1, 5, 6, 7),
          bytes("CLFILEAPP").i32(2, 2).f64(1, 2, 3, 4), bytes("CREADLINF").i32(3), named("CFILESET", "cores"),
          bytes("CLFILEAPC").i32(1, 3).f64(0, 0, 0).f64(1, 2, 3), named("CFILESET", "heads"),
          bytes("CFILEINFO"), named("CVARSET", "hole"), bytes("CVARLNAME")});
  return all;
}

requests grid_requests() {
  requests all = {named("CFILESET", "grid"), bytes("CFILEINFO"), bytes("CVARLST")};
  for (const char* variable :
       {"v", "X+ Coordinate (READONLY)", "IY+ Index (READONLY)", "SN+ Sample Number (READONLY)"})
    append(all, {named("CVARSET", variable), bytes("CVARINFO"), read_numbers});
  append(all, {bytes("GRIDMODO").f64(1, 2, 3), bytes("GRIDMODM").f64(1, 2, 3),
               bytes("GRIDMODR").f64(10, 20, 30), bytes("CFAULTS").i32(127)});
  return all;
}

requests solid_requests(const char* file, const char* read) {
  return {named("CFILESET", file),
          bytes("CFILEINFO"),
          bytes(read),
          bytes("CUNITMODE").i32(1),
          bytes(read),
          named("CSELSET", "sel"),
          bytes(read),
          named("CVARSET", "N+ NAME"),
          read_texts};
}

requests bag_requests() {
  requests all = {named("CFILESET", "points"), named("CVARSET", "f64")};
  for (int scope = 0; scope < 4; ++scope)
    append(all, {bytes("CVDATEXIS").text("bag").i32(scope), bytes("CVDATVERS").text("bag").i32(scope),
                 bytes("CVDATREAD").text("bag").i32(scope)});
  all.push_back(bytes("CVDATWRIT").text("bag").i32(0, 4, 0));
  return all;
}

requests colour_requests() {
  requests all = {bytes("CPALLST"), named("CPALXIST", "pal"), named("CPALREAD", "pal"), bytes("CSCALST")};
  for (const char* scale : {"automatic", "classes", "manual", "facies"})
    append(all, {named("CSCAXIST", scale), named("CSCAREAD", scale)});
  append(all, {named("CPALDEL", "pal"), named("CSCADEL", "manual"), named("CPALDEL", "pal"),
               bytes("CPALWRIT").text("pal").i32(1, 1, 2, 3)});
  return all;
}

requests study_requests(const std::string& root) {
  requests all = opening_requests(root);
  append(all, {bytes("CSTUDYLST"), named("CSTUDYSET", "T"), bytes("CDIRLST"), named("CSTUDYSET", "S"),
               bytes("CSTUDYNEW").text("N").text(root + "/N"), bytes("CSTUDYLST"), named("CSTUDYSET", "N"),
               bytes("CSTUDYDEL"), bytes("CSTUDYLST"), named("CSTUDYSET", "S")});
  return all;
}

// A code for each byte: the widths grow only where the fuzzer finds out how.
std::string packed(const std::string& content, int largest_width) {
  std::vector<int> codes;
  for (char c : content) codes.push_back(static_cast<unsigned char>(c));
  return test::nine_bit_codes(codes, static_cast<char>(0x80 | largest_width));
}

}  // namespace

std::vector<format> formats(const std::string& root) {
  const auto on_points = opened_with(root, points_requests());
  requests changing_points = on_points;
  append(changing_points,
         {grow_points, bytes("CVARUNIT").i32(2).text("m").text("km"), named("CVARSET", "f64"),
          bytes("CVARUNIT").i32(1).text("ft"), bytes("CVARDEL"), bytes("CFILEDEL")});
  requests macro = {named("CFILESET", "points")};
  append(macro, reads_of_macro("m8[xxxxx]"));
  append(macro, reads_of_macro("m1[xxxxx]"));
  append(macro, {bytes("CMACROADD").i32(2, 1, 3, 9, 1).text("red").text("green"), bytes("CMACROALP"),
                 grow_points, named("CVARSET", "m8[00007]"), bytes("CVARDEL"), bytes("CVARLST")});
  const std::string f64_data = in_variable(points_number, f64, "DATAVAR");
  requests solids = solid_requests("polygons", "CPOLYGONS");
  append(solids, {bytes("CFILEDEL")});
  return {
      {"registry", {"study_names.def"}, study_requests(root)},
      {"study_descriptor", {"S/DESCR", "T/DESCR"}, study_requests(root)},
      {"root_texts",
       {"DATA", "read_write.def", "S/QRD/DESCR", "S/DEF/environ.def", "S/LOCK"},
       study_requests(root)},
      {"directory_descriptor",
       {"S/QRD/DIRE.1/DESCR"},
       opened_with(root, {bytes("CDIRLST"), named("CDIRXIST", "D"), bytes("CFILELST"), named("CDIRNEW", "E"),
                          named("CDIRSET", "E"), named("CDIRSET", "D"), bytes("CDIRDEL"), bytes("CDIRLST")})},
      {"points_descriptor",
       {in_file(points_number, "DESCR")},
       opened_with(root, {bytes("CFILELST"), bytes("CFILETLST").i32(-1, -1), named("CFILESET", "points"),
                          bytes("CFILEINFO"), named("CVARSET", "f64"), read_numbers, named("CVARSET", "text"),
                          read_texts, named("CVARSET", "SN+ Sample Number (READONLY)"), read_numbers,
                          bytes("CPOLYGONS"), grow_points})},
      {"grid_descriptor", {in_file(grid_number, "DESCR")}, opened_with(root, grid_requests())},
      {"lines_descriptor",
       {in_file(lines_number, "DESCR"), in_file(cores_number, "DESCR"), in_file(heads_number, "DESCR")},
       opened_with(root, lines_requests())},
      {"variable_descriptor", of_points({f64, sel, text, m8, len, x}, "DESCR"), changing_points},
      {"line_table",
       {in_file(lines_number, "LINE"), in_file(cores_number, "LINE")},
       opened_with(root, lines_requests())},
      {"macro", of_points({m8, m1}, "MACRO"), opened_with(root, macro)},
      {"data", of_points({f2, f4, f8, f16, f32, f64, sel, text, m8, m1}, "DATAVAR"),
       opened_with(root, data_requests())},
      {"comment",
       {in_file(points_number, "COMMENT"), in_variable(points_number, f64, "COMMENT")},
       opened_with(root, {named("CFILESET", "points"), bytes("CCOMGET").i32(2), named("CVARSET", "f64"),
                          bytes("CCOMGET").i32(3), bytes("CCOMSET").i32(2, 1).text("more"),
                          bytes("CVARCOMM").i32(1).text("more"), bytes("CCOMGET").i32(3)})},
      {"polygon", {in_file(polygons_number, "POLYGON")}, opened_with(root, solids)},
      {"wireframe",
       {in_file(wires_number, "WIREFRAME")},
       opened_with(root, solid_requests("wires", "CWIREREAD"))},
      {"fault",
       {in_file(points_number, "FAULT"), in_file(grid_number, "FAULT")},
       opened_with(root, {named("CFILESET", "points"), bytes("CFAULTS").i32(127),
                          bytes("CWRITFAUL").i32(1, 0).f64(-9).i32(0), named("CFILESET", "grid"),
                          bytes("CFAULTS").i32(1)})},
      {"bag",
       {"S/VENDOR.0", "S/QRD/DIRE.1/VENDOR.0", in_file(points_number, "VENDOR.0"),
        in_variable(points_number, f64, "VENDOR.0")},
       opened_with(root, bag_requests())},
      {"scale",
       {"S/CSCALE/CSCA.0", "S/CSCALE/CSCA.1", "S/CSCALE/CSCA.2", "S/CSCALE/CSCA.3"},
       opened_with(root, colour_requests())},
      {"palette", {"S/U_COLOR/PAL.0", "PAL.0"}, opened_with(root, colour_requests())},
      {"archive",
       {f64_data + ".gz", f64_data + ".Z"},
       opened_with(root, {named("CFILESET", "points"), named("CVARSET", "f64"), bytes("CVARINFO"),
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
    for (int version : {100, 200, 520, 900}) {
      const file_fields grid = {"grid", 5, 3, 0, {0, 5, 0, 1, 2, 1}, {3, 2, 2}, {0, 0, 0}, "", 12, 512};
      made.push_back(grid.bytes_of(version));
    }
  if (format_name == "polygon")
    for (int version : {1, 2, 3, 4, 5, 6})
      made.push_back(version < 4 ? test::compound_polygons(version) : test::nested_polygon(version));
  if (format_name == "scale")
    for (int version : {500000, 501000, 501001, 501002})
      made.push_back(test::old_scale(version, "manual", "pal"));
  if (format_name == "archive") {
    std::string content;
    for (int i = 0; i < 512; ++i) content += bytes().f64(i % 7);
    made = {test::gzipped(content), packed(content, 16), packed("abababab", 9)};
  }
  if (format_name == "root_texts") made = {"14.0.0\n#made\n", "#by hand\n"};
  if (format_name == "palette") made = {"pal\n  1   2   3\n255 255 255\n"};
  return made;
}

}  // namespace qrd::fuzz

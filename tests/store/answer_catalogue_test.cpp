#include "support/catalogue_tree.h"
#include "support/requests.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

const strings files = {"cores", "flat", "grid", "lines", "points"};
const strings variables = {"SN", "inside", "m[xxxxx]", "rock", "zinc"};

struct catalogue_requests : requests {
  void SetUp() override {
    tree.add_directory("DIRE.2", "Soil");
    tree.add_directory("DIRE.1", "Air");
    int number = 0;
    for (const auto& [name, organisation, dimension] :
         {std::tuple{"points", 1, 3}, {"flat", 1, 2}, {"lines", 2, 3}, {"cores", 3, 3}, {"grid", 5, 2}}) {
      file_fields fields = {.name = name, .organisation = organisation, .dimension = dimension};
      std::string path = tree.add("DIRE.2/FILE." + std::to_string(++number), fields);
      write_file(path + "/LINE", bytes().i64(1));
    }
    number = 0;
    for (const variable_fields& fields :
         {variable_fields{.name = "zinc"}, variable_fields{.name = "SN", .kind = 1, .implicit = 1},
          variable_fields{.name = "rock", .type = 1, .bit_length = 32},
          variable_fields{.name = "inside", .bit_length = 1}, variable_fields{.name = "m[xxxxx]", .type = 2},
          variable_fields{.name = "odd", .type = 5}})
      tree.add("DIRE.2/FILE.1/VARI." + std::to_string(++number), fields);
    write_file(tree.folder("DIRE.2/FILE.1/VARI.5") + "/MACRO", macro_bytes({12}));
    set_current_study("Study");
    set_current_directory("Soil");
    set_current_file("points");
  }
  void expect_names(const char* request, const bytes& arguments, const char* answer, const strings& names) {
    expect_answer(request, arguments, bytes(answer).i32(static_cast<int>(names.size())).text(names));
  }
  void expect_exist(const char* request, const std::map<std::string, int>& names) {
    for (const auto& [name, there] : names) expect_answer(request, bytes(name), bytes("SEXIST").i32(there));
  }

  catalogue_tree tree;
};

TEST_F(catalogue_requests, serve_directories) {
  expect_names("CDIRLST", {}, "SDIRS", {"Air", "Soil"});
  EXPECT_EQ(client_.status(), 0);
  expect_exist("CDIRXIST", {{"Soil", 1}, {"soil", 0}, {"None", 0}, {std::string(49, 'n'), 0}});
  set_current_variable("zinc");
  set_current_selection("inside");
  expect_refused("CDIRSET", "Water", "Not a valid Velmar directory: Study: Water");
  EXPECT_EQ(chosen(), "Study Soil points zinc inside -1");
  expect_done("CDIRSET", "Air");
  EXPECT_EQ(chosen(), "Study Air None None None -1");
}

TEST_F(catalogue_requests, serve_files) {
  expect_names("CFILELST", {}, "SFILES", files);
  expect_exist("CFILEXIST", {{"flat", 1}, {"Flat", 0}});
  set_current_variable("zinc");
  set_current_selection("inside");
  expect_refused("CFILESET", "Flat", "Not a valid Velmar file: Study: Soil/Flat");
  EXPECT_EQ(chosen(), "Study Soil points zinc inside -1");
  expect_done("CFILESET", "flat");
  EXPECT_EQ(chosen(), "Study Soil flat None None -1");
}

TEST_F(catalogue_requests, list_files_of_a_type) {
  for (int version : {900000, 1300030, 899999}) {
    connection.client_version = version;
    const struct {
      int type, dimension;
      strings names;
    } lists[] = {{-1, -1, files},
                 {-1, 2, {"flat", "grid"}},
                 {-1, 3, {"cores", "lines", "points"}},
                 {0, -1, {"flat", "points"}},
                 {0, 3, {"points"}},
                 {1, -1, {"lines"}},
                 {2, -1, {version >= 900000 ? "cores" : "grid"}},
                 {3, -1, {"grid"}},
                 {3, 3, {}}};
    for (const auto& [type, dimension, names] : lists)
      expect_names("CFILETLST", bytes().i32(type, dimension), "SFILES", names);
    for (const int type : {4, -2})
      expect_refused("CFILETLST", bytes().i32(type, -1),
                     "Unknown file type (" + std::to_string(type) + ") for file");
    for (const int dimension : {1, 4})
      expect_refused("CFILETLST", bytes().i32(0, dimension),
                     "Unknown file dimension (" + std::to_string(dimension) + ") for file");
  }
}

TEST_F(catalogue_requests, serve_variables) {
  expect_names("CVARLST", {}, "SVARS", variables);
  const std::map<int, strings> lists = {
      {-3, {"inside"}}, {-2, {"SN", "inside", "m[xxxxx]", "zinc"}}, {-1, variables},
      {1, {"rock"}},    {0, {"inside", "m[xxxxx]", "zinc"}},        {5, {"m[xxxxx]"}}};
  for (const auto& [type, names] : lists) expect_names("CVARTLST", bytes().i32(type), "SVARS", names);
  for (int type : {2, 3, 4})
    expect_refused("CVARTLST", bytes().i32(type), "Coordinates variable names are within File Info");
  for (int type : {6, -4})
    expect_refused("CVARTLST", bytes().i32(type), "Unknown type (" + std::to_string(type) + ") for variable");
  expect_exist(
      "CVARXIST",
      {{"zinc", 1}, {"m[xxxxx]", 1}, {"m[00012]", 1}, {"m[13]", 0}, {std::string(44, 'm') + "[12]", 0}});
}

TEST_F(catalogue_requests, choose_variables) {
  set_current_selection("inside");
  current_context.indice = 12;
  expect_refused("CVARSET", "lead", "Not a valid Velmar variable: Study: Soil/points/lead");
  EXPECT_EQ(chosen(), "Study Soil points None inside 12");
  expect_done("CVARSET", "zinc");
  EXPECT_EQ(chosen(), "Study Soil points zinc inside -1");
  // The index is kept and not looked at.
  expect_done("CVARSET", "m[13]");
  EXPECT_EQ(chosen(), "Study Soil points m[13] inside -1");
  expect_refused("CVARSET", "odd", "Unknown type (5) for variable");
  expect_refused("CVARSET", "zinc[13]", "Not a valid Velmar variable: Study: Soil/points/zinc[13]");
  EXPECT_EQ(ask("CVARSET", bytes(std::string(46, 'm') + "[12]")).substr(0, 12), bytes("SERROR"));
  EXPECT_STREQ(current_context.variable, "m[13]");
  // Data that no file can hold.
  tree.add("DIRE.2/FILE.1", file_fields{.name = "points", .samples = INT64_MAX / 512 * 512});
  expect_refused("CVARSET", "zinc", "Error while getting Variable information");
  expect_done("CVARSET", "SN");
}

TEST_F(catalogue_requests, are_refused_when_another_client_has_deleted_their_parent) {
  fs::remove_all(tree.folder("DIRE.2/FILE.1"));
  expect_refused("CVARLST", {}, "Not a valid Velmar file: Study: Soil/points");
  expect_exist("CVARXIST", {{"zinc", 0}});
  expect_refused("CVARSET", "zinc", "Not a valid Velmar variable: Study: Soil/points/zinc");
  fs::remove_all(tree.folder("DIRE.2"));
  expect_refused("CFILELST", {}, "Not a valid Velmar directory: Study: Soil");
  expect_exist("CFILEXIST", {{"points", 0}});
  fs::remove_all(store.catalogue_path);
  expect_refused("CDIRLST", {},
                 "Study Directory not found or not a study: \"" + std::string(store.study_path) + "\"");
}

// As after a power cut: descriptors of zeros, of which one comes first in any order of the disk.
TEST_F(catalogue_requests, leave_out_what_is_damaged_and_reach_the_rest) {
  const std::string zeros(64, '\0');
  for (const char* path : {"DIRE.7", "DIRE.2/FILE.7", "DIRE.2/FILE.1/VARI.7"}) tree.add(path, zeros);
  const std::string said = console_of([&] {
    expect_names("CDIRLST", {}, "SDIRS", {"Air", "Soil"});
    expect_names("CFILELST", {}, "SFILES", files);
    expect_names("CVARLST", {}, "SVARS", variables);
    for (const char* directory : {"Air", "Soil"}) expect_done("CDIRSET", directory);
    for (const std::string& file : files) expect_done("CFILESET", bytes(file));
    for (const char* variable : {"zinc", "m[12]"}) expect_done("CVARSET", variable);
    // Whether it has such a name nobody can tell.
    expect_refused("CDIRNEW", "New", "Cannot open file");
    expect_exist("CVARXIST", {{"no such one", 0}});
    expect_refused("CVARSET", "no such one", "Not a valid Velmar variable: Study: Soil/points/no such one");
  });
  EXPECT_HAS(said, "Directory descriptor corrupted:\n" + tree.descriptor("DIRE.7"));
}

TEST_F(catalogue_requests, refuse_a_list_while_something_cannot_be_read) {
  // Old descriptors, whose new form the disk has no room for.
  tree.add("DIRE.7", bytes().i32(900).text("Old"));
  tree.add("DIRE.2/FILE.7", file_fields{.name = "old"}.bytes_of(900));
  tree.add("DIRE.2/FILE.1/VARI.7", variable_fields{.name = "old"}.bytes_of(900));
  {
    const file_size_limit disk(0);
    for (const char* list : {"CVARLST", "CFILELST", "CDIRLST"}) expect_refused(list, {}, "Cannot open file");
    expect_refused("CFILEINFO", {}, "Cannot get file info");
    expect_done("CVARSET", "zinc");
  }
  expect_names("CDIRLST", {}, "SDIRS", {"Air", "Old", "Soil"});
  expect_names("CVARLST", {}, "SVARS", {"SN", "inside", "m[xxxxx]", "old", "rock", "zinc"});
}

TEST_F(catalogue_requests, keep_comments) {
  const auto expect_comment = [&](int mode, const std::string& text) {
    expect_answer("CCOMGET", bytes().i32(mode), bytes("SCOMMENT").text(text));
  };
  const auto comment = [](int mode, const std::string& text) { return bytes().i32(mode, 1).text(text); };
  expect_refused("CCOMGET", bytes().i32(1), "Comment Mode 1 unsupported");
  expect_refused("CCOMSET", bytes().i32(4), "Comment Mode 4 unsupported");
  expect_refused("CCOMGET", bytes().i32(3), "File or Variable is not set");
  expect_refused("CCOMSET", comment(3, "x"), "File or Variable is not set");
  expect_comment(2, "");
  set_current_variable("m[13]");
  expect_done("CCOMSET", comment(2, "of the file"));
  expect_done("CCOMSET", comment(2, "of it"));
  EXPECT_EQ(read_file(tree.folder("DIRE.2/FILE.1") + "/COMMENT"), "of it");
  expect_comment(3, "");
  expect_done("CVARCOMM", bytes().i32(0).text("line 1\nline 2\n"));
  EXPECT_EQ(read_file(tree.folder("DIRE.2/FILE.1/VARI.5") + "/COMMENT"), "line 1\nline 2\n");
  expect_comment(3, "line 1\nline 2\n");
  expect_comment(2, "of it\n");
  const std::string long_text(20000, 'c');
  expect_done("CCOMSET", comment(2, long_text));
  expect_comment(2, long_text + "\n");

  fs::remove_all(tree.folder("DIRE.2/FILE.1"));
  const silent_console silence;
  for (const int mode : {2, 3}) expect_comment(mode, "");
  expect_refused("CCOMSET", comment(2, "x"), "Enable to update file or variable comment");
  set_current_file(no_name);
  set_current_variable(no_name);
  expect_refused("CCOMGET", bytes().i32(2), "File is not set");
  expect_refused("CVARCOMM", bytes().i32(0).text("x"), "File or Variable is not set");
}

// A client of each side of every version at which the information requests change, and what it gets.
struct asking_client {
  explicit asking_client(int one)
      : version(one),
        cores(one >= 900000),
        line_name(one >= 1300030),
        comment(one < 502000),
        old(one < 410 || (one >= 400000 && one < 401000)) {}
  int version;
  bool cores, line_name, comment, old;
};
constexpr int clients[] = {409,    410,    411,    399999, 400000, 400500,  400999,
                           401000, 501999, 502000, 899999, 900000, 1300029, 1300030};

struct file_answer {
  int organisation = 0;
  std::string link = "";
  bool faults = false, polygons = false;
  int dimension = 3;
  std::int64_t samples = 0;
  int lines = 0;
  std::vector<double> grid = {0, 0, 0, 0.01, 0.01, 0};
  std::vector<int> nodes = {1, 1, 1};
  int rotated = 0;
  std::vector<double> angles = {0, 0, 0};
  strings names = {"None", "None", "None", "None", "None", "None"};
  strings cores = {};
  std::string line_name = "None";
  std::vector<int> fault_fields = {0, 0, 0, 0, 0, 0, 0};

  bytes bytes_of(const asking_client& to) const {
    bytes b = bytes("SFILEINFO").i32(organisation).text(link).i32(faults, polygons, dimension).i64(samples);
    b.i32(lines).f64(grid).i32(nodes).i32(rotated).f64(angles).text(names);
    if (to.cores) b.text(cores);
    if (to.line_name) b.text(line_name);
    return b.i32(fault_fields);
  }
};

struct information : catalogue_requests {
  void SetUp() override { set_current_study("Study"), tree.add_directory("DIRE.1", "Soil"); }
  std::string file(const file_fields& fields) {
    set_current_directory("Soil");
    set_current_file(fields.name.c_str());
    fs::remove_all(tree.folder("DIRE.1/FILE.1"));
    count = 0;
    return tree.add("DIRE.1/FILE.1", fields);
  }
  std::string variable(const variable_fields& fields) {
    return tree.add("DIRE.1/FILE.1/VARI." + std::to_string(++count), fields);
  }
  void expect_file(file_answer expected, int new_organisation, int old_organisation) {
    for (const int version : clients) {
      const asking_client to(version);
      connection.client_version = to.version;
      expected.organisation = to.cores ? new_organisation : old_organisation;
      EXPECT_EQ(ask("CFILEINFO"), expected.bytes_of(to)) << to.version;
      EXPECT_EQ(client_.status(), 0);
    }
  }
  int count = 0;
};

TEST_F(information, of_files_needs_one) {
  expect_refused("CFILEINFO", {}, "File is not set");
  file({.name = "odd", .organisation = 7});
  expect_refused("CFILEINFO", {}, "Unknown organisation (7) for file");
  fs::remove_all(tree.folder("DIRE.1/FILE.1"));
  expect_refused("CFILEINFO", {}, "Cannot get file info");
  // With a variable that can't be read there is no answer.
  file({.name = "points"});
  write_file(variable({}) + "/DESCR", "x");
  const silent_console silence;
  expect_answer("CFILEINFO", {}, {});
  EXPECT_EQ(client_.status(), -1);
}

TEST_F(information, of_points) {
  file({.name = "points", .samples = 5'000'000'000});
  expect_file({.samples = 5'000'000'000}, 0, 0);
  // A linked file tells the variable that names the lines.
  file({.name = "points", .dimension = 2, .link = "bores", .samples = 3, .allocated = 512});
  variable({.name = "SN+ Sample Number (READONLY)", .kind = 1, .implicit = 1});
  variable({.name = "X+ Gravity Center", .kind = 7});
  variable({.name = "Y+ Gravity Center", .kind = 8});
  variable({.name = "hole", .type = 1, .kind = 16, .bit_length = 80});
  file_answer expected = {.link = "bores",
                          .dimension = 2,
                          .samples = 3,
                          .names = {"SN+ Sample Number (READONLY)", "None", "None", "X+ Gravity Center",
                                    "Y+ Gravity Center", "None"},
                          .line_name = "hole"};
  expect_file(expected, 0, 0);
  // Without a link it isn't asked for.
  tree.add("DIRE.1/FILE.1", file_fields{.name = "points", .dimension = 2, .samples = 3});
  expected.link = "";
  expected.line_name = "None";
  expect_file(expected, 0, 0);
  // For clients with 4-byte longs.
  connection.client_is_64bits = 0;
  connection.client_version = 1300030;
  std::string answer = ask("CFILEINFO");
  connection.client_is_64bits = 1;
  EXPECT_EQ(answer.size() + 4, ask("CFILEINFO").size());
}

TEST_F(information, of_lines) {
  std::string path = file({.name = "bores", .organisation = 2, .lines = 2, .link = "points", .samples = 5});
  write_file(path + "/LINE", bytes().i64(1, 3, 6));
  variable({.name = "LN", .kind = 3, .implicit = 1});
  variable({.name = "RN", .kind = 2, .implicit = 1});
  file_answer expected = {
      .link = "points", .samples = 5, .lines = 2, .names = {"None", "LN", "RN", "None", "None", "None"}};
  expect_file(expected, 1, 1);
  path = file({.name = "bores", .organisation = 3, .lines = 2, .link = "points", .samples = 5});
  write_file(path + "/LINE", bytes().i64(1, 3, 6));
  variable({.name = "XB", .kind = 10});
  variable({.name = "ZE", .kind = 15});
  variable({.name = "hole", .type = 1, .kind = 16, .bit_length = 8});
  expected.names = {"None", "None", "None", "None", "None", "None"};
  expected.cores = {"XB", "None", "None", "None", "None", "ZE"};
  expect_file(expected, 2, 1);
  // A damaged line table: the console names it.
  write_file(path + "/LINE", bytes().i64(1, 3, 7));
  EXPECT_EQ(console_of([&] { expect_refused("CFILEINFO", {}, "Cannot get file info"); }),
            "Line descriptor corrupted:\n" + path + "/LINE\n");
}

TEST_F(information, of_grids) {
  file({.name = "grid",
        .organisation = 5,
        .lengths = {1000, 2000, 300, 50, 25, 10},
        .nodes = {4, 3, 2},
        .angles = {30, 10, -5},
        .samples = 24,
        .allocated = 512});
  file_answer expected = {.samples = 24,
                          .grid = {10, 20, 3, 0.5, 0.25, 0.1},
                          .nodes = {4, 3, 2},
                          .rotated = 1,
                          .angles = {30, 10, -5}};
  expect_file(expected, 3, 2);
  // In the units of the variables.
  current_context.unit_mode = 1;
  expect_refused("CFILEINFO", {}, "Cannot get coords formats");
  variable({.name = "X", .kind = 7, .implicit = 1, .unit = "cm", .factor = 1});
  variable({.name = "Y", .kind = 8, .implicit = 1, .unit = "dm", .factor = 10});
  variable({.name = "Z", .kind = 9, .implicit = 1});
  expected.names = {"None", "None", "None", "X", "Y", "Z"};
  expected.grid = {1000, 200, 300, 50, 2.5, 10};
  expect_file(expected, 3, 2);
  // A study without units keeps lengths as they are.
  units.kept = false;
  expected.grid = {1000, 2000, 300, 50, 25, 10};
  expect_file(expected, 3, 2);
}

TEST_F(information, of_faults_and_polygons) {
  std::string path = file({.name = "points", .dimension = 2, .samples = 1, .allocated = 512});
  write_file(path + "/FAULT", bytes().i32(2, 1, 1, 4, 9, 2, 5, 127));
  file_answer expected = {
      .faults = true, .dimension = 2, .samples = 1, .fault_fields = {1, 1, 4, 9, 2, 5, 127}};
  expect_file(expected, 0, 0);
  // The header of version 6: dimension, counts, box.
  write_file(path + "/POLYGON", bytes().i32(6, 0, 1, 1, 3).repeat(64, '\0'));
  expected.polygons = true;
  expect_file(expected, 0, 0);
  write_file(path + "/FAULT", bytes().i32(2));
  expected.faults = false;
  expected.fault_fields = {0, 0, 0, 0, 0, 0, 0};
  const silent_console silence;
  expect_file(expected, 0, 0);
}

struct variable_answer {
  int type = 0, bits = 64, characters = 0, implicit = 0, indices = 0;
  std::string unit_name = "", symbol = "", comment = "";
  int has_unit = 0;

  bytes bytes_of(const asking_client& to) const {
    bytes b = bytes("SVARINFO").i32(type, bits, characters, implicit, indices);
    b.text(unit_name.substr(0, to.old ? 5 : 10));
    if (to.comment) b.text(comment);
    return to.old ? b : b.text(symbol.substr(0, 10)).i32(has_unit);
  }
};

struct variable_information : information {
  void SetUp() override {
    information::SetUp();
    file({.name = "points", .samples = 3, .allocated = 512});
  }
  void expect_variable(const variable_fields& fields, const variable_answer& expected) {
    variable(fields);
    expect_variable(fields.name.c_str(), expected);
  }
  void expect_variable(const char* name, const variable_answer& expected) {
    set_current_variable(name);
    for (const int version : clients) {
      connection.client_version = version;
      EXPECT_EQ(ask("CVARINFO"), expected.bytes_of(asking_client(version))) << name << " " << version;
      EXPECT_EQ(client_.status(), 0);
    }
  }
};

TEST_F(variable_information, needs_a_variable) {
  expect_refused("CVARINFO", {}, "Variable is not set");
  set_current_variable("gone");
  expect_refused("CVARINFO", {}, "Cannot get variable info");
  variable({.name = "odd", .type = 3});
  set_current_variable("odd");
  expect_refused("CVARINFO", {}, "Unknown type (3) for variable");
}

TEST_F(variable_information, tells_every_type) {
  expect_variable({.name = "float", .bit_length = 16, .unit = "percents"},
                  {.bits = 16, .unit_name = "percents", .symbol = "percents"});
  expect_variable({.name = "rock", .type = 1, .bit_length = 80}, {.type = 1, .bits = 0, .characters = 10});
  expect_variable({.name = "X", .kind = 7}, {.type = 2});
  expect_variable({.name = "Y", .kind = 8}, {.type = 3});
  expect_variable({.name = "Z", .kind = 9, .implicit = 1}, {.type = 4, .implicit = 1});
  expect_variable({.name = "XB", .kind = 10}, {});
  expect_variable({.name = "text X", .type = 1, .kind = 7, .bit_length = 8},
                  {.type = 1, .bits = 0, .characters = 1});
}

TEST_F(variable_information, counts_the_valid_indices_of_a_macro) {
  std::string path = variable({.name = "m[xxxxx]", .type = 2, .bit_length = 32});
  write_file(path + "/DATAVAR", std::string(4096, '\0'));
  write_file(path + "/MACRO", bytes().i32(1100, 5, 12, 0, 3, -9, 7, 0));
  for (const char* name : {"m[xxxxx]", "m[99]"}) expect_variable(name, {.type = 5, .bits = 32, .indices = 3});
  write_file(path + "/MACRO", "x");
  const silent_console silence;
  expect_refused("CVARINFO", {}, "Cannot get variable info");
}

TEST_F(variable_information, shows_lengths_in_a_unit) {
  variable({.name = "depth", .unit = "ft", .factor = 30.48});
  variable({.name = "odd unit", .unit = "_klafter", .factor = 189.6});
  qu_path_join(units.distance.unit, {"nmil"});
  units.distance.factor = 185200.0;
  expect_variable("depth", {.unit_name = "Nautical Mile", .symbol = "nmil", .has_unit = 1});
  units.distance.factor = 7.5;
  expect_variable("depth", {.unit_name = "", .symbol = "nmil", .has_unit = 1});
  current_context.unit_mode = 1;
  expect_variable("depth", {.unit_name = "Foot", .symbol = "ft", .has_unit = 1});
  expect_variable("odd unit", {.unit_name = "_klafter", .symbol = "_klafter", .has_unit = 1});
  units.kept = false;
  expect_variable("depth", {.unit_name = "ft", .symbol = "ft", .has_unit = 1});
}

TEST_F(variable_information, holds_the_comment_for_older_clients) {
  const std::string comment = variable({.name = "zinc"}) + "/COMMENT";
  write_file(comment, "short");
  expect_variable("zinc", {.comment = "short\n"});
  write_file(comment, std::string(600, 'c'));
  expect_variable("zinc", {.comment = std::string(499, 'c')});
}

}  // namespace
}  // namespace qrd::test

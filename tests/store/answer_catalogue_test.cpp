#include <filesystem>
#include <map>

#include "requests/context.h"
#include "support/catalogue_tree.h"
#include "support/console.h"
#include "support/file_size_limit.h"
#include "support/requests.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

class catalogue_requests : public requests {
 protected:
  void SetUp() override {
    tree.add_directory("DIRE.2", "Soil");
    tree.add_directory("DIRE.1", "Air");
    int number = 0;
    for (const auto& [name, organisation, dimension] :
         {std::tuple{"points", 1, 3}, {"flat", 1, 2}, {"lines", 2, 3}, {"cores", 3, 3}, {"grid", 5, 2}}) {
      file_fields fields = {.name = name, .organisation = organisation, .dimension = dimension};
      std::string path = tree.add("DIRE.2/FILE." + std::to_string(++number), fields.bytes_of());
      write_file(path + "/LINE", bytes().i64(1).str());
    }
    number = 0;
    for (const variable_fields& fields :
         {variable_fields{.name = "zinc"}, variable_fields{.name = "SN", .kind = 1, .implicit = 1},
          variable_fields{.name = "rock", .type = 1, .bit_length = 32},
          variable_fields{.name = "inside", .bit_length = 1}, variable_fields{.name = "m[xxxxx]", .type = 2},
          variable_fields{.name = "odd", .type = 5}}) {
      tree.add("DIRE.2/FILE.1/VARI." + std::to_string(++number), fields.bytes_of());
    }
    write_file(tree.folder("DIRE.2/FILE.1/VARI.5") + "/MACRO", bytes().i32(1100, 1, 12, 0).str());
    select("Study", "Soil", "points");
  }
  void select(const char* study, const char* directory = no_name, const char* file = no_name,
              const char* variable = no_name) {
    set_current_study(study);
    set_current_directory(directory);
    set_current_file(file);
    set_current_variable(variable);
  }
  std::string ask(const char* request) { return client_.ask(request); }
  std::string ask(const char* request, const std::string& text) {
    return requests::ask(request, bytes().text(text));
  }
  static std::string names(const char* answer, const std::vector<std::string>& texts) {
    bytes b;
    b.text(answer).i32(static_cast<int>(texts.size()));
    for (const std::string& text : texts) b.text(text);
    return b.str();
  }
  static std::string exists(int value) { return bytes().text("SEXIST").i32(value).str(); }

  catalogue_tree tree;
};

TEST_F(catalogue_requests, serve_directories) {
  EXPECT_EQ(ask("CDIRLST"), names("SDIRS", {"Air", "Soil"}));
  EXPECT_EQ(client_.status(), 0);
  EXPECT_EQ(ask("CDIRXIST", "Soil"), exists(1));
  EXPECT_EQ(ask("CDIRXIST", "soil"), exists(0));
  EXPECT_EQ(ask("CDIRXIST", "None"), exists(0));
  EXPECT_EQ(ask("CDIRXIST", std::string(49, 'n')), exists(0));
  set_current_variable("zinc");
  set_current_selection("inside");
  EXPECT_EQ(ask("CDIRSET", "Water"), refusal("Not a valid Velmar directory: Study: Water"));
  EXPECT_STREQ(current_context.directory, "Soil");
  EXPECT_STREQ(current_context.selection, "inside");
  EXPECT_EQ(ask("CDIRSET", "Air"), done());
  EXPECT_STREQ(current_context.directory, "Air");
  EXPECT_STREQ(current_context.file, "None");
  EXPECT_STREQ(current_context.variable, "None");
  EXPECT_STREQ(current_context.selection, "None");
  EXPECT_STREQ(current_context.study, "Study");
}

TEST_F(catalogue_requests, serve_files) {
  EXPECT_EQ(ask("CFILELST"), names("SFILES", {"cores", "flat", "grid", "lines", "points"}));
  EXPECT_EQ(ask("CFILEXIST", "flat"), exists(1));
  EXPECT_EQ(ask("CFILEXIST", "Flat"), exists(0));
  EXPECT_EQ(ask("CFILESET", "Flat"), refusal("Not a valid Velmar file: Study: Soil/Flat"));
  EXPECT_STREQ(current_context.file, "points");
  set_current_variable("zinc");
  set_current_selection("inside");
  EXPECT_EQ(ask("CFILESET", "flat"), done());
  EXPECT_STREQ(current_context.file, "flat");
  EXPECT_STREQ(current_context.directory, "Soil");
  EXPECT_STREQ(current_context.variable, "None");
  EXPECT_STREQ(current_context.selection, "None");
}

TEST_F(catalogue_requests, list_files_of_a_type) {
  auto list = [&](int type, int dimension) {
    return client_.ask("CFILETLST", bytes().i32(type, dimension).str());
  };
  for (int version : {900000, 1300030, 899999}) {
    connection.client_version = version;
    EXPECT_EQ(list(-1, -1), names("SFILES", {"cores", "flat", "grid", "lines", "points"}));
    EXPECT_EQ(list(-1, 2), names("SFILES", {"flat", "grid"}));
    EXPECT_EQ(list(-1, 3), names("SFILES", {"cores", "lines", "points"}));
    EXPECT_EQ(list(0, -1), names("SFILES", {"flat", "points"}));
    EXPECT_EQ(list(0, 3), names("SFILES", {"points"}));
    EXPECT_EQ(list(1, -1), names("SFILES", {"lines"}));
    EXPECT_EQ(list(2, -1), names("SFILES", {version >= 900000 ? "cores" : "grid"}));
    EXPECT_EQ(list(3, -1), names("SFILES", {"grid"}));
    EXPECT_EQ(list(3, 3), names("SFILES", {}));
    EXPECT_EQ(list(4, -1), refusal("Unknown file type (4) for file"));
    EXPECT_EQ(list(-2, -1), refusal("Unknown file type (-2) for file"));
    EXPECT_EQ(list(0, 1), refusal("Unknown file dimension (1) for file"));
    EXPECT_EQ(list(0, 4), refusal("Unknown file dimension (4) for file"));
  }
}

TEST_F(catalogue_requests, serve_variables) {
  EXPECT_EQ(ask("CVARLST"), names("SVARS", {"SN", "inside", "m[xxxxx]", "rock", "zinc"}));
  std::map<int, std::vector<std::string>> lists = {{-3, {"inside"}},
                                                   {-2, {"SN", "inside", "m[xxxxx]", "zinc"}},
                                                   {-1, {"SN", "inside", "m[xxxxx]", "rock", "zinc"}},
                                                   {0, {"inside", "m[xxxxx]", "zinc"}},
                                                   {1, {"rock"}},
                                                   {5, {"m[xxxxx]"}}};
  for (const auto& [type, expected] : lists) {
    EXPECT_EQ(client_.ask("CVARTLST", bytes().i32(type).str()), names("SVARS", expected)) << type;
  }
  for (int type : {2, 3, 4}) {
    EXPECT_EQ(client_.ask("CVARTLST", bytes().i32(type).str()),
              refusal("Coordinates variable names are within File Info"));
  }
  EXPECT_EQ(client_.ask("CVARTLST", bytes().i32(6).str()), refusal("Unknown type (6) for variable"));
  EXPECT_EQ(client_.ask("CVARTLST", bytes().i32(-4).str()), refusal("Unknown type (-4) for variable"));

  EXPECT_EQ(ask("CVARXIST", "zinc"), exists(1));
  EXPECT_EQ(ask("CVARXIST", "m[xxxxx]"), exists(1));
  EXPECT_EQ(ask("CVARXIST", "m[00012]"), exists(1));
  EXPECT_EQ(ask("CVARXIST", "m[13]"), exists(0));
  EXPECT_EQ(ask("CVARXIST", std::string(44, 'm') + "[12]"), exists(0));
}

TEST_F(catalogue_requests, choose_variables) {
  set_current_selection("inside");
  current_context.indice = 12;
  EXPECT_EQ(ask("CVARSET", "lead"), refusal("Not a valid Velmar variable: Study: Soil/points/lead"));
  EXPECT_EQ(current_context.indice, 12);
  EXPECT_EQ(ask("CVARSET", "zinc"), done());
  EXPECT_STREQ(current_context.variable, "zinc");
  EXPECT_STREQ(current_context.selection, "inside");
  EXPECT_EQ(current_context.indice, -1);
  // The index is kept and not looked at.
  EXPECT_EQ(ask("CVARSET", "m[13]"), done());
  EXPECT_STREQ(current_context.variable, "m[13]");
  EXPECT_EQ(ask("CVARSET", "odd"), refusal("Unknown type (5) for variable"));
  EXPECT_EQ(ask("CVARSET", "zinc[13]"), refusal("Not a valid Velmar variable: Study: Soil/points/zinc[13]"));
  EXPECT_EQ(ask("CVARSET", std::string(46, 'm') + "[12]").substr(0, 12), bytes().text("SERROR").str());
  EXPECT_STREQ(current_context.variable, "m[13]");
  // Data that no file can hold.
  file_fields large = {.name = "points", .samples = INT64_MAX / 512 * 512};
  tree.add("DIRE.2/FILE.1", large.bytes_of());
  EXPECT_EQ(ask("CVARSET", "zinc"), refusal("Error while getting Variable information"));
  EXPECT_EQ(ask("CVARSET", "SN"), done());
}

TEST_F(catalogue_requests, are_refused_when_another_client_has_deleted_their_parent) {
  fs::remove_all(tree.folder("DIRE.2/FILE.1"));
  EXPECT_EQ(ask("CVARLST"), refusal("Not a valid Velmar file: Study: Soil/points"));
  EXPECT_EQ(ask("CVARXIST", "zinc"), exists(0));
  EXPECT_EQ(ask("CVARSET", "zinc"), refusal("Not a valid Velmar variable: Study: Soil/points/zinc"));
  fs::remove_all(tree.folder("DIRE.2"));
  EXPECT_EQ(ask("CFILELST"), refusal("Not a valid Velmar directory: Study: Soil"));
  EXPECT_EQ(ask("CFILEXIST", "points"), exists(0));
  fs::remove_all(store.catalogue_path);
  EXPECT_EQ(ask("CDIRLST"),
            refusal("Study Directory not found or not a study: \"" + std::string(store.study_path) + "\""));
}

// As after a power cut: descriptors of zeros, of which one comes first in any order of the disk.
TEST_F(catalogue_requests, leave_out_what_is_damaged_and_reach_the_rest) {
  const std::string zeros(64, '\0');
  for (const char* path : {"DIRE.7", "DIRE.2/FILE.7", "DIRE.2/FILE.1/VARI.7"}) tree.add(path, zeros);
  const std::string said = console_of([&] {
    EXPECT_EQ(ask("CDIRLST"), names("SDIRS", {"Air", "Soil"}));
    EXPECT_EQ(ask("CFILELST"), names("SFILES", {"cores", "flat", "grid", "lines", "points"}));
    EXPECT_EQ(ask("CVARLST"), names("SVARS", {"SN", "inside", "m[xxxxx]", "rock", "zinc"}));
    for (const char* directory : {"Air", "Soil"}) EXPECT_EQ(ask("CDIRSET", directory), done());
    for (const char* file : {"cores", "flat", "grid", "lines", "points"})
      EXPECT_EQ(ask("CFILESET", file), done());
    EXPECT_EQ(ask("CVARSET", "zinc"), done());
    EXPECT_EQ(ask("CVARSET", "m[12]"), done());
    // Whether it has such a name nobody can tell.
    EXPECT_EQ(ask("CDIRNEW", "New"), refusal("Cannot open file"));
  });
  EXPECT_NE(said.find("Directory descriptor corrupted:\n" + tree.descriptor("DIRE.7")), std::string::npos);
}

TEST_F(catalogue_requests, refuse_a_list_while_something_cannot_be_read) {
  // Old descriptors, whose new form the disk has no room for.
  tree.add("DIRE.7", bytes().i32(900).text("Old").str());
  tree.add("DIRE.2/FILE.7", file_fields{.name = "old"}.bytes_of(900));
  tree.add("DIRE.2/FILE.1/VARI.7", variable_fields{.name = "old"}.bytes_of(900));
  const std::string out = "Cannot open file";
  {
    const file_size_limit disk(0);
    EXPECT_EQ(ask("CVARLST"), refusal(out));
    EXPECT_EQ(ask("CFILEINFO"), refusal("Cannot get file info"));
    EXPECT_EQ(ask("CFILELST"), refusal(out));
    EXPECT_EQ(ask("CDIRLST"), refusal(out));
    EXPECT_EQ(ask("CVARSET", "zinc"), done());
  }
  EXPECT_EQ(ask("CDIRLST"), names("SDIRS", {"Air", "Old", "Soil"}));
  EXPECT_EQ(ask("CVARLST"), names("SVARS", {"SN", "inside", "m[xxxxx]", "old", "rock", "zinc"}));
}

TEST_F(catalogue_requests, meet_damage_as_a_refusal) {
  write_file(tree.descriptor("DIRE.2/FILE.1/VARI.1"), "x");
  write_file(tree.descriptor("DIRE.2/FILE.1/VARI.2"), "x");
  write_file(tree.descriptor("DIRE.2/FILE.1/VARI.3"), "x");
  testing::internal::CaptureStdout();
  EXPECT_EQ(ask("CVARXIST", "no such one"), exists(0));
  EXPECT_EQ(ask("CVARSET", "no such one"),
            refusal("Not a valid Velmar variable: Study: Soil/points/no such one"));
  testing::internal::GetCapturedStdout();
}

TEST_F(catalogue_requests, keep_comments) {
  auto get = [&](int mode) { return client_.ask("CCOMGET", bytes().i32(mode).str()); };
  auto set = [&](int mode, const std::string& text) {
    return client_.ask("CCOMSET", bytes().i32(mode, 1).text(text).str());
  };
  auto comment = [](const std::string& text) { return bytes().text("SCOMMENT").text(text).str(); };
  EXPECT_EQ(get(1), refusal("Comment Mode 1 unsupported"));
  EXPECT_EQ(client_.ask("CCOMSET", bytes().i32(4).str()), refusal("Comment Mode 4 unsupported"));
  EXPECT_EQ(get(3), refusal("File or Variable is not set"));
  EXPECT_EQ(set(3, "x"), refusal("File or Variable is not set"));
  EXPECT_EQ(get(2), comment(""));
  set_current_variable("m[13]");
  EXPECT_EQ(set(2, "of the file"), done());
  EXPECT_EQ(set(2, "of it"), done());
  EXPECT_EQ(read_file(tree.folder("DIRE.2/FILE.1") + "/COMMENT"), "of it");
  EXPECT_EQ(get(3), comment(""));
  EXPECT_EQ(client_.ask("CVARCOMM", bytes().i32(0).text("line 1\nline 2\n").str()), done());
  EXPECT_EQ(read_file(tree.folder("DIRE.2/FILE.1/VARI.5") + "/COMMENT"), "line 1\nline 2\n");
  EXPECT_EQ(get(3), comment("line 1\nline 2\n"));
  EXPECT_EQ(get(2), comment("of it\n"));
  std::string long_text(20000, 'c');
  EXPECT_EQ(set(2, long_text), done());
  EXPECT_EQ(get(2), comment(long_text + "\n"));

  fs::remove_all(tree.folder("DIRE.2/FILE.1"));
  testing::internal::CaptureStdout();
  EXPECT_EQ(get(2), comment(""));
  EXPECT_EQ(get(3), comment(""));
  EXPECT_EQ(set(2, "x"), refusal("Enable to update file or variable comment"));
  testing::internal::GetCapturedStdout();
  select("Study", "Soil");
  EXPECT_EQ(get(2), refusal("File is not set"));
  EXPECT_EQ(client_.ask("CVARCOMM", bytes().i32(0).text("x").str()), refusal("File or Variable is not set"));
}

// The versions at which the information requests change, with what each client gets.
struct client {
  int version;
  bool cores, line_name, comment, old;
};
constexpr client clients[] = {{409, false, false, true, true},      {410, false, false, true, false},
                              {411, false, false, true, false},     {399999, false, false, true, false},
                              {400000, false, false, true, true},   {400500, false, false, true, true},
                              {400999, false, false, true, true},   {401000, false, false, true, false},
                              {501999, false, false, true, false},  {502000, false, false, false, false},
                              {899999, false, false, false, false}, {900000, true, false, false, false},
                              {1300029, true, false, false, false}, {1300030, true, true, false, false}};

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
  std::vector<std::string> names = {"None", "None", "None", "None", "None", "None"};
  std::vector<std::string> cores = {};
  std::string line_name = "None";
  std::vector<int> fault_fields = {0, 0, 0, 0, 0, 0, 0};

  std::string bytes_of(const client& to) const {
    bytes b;
    b.text("SFILEINFO").i32(organisation).text(link).i32(faults, polygons, dimension).i64(samples);
    b.i32(lines);
    for (double value : grid) b.f64(value);
    for (int value : nodes) b.i32(value);
    b.i32(rotated);
    for (double value : angles) b.f64(value);
    for (const std::string& name : names) b.text(name);
    if (to.cores) {
      for (const std::string& name : cores) b.text(name);
    }
    if (to.line_name) b.text(line_name);
    for (int value : fault_fields) b.i32(value);
    return b.str();
  }
};

class information : public catalogue_requests {
 protected:
  void SetUp() override { set_current_study("Study"), tree.add_directory("DIRE.1", "Soil"); }
  std::string file(const file_fields& fields) {
    set_current_directory("Soil");
    set_current_file(fields.name.c_str());
    fs::remove_all(tree.folder("DIRE.1/FILE.1"));
    variables = 0;
    return tree.add("DIRE.1/FILE.1", fields.bytes_of());
  }
  std::string variable(const variable_fields& fields) {
    return tree.add("DIRE.1/FILE.1/VARI." + std::to_string(++variables), fields.bytes_of());
  }
  void expect_file(file_answer expected, int new_organisation, int old_organisation) {
    for (const client& to : clients) {
      connection.client_version = to.version;
      expected.organisation = to.cores ? new_organisation : old_organisation;
      EXPECT_EQ(ask("CFILEINFO"), expected.bytes_of(to)) << to.version;
      EXPECT_EQ(client_.status(), 0);
    }
  }
  int variables = 0;
};

TEST_F(information, of_files_needs_one) {
  EXPECT_EQ(ask("CFILEINFO"), refusal("File is not set"));
  file({.name = "odd", .organisation = 7});
  EXPECT_EQ(ask("CFILEINFO"), refusal("Unknown organisation (7) for file"));
  fs::remove_all(tree.folder("DIRE.1/FILE.1"));
  EXPECT_EQ(ask("CFILEINFO"), refusal("Cannot get file info"));
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
  tree.add("DIRE.1/FILE.1", file_fields{.name = "points", .dimension = 2, .samples = 3}.bytes_of());
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
  write_file(path + "/LINE", bytes().i64(1, 3, 6).str());
  variable({.name = "LN", .kind = 3, .implicit = 1});
  variable({.name = "RN", .kind = 2, .implicit = 1});
  file_answer expected = {
      .link = "points", .samples = 5, .lines = 2, .names = {"None", "LN", "RN", "None", "None", "None"}};
  expect_file(expected, 1, 1);
  path = file({.name = "bores", .organisation = 3, .lines = 2, .link = "points", .samples = 5});
  write_file(path + "/LINE", bytes().i64(1, 3, 6).str());
  variable({.name = "XB", .kind = 10});
  variable({.name = "ZE", .kind = 15});
  variable({.name = "hole", .type = 1, .kind = 16, .bit_length = 8});
  expected.names = {"None", "None", "None", "None", "None", "None"};
  expected.cores = {"XB", "None", "None", "None", "None", "ZE"};
  expect_file(expected, 2, 1);
  // A damaged line table: the console names it.
  write_file(path + "/LINE", bytes().i64(1, 3, 7).str());
  std::string answer;
  EXPECT_EQ(console_of([&] { answer = ask("CFILEINFO"); }),
            "Line descriptor corrupted:\n" + path + "/LINE\n");
  EXPECT_EQ(answer, refusal("Cannot get file info"));
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
  EXPECT_EQ(ask("CFILEINFO"), refusal("Cannot get coords formats"));
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
  write_file(path + "/FAULT", bytes().i32(2, 1, 1, 4, 9, 2, 5, 127).str());
  file_answer expected = {
      .faults = true, .dimension = 2, .samples = 1, .fault_fields = {1, 1, 4, 9, 2, 5, 127}};
  expect_file(expected, 0, 0);
  // The header of version 6: dimension, counts, box.
  write_file(path + "/POLYGON", bytes().i32(6, 0, 1, 1, 3).repeat(64, '\0').str());
  expected.polygons = true;
  expect_file(expected, 0, 0);
  write_file(path + "/FAULT", bytes().i32(2).str());
  expected.faults = false;
  expected.fault_fields = {0, 0, 0, 0, 0, 0, 0};
  testing::internal::CaptureStdout();
  expect_file(expected, 0, 0);
  testing::internal::GetCapturedStdout();
}

TEST_F(information, of_files_with_an_unreadable_variable_gets_no_answer) {
  file({.name = "points"});
  write_file(variable({}) + "/DESCR", "x");
  testing::internal::CaptureStdout();
  EXPECT_EQ(ask("CFILEINFO"), "");
  EXPECT_EQ(client_.status(), -1);
  testing::internal::GetCapturedStdout();
}

struct variable_answer {
  int type = 0, bits = 64, characters = 0, implicit = 0, indices = 0;
  std::string unit_name = "", symbol = "";
  std::string comment = "";
  int has_unit = 0;

  std::string bytes_of(const client& to) const {
    bytes b;
    b.text("SVARINFO").i32(type, bits, characters, implicit, indices);
    b.text(unit_name.substr(0, to.old ? 5 : 10));
    if (to.comment) b.text(comment);
    if (!to.old) b.text(symbol.substr(0, 10)).i32(has_unit);
    return b.str();
  }
};

class variable_information : public information {
 protected:
  void SetUp() override {
    information::SetUp();
    file({.name = "points", .samples = 3, .allocated = 512});
  }
  void expect_variable(const char* name, const variable_answer& expected) {
    set_current_variable(name);
    for (const client& to : clients) {
      connection.client_version = to.version;
      EXPECT_EQ(ask("CVARINFO"), expected.bytes_of(to)) << name << " " << to.version;
      EXPECT_EQ(client_.status(), 0);
    }
  }
};

TEST_F(variable_information, needs_a_variable) {
  EXPECT_EQ(ask("CVARINFO"), refusal("Variable is not set"));
  set_current_variable("gone");
  EXPECT_EQ(ask("CVARINFO"), refusal("Cannot get variable info"));
  variable({.name = "odd", .type = 3});
  set_current_variable("odd");
  EXPECT_EQ(ask("CVARINFO"), refusal("Unknown type (3) for variable"));
}

TEST_F(variable_information, tells_every_type) {
  variable({.name = "float", .bit_length = 16, .unit = "percents"});
  expect_variable("float", {.bits = 16, .unit_name = "percents", .symbol = "percents"});
  variable({.name = "rock", .type = 1, .bit_length = 80});
  expect_variable("rock", {.type = 1, .bits = 0, .characters = 10});
  variable({.name = "X", .kind = 7});
  expect_variable("X", {.type = 2});
  variable({.name = "Y", .kind = 8});
  expect_variable("Y", {.type = 3});
  variable({.name = "Z", .kind = 9, .implicit = 1});
  expect_variable("Z", {.type = 4, .implicit = 1});
  variable({.name = "XB", .kind = 10});
  expect_variable("XB", {});
  variable({.name = "text X", .type = 1, .kind = 7, .bit_length = 8});
  expect_variable("text X", {.type = 1, .bits = 0, .characters = 1});
}

TEST_F(variable_information, counts_the_valid_indices_of_a_macro) {
  std::string path = variable({.name = "m[xxxxx]", .type = 2, .bit_length = 32});
  write_file(path + "/DATAVAR", std::string(4096, '\0'));
  write_file(path + "/MACRO", bytes().i32(1100, 5, 12, 0, 3, -9, 7, 0).str());
  expect_variable("m[xxxxx]", {.type = 5, .bits = 32, .indices = 3});
  expect_variable("m[99]", {.type = 5, .bits = 32, .indices = 3});
  write_file(path + "/MACRO", "x");
  testing::internal::CaptureStdout();
  EXPECT_EQ(ask("CVARINFO"), refusal("Cannot get variable info"));
  testing::internal::GetCapturedStdout();
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
  std::string path = variable({.name = "zinc"});
  write_file(path + "/COMMENT", "short");
  expect_variable("zinc", {.comment = "short\n"});
  write_file(path + "/COMMENT", std::string(600, 'c'));
  expect_variable("zinc", {.comment = std::string(499, 'c')});
}

}  // namespace
}  // namespace qrd::test

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "samples/qd_macro.h"
#include "store/catalogue_tree.h"
#include "store/qd_info.h"
#include "store/qd_tools.h"
#include "store/qd_walk.h"
#include "support/console.h"

namespace qrd {
namespace {

namespace fs = std::filesystem;
using test::bytes;
using test::catalogue_tree;
using test::console_of;
using test::file_fields;
using test::variable_fields;
using test::write_file;
using names = std::vector<std::string>;

constexpr char no_access[] =
    "WARNING: TOO MANY FILES OPEN SIMULTANEOUSLY:\n\n         FILE SYSTEM ACCESS FAILED...\n\n\n";

names names_of(qu_list list) {
  string_list owner(list);
  names result;
  for (std::int64_t i = 0; i < owner.count(); ++i) result.emplace_back(owner[i]);
  return result;
}

std::string macro(const std::vector<int>& indices, const std::vector<std::string>& texts = {}) {
  bytes b;
  b.i32(1100).i32(static_cast<int>(indices.size()));
  for (int index : indices) b.i32(index);
  b.i32(static_cast<int>(texts.size()));
  for (const std::string& text : texts) b.text(text);
  return b.str();
}

// Two directories; in "Soil" files of every organisation, "points" with variables of every sort.
class catalogue : public testing::Test {
 protected:
  void SetUp() override {
    tree.add_directory("DIRE.1", "Soil");
    tree.add_directory("DIRE.12", "Air");
    tree.add_directory("XDIRE.3", "Not one of them");
    tree.add("DIRE.1/FILE.7", file_fields{.name = "points", .samples = 3, .allocated = 512}.bytes_of());
    tree.add("DIRE.1/OLDFILE.3", file_fields{.name = "flat", .dimension = 2}.bytes_of());
    tree.add("DIRE.1/FILE.9", file_fields{.name = "grid",
                                          .organisation = 5,
                                          .dimension = 3,
                                          .lengths = {1, 2, 3, 4, 5, 6},
                                          .nodes = {2, 2, 2},
                                          .angles = {90, 0, 0},
                                          .samples = 8,
                                          .allocated = 512}
                                  .bytes_of());
    std::string lines =
        tree.add("DIRE.1/FILE.1",
                 file_fields{.name = "lines", .organisation = 2, .lines = 3, .samples = 9, .allocated = 512}
                     .bytes_of());
    write_file(lines + "/LINE", bytes().i64(1).i64(4).i64(8).i64(10).str());
    tree.add("DIRE.1/FILE.2", file_fields{.name = "cores", .organisation = 3}.bytes_of());

    variable({.name = "zinc"});
    variable({.name = "Zinc"});
    variable({.name = "X", .kind = 7, .unit = "m", .factor = 100});
    variable({.name = "Y", .kind = 8, .unit = "km", .factor = 100000});
    variable({.name = "Z", .kind = 9, .unit = "ft", .factor = 30.48});
    variable({.name = "SN", .kind = 1, .implicit = 1});
    variable({.name = "hole", .type = 1, .kind = 16, .bit_length = 80});
    variable({.name = "rock", .type = 1, .bit_length = 32});
    variable({.name = "inside", .bit_length = 1});
    variable({.name = "computed", .implicit = 1});
    write_file(variable({.name = "metal[xxxxx]", .type = 2, .bit_length = 32}) + "/MACRO",
               macro({12, 0, -7, 3}, {"cadmium", "", "tin", "copper"}));
    write_file(variable({.name = "part[xxxxx]", .type = 2, .bit_length = 1}) + "/MACRO", macro({1}));
    variable({.name = "odd type", .type = 9});
  }
  std::string variable(const variable_fields& fields) {
    return tree.add("DIRE.1/FILE.7/VARI." + std::to_string(++variables), fields.bytes_of());
  }

  catalogue_tree tree;
  int variables = 0;
};

TEST_F(catalogue, finds_paths_by_names) {
  path_text path;
  EXPECT_EQ(qd_directory_path("Air", path), 1);
  EXPECT_EQ(path, tree.folder("DIRE.12"));
  EXPECT_EQ(qd_file_path("Soil", "flat", path), 1);
  EXPECT_EQ(path, tree.folder("DIRE.1/OLDFILE.3"));
  EXPECT_EQ(qd_variable_path("Soil", "points", "Zinc", path), 1);
  EXPECT_EQ(path, tree.folder("DIRE.1/FILE.7/VARI.2"));
  EXPECT_EQ(qd_directory_path("Not one of them", path), 0);
  EXPECT_EQ(qd_directory_path("soil", path), 0);
  EXPECT_EQ(qd_file_path("Air", "points", path), 0);
  EXPECT_EQ(qd_file_path("None", "points", path), 0);
  EXPECT_EQ(qd_variable_path("Soil", "points", "metal[12]", path), 0);
  EXPECT_EQ(qd_variable_path("Soil", "points", "metal[xxxxx]", path), 1);
}

TEST_F(catalogue, tests_directories_and_files) {
  EXPECT_EQ(qd_directory_test("Soil"), 0);
  EXPECT_EQ(qd_directory_test("Water"), 1);
  EXPECT_EQ(qd_directory_test("None"), 1);
  EXPECT_EQ(qd_file_test(ORG_ANY, DIM_ANY, "Water", "points"), 1);
  EXPECT_EQ(qd_file_test(ORG_ANY, DIM_ANY, "Soil", "Points"), 1);
  std::map<std::string, std::pair<int, int>> files = {
      {"points", {1, 3}}, {"flat", {1, 2}}, {"grid", {5, 3}}, {"lines", {2, 3}}, {"cores", {3, 3}}};
  for (const auto& [name, is] : files) {
    for (int organisation : {1, 2, 3, 5}) {
      EXPECT_EQ(qd_file_test(organisation, DIM_ANY, "Soil", name.c_str()), is.first != organisation);
    }
    EXPECT_EQ(qd_file_test(ORG_ANY, DIM_ANY, "Soil", name.c_str()), 0);
    EXPECT_EQ(qd_file_test(ORG_ANY_LINES, DIM_ANY, "Soil", name.c_str()), name != "lines" && name != "cores");
    EXPECT_EQ(qd_file_test(ORG_ANY, 2, "Soil", name.c_str()), is.second != 2);
    EXPECT_EQ(qd_file_test(ORG_ANY, 3, "Soil", name.c_str()), is.second != 3);
  }
}

TEST_F(catalogue, tests_variables_with_and_without_their_index) {
  struct {
    const char* name;
    int without, with;
  } rows[] = {{"zinc", 0, 0},
              {"lead", 1, 1},
              {"metal[xxxxx]", 0, 0},
              {"metal{xxxxx}", 1, 1},
              {"metal[12]", 0, 0},
              {"metal[00012]", 0, 0},
              {"metal[13]", 0, 1},
              {"metal[7]", 0, 1},
              {"metal[0]", 0, 1},
              {"metal[]", 0, 1},
              {"metal{copper}", 0, 0},
              {"metal{tin}", 0, 1},
              {"metal{}", 0, 1},
              {"metal{gold}", 0, 1},
              {"part{gold}", 0, 1},
              {"zinc[1]", 1, 1},
              {"metal[123456]", 0, 1},
              {"metal", 1, 1},
              {"", 1, 1}};
  for (const auto& row : rows) {
    EXPECT_EQ(qd_variable_test(false, "Soil", "points", row.name), row.without) << row.name;
    testing::internal::CaptureStdout();
    EXPECT_EQ(qd_variable_test(true, "Soil", "points", row.name), row.with) << row.name;
    testing::internal::GetCapturedStdout();
  }
  EXPECT_EQ(qd_variable_test(false, "Soil", "lines", "zinc"), 1);
  // Names that no descriptor can hold, at the limits.
  for (std::size_t length : {41U, 42U, 43U, 44U, 46U, 49U, 100U}) {
    std::string stem(length, 's');
    EXPECT_EQ(qd_variable_test(true, "Soil", "points", (stem + "[12]").c_str()), 1) << length;
    EXPECT_EQ(qd_variable_test(true, "Soil", "points", (stem + "{12}").c_str()), 1) << length;
  }
  std::string longest = std::string(42, 's');
  write_file(variable({.name = longest + "[xxxxx]", .type = 2}) + "/MACRO", macro({1}));
  EXPECT_EQ(qd_variable_test(true, "Soil", "points", (longest + "[1]").c_str()), 0);
  // A name is never cut to one that fits.
  variable({.name = std::string(49, 'n')});
  EXPECT_EQ(qd_variable_test(true, "Soil", "points", std::string(49, 'n').c_str()), 0);
  EXPECT_EQ(qd_variable_test(true, "Soil", "points", std::string(50, 'n').c_str()), 1);
}

TEST_F(catalogue, tests_of_what_cannot_be_read_say_so) {
  write_file(tree.descriptor("DIRE.1/FILE.7/VARI.3"), "x");
  std::string corrupted = "Variable descriptor corrupted:\n" + tree.folder("DIRE.1/FILE.7/VARI.3") + "\n\n";
  EXPECT_EQ(console_of([] { EXPECT_EQ(qd_variable_test(true, "Soil", "points", "no such one"), 2); }),
            corrupted + no_access);
  for (const char* path : {"DIRE.1/FILE.1", "DIRE.1/FILE.2", "DIRE.1/FILE.7", "DIRE.1/FILE.9"}) {
    write_file(tree.descriptor(path), "x");
  }
  EXPECT_NE(console_of([] { EXPECT_EQ(qd_file_test(1, 3, "Soil", "no such one"), 2); }).find(no_access),
            std::string::npos);
  path_text path;
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_file_path("Soil", "no such one", path), 0); }).find(no_access),
            std::string::npos);
  write_file(tree.descriptor("DIRE.1"), "x");
  write_file(tree.descriptor("DIRE.12"), "x");
  console_of([] {
    EXPECT_EQ(qd_directory_test("no such one"), 2);
    EXPECT_EQ(qd_file_test(1, 3, "no such one", "f"), 2);
    EXPECT_EQ(qd_variable_test(true, "no such one", "f", "v"), 2);
  });
  write_file(tree / "plain", "");
  qu_path_join(catalogue_path, {tree / "plain"});
  EXPECT_EQ(console_of([] { EXPECT_EQ(qd_directory_test("Soil"), 2); }), no_access);
}

TEST_F(catalogue, passes_over_what_is_deleted_meanwhile) {
  // The first object seen takes its siblings, which the listing still holds, with it.
  path_text path;
  qd_file_record record;
  int seen = 0;
  auto delete_siblings = [&](const qd_file_record&) {
    std::string self = path;
    for (const fs::directory_entry& entry : fs::directory_iterator(tree.folder("DIRE.1"))) {
      if (entry.path() != self && entry.is_directory()) fs::remove_all(entry);
    }
    ++seen;
    return false;
  };
  std::string directory = tree.folder("DIRE.1");
  EXPECT_EQ(qd_walk<file_level>(directory.c_str(), path, record, delete_siblings), walk_end::all_seen);
  EXPECT_EQ(seen, 1);
  fs::remove_all(directory);
  EXPECT_EQ(qd_walk<file_level>(directory.c_str(), path, record, delete_siblings), walk_end::parent_gone);
  // A folder that is there without a descriptor is another matter.
  tree.folder("DIRE.12/FILE.1");
  EXPECT_FATAL(qd_file_test(ORG_ANY, DIM_ANY, "Air", "no such one"), "FATAL ERROR in qu_file_open_f");
}

TEST_F(catalogue, refuses_directories_in_lower_case) {
  for (const char* entry : {"dire.4", "Dire.x", "DIRe."}) {
    std::string path = tree.add_directory(entry, "Lower");
    EXPECT_FATAL(
        qd_directory_test("no such one"),
        std::string("A directory name containing lower case character\\(s\\) has been found !\n\\(\"") +
            entry + "\" in \"" + catalogue_path + "\"\\)");
    EXPECT_FATAL(qd_get_directory_list(nullptr, -1), "lower case");
    fs::remove_all(path);
  }
  // Below, only upper case counts.
  tree.folder("DIRE.1/file.4");
  EXPECT_EQ(qd_file_test(ORG_ANY, DIM_ANY, "Soil", "no such one"), 1);
}

TEST_F(catalogue, lists_directories) {
  tree.add_directory("DIRE.3", "air");
  EXPECT_EQ(names_of(qd_get_directory_list(nullptr, -1)), (names{"Air", "Soil", "air"}));
  EXPECT_EQ(names_of(qd_get_directory_list(nullptr, 0)),
            (names{"None", "New Directory", "Air", "Soil", "air"}));
  string_list old;
  old.add("old", name_size);
  EXPECT_EQ(names_of(qd_get_directory_list(old.release(), 1)), (names{"None", "Air", "Soil", "air"}));
  EXPECT_FATAL(qd_get_directory_list(nullptr, 2), "No 10 in function qd_get_directory_list");
}

TEST_F(catalogue, lists_files) {
  auto list = [](const char* directory, int mode, std::int64_t organisation, std::int64_t dimension) {
    return names_of(qd_get_file_list(nullptr, directory, mode, organisation, dimension));
  };
  EXPECT_EQ(list("Soil", -1, ORG_ANY, DIM_ANY), (names{"cores", "flat", "grid", "lines", "points"}));
  EXPECT_EQ(list("Soil", 0, ORG_ANY_LINES, DIM_ANY), (names{"None", "New File", "cores", "lines"}));
  EXPECT_EQ(list("Soil", 1, ORG_POINTS, 2), (names{"None", "flat"}));
  EXPECT_EQ(list("Air", -1, ORG_ANY, DIM_ANY), names{});
  EXPECT_EQ(list("None", -1, ORG_ANY, DIM_ANY), names{"None"});
  EXPECT_EQ(list("", -1, ORG_ANY, DIM_ANY), names{});
  EXPECT_FATAL(list("Soil", 3, ORG_ANY, DIM_ANY), "No 10 in function qd_get_file_list");
  EXPECT_FATAL(list("Water", -1, ORG_ANY, DIM_ANY), "No 20 in function qd_get_file_list");
  write_file(tree.descriptor("DIRE.1/FILE.7"), "x");
  EXPECT_FATAL(list("Soil", -1, ORG_ANY, DIM_ANY), "No 40 in function qd_get_file_list");
}

TEST_F(catalogue, lists_variables_by_masks) {
  auto list = [](int mask) { return names_of(qd_get_variable_list(nullptr, "Soil", "points", -1, mask)); };
  EXPECT_EQ(list(31), (names{"SN", "X", "Y", "Z", "hole", "Zinc", "computed", "inside", "metal[xxxxx]",
                             "part[xxxxx]", "rock", "zinc"}));
  EXPECT_EQ(list(5), (names{"Zinc", "inside", "metal[xxxxx]", "part[xxxxx]", "zinc"}));
  EXPECT_EQ(list(21), (names{"SN", "X", "Y", "Z", "Zinc", "computed", "inside", "metal[xxxxx]", "part[xxxxx]",
                             "zinc"}));
  EXPECT_EQ(list(18), (names{"hole", "rock"}));
  EXPECT_EQ(list(2), (names{"rock"}));
  EXPECT_EQ(list(4), (names{"metal[xxxxx]", "part[xxxxx]"}));
  EXPECT_EQ(list(8), list(4));
  EXPECT_EQ(list(32), (names{"inside", "part[xxxxx]"}));
  EXPECT_EQ(list(63), list(32));
  EXPECT_EQ(list(16), names{});
  EXPECT_EQ(names_of(qd_get_variable_list(nullptr, "Soil", "points", 0, 2)),
            (names{"None", "New Variable", "rock"}));
  EXPECT_EQ(names_of(qd_get_variable_list(nullptr, "Soil", "points", 1, 18)),
            (names{"None", "hole", "rock"}));
  EXPECT_EQ(names_of(qd_get_variable_list(nullptr, "Soil", "None", 0, 31)), names{"None"});
  EXPECT_EQ(names_of(qd_get_variable_list(nullptr, "Soil", "", 0, 31)), names{});
  EXPECT_FATAL(qd_get_variable_list(nullptr, "Soil", "gone", -1, 31),
               "No 20 in function qd_get_variable_list");
  write_file(tree.descriptor("DIRE.1/FILE.7/VARI.3"), "x");
  EXPECT_FATAL(list(31), "No 40 in function qd_get_variable_list");
}

TEST_F(catalogue, lists_variables_with_a_role_in_their_order) {
  int number = 0;
  for (int kind : {16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}) {
    tree.add("DIRE.1/FILE.2/VARI." + std::to_string(++number),
             variable_fields{.name = "k" + std::to_string(kind), .kind = kind}.bytes_of());
  }
  names expected = {"k1",  "k3",  "k2",  "k7",  "k8", "k9", "k10", "k11", "k12",
                    "k13", "k14", "k15", "k16", "k4", "k5", "k6",  "k0"};
  EXPECT_EQ(names_of(qd_get_variable_list(nullptr, "Soil", "cores", -1, 31)), expected);
  // Unknown roles have no place of their own, and of two with one role one has.
  tree.add("DIRE.1/FILE.2/VARI.50", variable_fields{.name = "a", .kind = 17}.bytes_of());
  tree.add("DIRE.1/FILE.2/VARI.51", variable_fields{.name = "b", .kind = -1}.bytes_of());
  tree.add("DIRE.1/FILE.2/VARI.52", variable_fields{.name = "z1", .kind = 1}.bytes_of());
  names listed = names_of(qd_get_variable_list(nullptr, "Soil", "cores", -1, 31));
  ASSERT_EQ(listed.size(), 20U);
  bool first_is_later = listed[0] == "z1";
  EXPECT_EQ(listed[0], first_is_later ? "z1" : "k1");
  names others = first_is_later ? names{"a", "b", "k0", "k1"} : names{"a", "b", "k0", "z1"};
  EXPECT_EQ(names(listed.end() - 4, listed.end()), others);
}

TEST_F(catalogue, lists_for_requests_don_t_end_the_process_when_a_parent_is_gone) {
  string_list list;
  EXPECT_EQ(qd_list_files("Water", ORG_ANY, DIM_ANY, list), 0);
  EXPECT_EQ(qd_list_variables("Soil", "gone", 31, list), 0);
  EXPECT_EQ(qd_list_variables("Water", "points", 31, list), 0);
  fs::remove_all(catalogue_path);
  EXPECT_EQ(qd_list_directories(list), 0);
  EXPECT_EQ(list.count(), 0);
}

TEST_F(catalogue, informs_about_variables) {
  qd_var_info info;
  ASSERT_EQ(qd_info_var_name("Soil", "points", "X", info), 1);
  EXPECT_EQ(info.sample_count, 3);
  EXPECT_EQ(info.type, VAR_FLOAT);
  EXPECT_EQ(info.kind, KIND_X);
  EXPECT_EQ(info.implicit, 0);
  EXPECT_EQ(info.system, 1);
  EXPECT_EQ(info.bit_length, 64);
  EXPECT_EQ(info.has_unit, 1);
  EXPECT_EQ(info.numeric, 1);
  EXPECT_EQ(info.format.factor, 100);
  ASSERT_EQ(qd_info_var_name("Soil", "points", "SN", info), 1);
  EXPECT_EQ(info.system, 0);
  EXPECT_EQ(info.implicit, 1);
  EXPECT_EQ(info.has_unit, 0);
  ASSERT_EQ(qd_info_var_name("Soil", "points", "rock", info), 1);
  EXPECT_EQ(info.numeric, 0);
  EXPECT_EQ(info.system, 0);
  ASSERT_EQ(qd_info_var_name("Soil", "points", "metal[99]", info), 1);
  EXPECT_EQ(info.type, VAR_MACRO);
  unit_flag = 0;
  ASSERT_EQ(qd_info_var_name("Soil", "points", "zinc", info), 1);
  EXPECT_EQ(info.has_unit, 1);

  EXPECT_EQ(qd_info_var_name("Soil", "points", "lead", info), 0);
  EXPECT_EQ(info.sample_count, -1);
  EXPECT_EQ(info.type, -1);
  EXPECT_EQ(info.bit_length, -1);
  EXPECT_EQ(qd_info_var_name("Soil", "gone", "zinc", info), 0);
  EXPECT_EQ(qd_info_var_name("Soil", "points", (std::string(46, 'x') + "[1]").c_str(), info), 0);
}

TEST_F(catalogue, informs_about_selected_variables) {
  qd_variable_handle handle;
  qd_var_info info;
  ASSERT_EQ(qd_variable_select("Soil", "points", "SN", UNIT_NONE, handle), 1);
  ASSERT_EQ(qd_info_var_ident(handle, info), 1);
  EXPECT_EQ(info.kind, KIND_SAMPLE_NUMBER);
  EXPECT_EQ(info.system, 1);
  EXPECT_EQ(info.sample_count, 3);
  EXPECT_FATAL(qd_info_var_ident(qd_variable_handle{}, info), "No 10 in function qd_info_var_ident");
  EXPECT_FATAL(qd_info_var_ident(qd_variable_handle{.entry = 513}, info), "No 10 in function");
  fs::remove_all(tree.folder("DIRE.1/FILE.7/VARI.6"));
  EXPECT_EQ(qd_info_var_ident(handle, info), 0);
  qd_variable_deselect(handle);
}

TEST_F(catalogue, informs_about_files) {
  qd_file_info info;
  qd_grid_record grid;
  ASSERT_EQ(qd_info_file("Soil", "lines", info, &grid), 1);
  EXPECT_EQ(info.organisation, ORG_LINES_GRAVITY);
  EXPECT_EQ(info.dimension, 3);
  EXPECT_EQ(info.sample_count, 9);
  EXPECT_EQ(info.line_count, 3);
  EXPECT_EQ(info.longest_line, 4);
  EXPECT_EQ(grid.dx, 1.0);
  EXPECT_EQ(grid.dz, 0.0);
  EXPECT_EQ(grid.nz, 1);
  ASSERT_EQ(qd_info_file("Soil", "grid", info, &grid), 1);
  EXPECT_EQ(info.longest_line, 0);
  EXPECT_EQ(grid.z0, 3);
  EXPECT_EQ(grid.m[1], 1);
  EXPECT_EQ(grid.t[3], 1);
  EXPECT_EQ(qd_info_file("Soil", "gone", info, &grid), 0);
  EXPECT_EQ(info.organisation, 1);
  EXPECT_EQ(info.dimension, 2);
  write_file(tree.folder("DIRE.1/FILE.1") + "/LINE", bytes().i64(1).i64(4).i64(3).i64(10).str());
  EXPECT_FATAL(qd_info_file("Soil", "lines", info, nullptr), "No 6 in function qd_info_file");
  EXPECT_FATAL(qd_info_file("Soil", "cores", info, nullptr), "No 3 in function qd_info_file");
}

TEST_F(catalogue, knows_the_variables_with_a_role) {
  name_text name;
  EXPECT_EQ(qd_special_var_name("Soil", "points", KIND_Y, name), 0);
  EXPECT_STREQ(name, "Y");
  EXPECT_EQ(qd_special_var_name("Soil", "points", KIND_LINE_NAME, name), 0);
  EXPECT_STREQ(name, "hole");
  EXPECT_EQ(qd_special_var_name("Soil", "points", KIND_RELATIVE_NUMBER, name), 1);
  EXPECT_EQ(qd_special_var_name("Soil", "gone", KIND_X, name), 2);
  name_text all[kind_count];
  EXPECT_EQ(qd_special_var_names("Soil", "points", all), 1);
  EXPECT_STREQ(all[KIND_X], "X");
  EXPECT_STREQ(all[KIND_SAMPLE_NUMBER], "SN");
  EXPECT_STREQ(all[KIND_IX], "");
  // Macro variables have no role.
  tree.add("DIRE.1/FILE.2/VARI.1", variable_fields{.name = "m", .type = 2, .kind = 7}.bytes_of());
  EXPECT_EQ(qd_special_var_name("Soil", "cores", KIND_X, name), 1);
  write_file(tree.descriptor("DIRE.1/FILE.2/VARI.1"), "");
  testing::internal::CaptureStdout();
  EXPECT_EQ(qd_special_var_name("Soil", "cores", KIND_X, name), 2);
  EXPECT_EQ(qd_special_var_names("Soil", "cores", all), 2);
  testing::internal::GetCapturedStdout();
}

TEST_F(catalogue, knows_the_formats_of_coordinates) {
  qd_format_record x, y, z;
  EXPECT_EQ(qd_coordinates_formats(0, "Soil", "points", &x, &y, &z), 0);
  EXPECT_STREQ(x.unit, "m");
  EXPECT_STREQ(y.unit, "km");
  EXPECT_EQ(z.factor, 30.48);
  EXPECT_EQ(qd_coordinates_formats(0, "Soil", "points", nullptr, &y, nullptr), 0);
  // No coordinates: the default, or the distance format.
  EXPECT_EQ(qd_coordinates_formats(0, "Soil", "flat", &x, &y, &z), 1);
  EXPECT_EQ(x.factor, 1.0);
  EXPECT_EQ(x.length_flag, 0);
  EXPECT_EQ(qd_coordinates_formats(1, "None", "flat", &x, &y, &z), 1);
  EXPECT_EQ(x.factor, 100.0);
  EXPECT_STREQ(z.unit, "m");
  EXPECT_EQ(qd_coordinates_formats(1, "Soil", "gone", &x, nullptr, nullptr), 1);
  // The third one counts in three dimensions only.
  tree.add("DIRE.1/OLDFILE.3/VARI.1",
           variable_fields{.name = "X", .kind = 7, .unit = "cm", .factor = 1}.bytes_of());
  tree.add("DIRE.1/OLDFILE.3/VARI.2", variable_fields{.name = "Y", .kind = 8}.bytes_of());
  EXPECT_EQ(qd_coordinates_formats(1, "Soil", "flat", &x, &y, &z), 0);
  EXPECT_STREQ(x.unit, "cm");
  EXPECT_EQ(y.factor, 1.0);
  EXPECT_STREQ(z.unit, "m");
}

TEST_F(catalogue, tests_points_files) {
  char name[50] = "zinc";
  EXPECT_EQ(qd_points_test("Soil", "points", name), 0);
  EXPECT_EQ(qd_points_test("Soil", "points", nullptr), 0);
  EXPECT_EQ(qd_points_test("Water", "points", name), 4);
  EXPECT_EQ(qd_points_test("None", "points", name), 4);
  EXPECT_EQ(qd_points_test("Soil", "gone", name), 5);
  EXPECT_EQ(qd_points_test("Soil", "grid", name), 5);
  EXPECT_STREQ(name, "zinc");
  char other[50] = "lead";
  EXPECT_EQ(qd_points_test("Soil", "points", other), 6);
  EXPECT_STREQ(other, "None");
  EXPECT_EQ(qd_points_test("Soil", "points", other), 0);
  write_file(tree.descriptor("DIRE.1/FILE.7/VARI.1"), "");
  testing::internal::CaptureStdout();
  EXPECT_EQ(qd_points_test("Soil", "points", name), name == std::string("Zinc") ? 0 : 1);
  testing::internal::GetCapturedStdout();
}

TEST_F(catalogue, reports_wrong_parameters) {
  auto directory = [](const char* name, const char* text) {
    return console_of([&] { EXPECT_EQ(qd_check_directory(name, text), 0); });
  };
  EXPECT_EQ(qd_check_directory("Soil", "text"), 1);
  EXPECT_EQ(directory("None", nullptr),
            "WARNING: Check your parameters a Directory Name is incorrect\n-------\n"
            "    BAD DIRECTORY NAME: >>>None<<<\n");
  EXPECT_EQ(directory("Water", "Input"),
            "WARNING: Check your parameters a Directory Name is incorrect\n------- Input\n"
            "    BAD DIRECTORY NAME: >>>Water<<<\n");

  qd_file_info info;
  auto file = [&](std::int64_t organisation, std::int64_t dimension, const char* name, const char* selection,
                  const char* text) {
    return console_of(
        [&] { EXPECT_EQ(qd_check_file(organisation, dimension, "Soil", name, selection, text, &info), 0); });
  };
  const std::string wrong = "WARNING: Check your parameters this File should be\n";
  const std::string lines_end = "    DIRECTORY NAME: >>>Soil<<<\n     BAD FILE NAME: >>>lines<<<\n";
  const std::string points_end = "    DIRECTORY NAME: >>>Soil<<<\n     BAD FILE NAME: >>>points<<<\n";
  EXPECT_EQ(file(ORG_ANY, DIM_ANY, "gone", "None", "Text"),
            "WARNING: Check your parameters a File Name is incorrect\n         Text\n"
            "    DIRECTORY NAME: >>>Soil<<<\n     BAD FILE NAME: >>>gone<<<\n");
  EXPECT_EQ(file(ORG_POINTS, DIM_ANY, "lines", "None", nullptr),
            wrong + "-------  a POINT File...\n" + lines_end);
  EXPECT_EQ(file(ORG_GRID, DIM_ANY, "lines", "None", "T"),
            wrong + "-------  a GRID File...\n         T\n" + lines_end);
  EXPECT_EQ(file(ORG_LINES_CORES, DIM_ANY, "lines", "None", nullptr),
            wrong + "-------  a Cores LINE File...\n" + lines_end);
  EXPECT_EQ(file(ORG_LINES_GRAVITY, DIM_ANY, "points", "None", nullptr),
            wrong + "-------  a Gravity LINE File...\n" + points_end);
  EXPECT_EQ(file(ORG_ANY_LINES, DIM_ANY, "points", "None", nullptr),
            wrong + "-------  a LINE File...\n" + points_end);
  EXPECT_EQ(file(ORG_ANY, 2, "points", "None", nullptr), wrong + "-------  a 2D File...\n" + points_end);
  EXPECT_EQ(
      file(ORG_ANY, 3, "flat", "None", nullptr),
      wrong + "-------  a 3D File...\n    DIRECTORY NAME: >>>Soil<<<\n     BAD FILE NAME: >>>flat<<<\n");
  for (const char* selection : {"zinc", "gone", "rock"}) {
    EXPECT_EQ(file(ORG_ANY, DIM_ANY, "points", selection, "T"),
              std::string("WARNING: Check your parameters this Variable\n"
                          "-------  is not a Selection variable...\n         T\n"
                          "       DIRECTORY NAME: >>>Soil<<<\n            FILE NAME: >>>points<<<\n"
                          "   BAD SELECTION NAME: >>>") +
                  selection + "<<<\n");
  }
  ASSERT_EQ(qd_check_file(ORG_ANY_LINES, 3, "Soil", "lines", "None", nullptr, &info), 1);
  EXPECT_EQ(info.longest_line, 4);
  EXPECT_EQ(info.sample_count, 9);
}

TEST_F(catalogue, reports_variables_of_the_wrong_class) {
  struct {
    const char* name;
    bool fits[6];  // by class
  } rows[] = {{"zinc", {true, false, true, false, false, true}},
              {"rock", {true, false, false, true, false, false}},
              {"inside", {true, true, true, false, false, true}},
              {"metal[xxxxx]", {true, false, false, false, true, true}},
              {"metal[12]", {true, false, true, false, false, true}},
              {"metal{copper}", {true, false, true, false, false, true}}};
  const char* lines[] = {"",
                         "-------  is not a Selection Variable (1 bit)...\n",
                         "-------  is not a Float Variable...\n",
                         "-------  is not a Character Variable...\n",
                         "-------  is not a Macro Variable...\n",
                         "-------  is not a Numerical (Float or Macro) Variable...\n"};
  const char* capitals[] = {"",
                            "            IS NOT A SELECTION VARIABLE...\n\n",
                            "          IS NOT A FLOAT VARIABLE...\n\n",
                            "          IS NOT A CHARACTER VARIABLE...\n\n",
                            "          IS NOT A MACRO VARIABLE...\n\n",
                            "          IS NOT A NUMERICAL (FLOAT/MACRO) VARIABLE...\n\n"};
  for (const auto& row : rows) {
    for (int wanted = 0; wanted <= 5; ++wanted) {
      int result = -1;
      std::string name = row.name;
      if (wanted > 0) {
        std::string console = console_of([&] {
          result = qd_check_variable(static_cast<variable_class>(wanted), "Soil", "points", "None", row.name,
                                     nullptr, nullptr);
        });
        EXPECT_EQ(result, row.fits[wanted]) << name << wanted;
        EXPECT_EQ(console,
                  result == 1
                      ? ""
                      : std::string("WARNING: Check your parameters this Variable\n") + lines[wanted] +
                            "       DIRECTORY NAME: >>>Soil<<<\n            FILE NAME: >>>points<<<\n"
                            "    BAD VARIABLE NAME: >>>" +
                            name + "<<<\n");
      }
      std::string console =
          console_of([&] { result = qd_check_names(3, wanted, "Soil", "points", row.name, nullptr); });
      EXPECT_EQ(result, row.fits[wanted]) << name << wanted;
      EXPECT_EQ(console, result == 1 ? ""
                                     : std::string("\n WARNING: CHECK YOUR PARAMETERS THIS VARIABLE\n\n") +
                                           capitals[wanted] +
                                           "              DIRECTORY NAME: >>>Soil<<<\n\n"
                                           "                   FILE NAME: >>>points<<<\n\n" +
                                           (wanted == 1 ? "          BAD SELECTION NAME: >>>"
                                                        : "           BAD VARIABLE NAME: >>>") +
                                           name + "<<<\n\n");
    }
  }
  EXPECT_EQ(console_of([] {
              EXPECT_EQ(qd_check_variable(CLASS_FLOAT, "Soil", "points", "None", "metal[13]", "T", nullptr),
                        0);
            }),
            "WARNING: Check your parameters a Variable Name is incorrect\n         T\n"
            "       DIRECTORY NAME: >>>Soil<<<\n            FILE NAME: >>>points<<<\n"
            "    BAD VARIABLE NAME: >>>metal[13]<<<\n");
}

TEST_F(catalogue, reports_names_of_every_level) {
  const std::string head = "\n WARNING: CHECK YOUR PARAMETERS A NAME IS INCORRECT\n\n";
  auto check = [](int level, const char* directory, const char* file, const char* variable,
                  const char* const* list) {
    return console_of([&] { EXPECT_EQ(qd_check_names(level, 0, directory, file, variable, list), 0); });
  };
  EXPECT_EQ(check(1, "Water", "", "", nullptr), head + "            BAD DIRECTORY NAME: >>>Water<<<\n\n");
  EXPECT_EQ(check(2, "Soil", "gone", "", nullptr),
            head + "            DIRECTORY NAME: >>>Soil<<<\n\n             BAD FILE NAME: >>>gone<<<\n\n");
  const std::string bad_variable =
      head +
      "            DIRECTORY NAME: >>>Soil<<<\n\n                 FILE NAME: >>>points<<<\n\n"
      "         BAD VARIABLE NAME: >>>lead<<<\n\n";
  EXPECT_EQ(check(3, "Soil", "points", "lead", nullptr), bad_variable);
  const char* list[] = {"zinc", "lead", "rock", nullptr};
  EXPECT_EQ(check(4, "Soil", "points", "", list), bad_variable);
  list[1] = "X";
  EXPECT_EQ(qd_check_names(4, 0, "Soil", "points", "", list), 1);
  EXPECT_EQ(qd_check_names(1, 0, "Soil", "gone", "lead", nullptr), 1);
  EXPECT_EQ(qd_check_names(2, 0, "Soil", "points", "lead", nullptr), 1);
}

TEST_F(catalogue, keeps_comments) {
  std::string text = "untouched";
  EXPECT_EQ(qd_comment_read("Soil", "points", nullptr, text), 1);
  EXPECT_EQ(text, "");
  std::string path = tree.folder("DIRE.1/FILE.7") + "/COMMENT";
  write_file(path, "first\r\n\nlast");
  EXPECT_EQ(qd_comment_read("Soil", "points", nullptr, text), 0);
  EXPECT_EQ(text, "first\n\nlast\n");
  // What isn't a text isn't a comment.
  write_file(path, std::string("bin\0ary", 7));
  testing::internal::CaptureStdout();
  EXPECT_EQ(qd_comment_read("Soil", "points", nullptr, text), 1);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(text, "");

  EXPECT_EQ(qd_comment_write("Soil", "points", nullptr, 0, "a long comment\nof two lines"), 0);
  EXPECT_EQ(test::read_file(path), "a long comment\nof two lines");
  EXPECT_EQ(qd_comment_write("Soil", "points", nullptr, 1, "short %s%%"), 0);
  EXPECT_EQ(test::read_file(path), "short %s%%");
  EXPECT_EQ(qd_comment_write("Soil", "points", "metal[99]", 0, "of all"), 0);
  EXPECT_EQ(test::read_file(tree.folder("DIRE.1/FILE.7/VARI.11") + "/COMMENT"), "of all");
  EXPECT_EQ(qd_comment_read("Soil", "points", "metal{copper}", text), 0);
  EXPECT_EQ(text, "of all\n");

  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_read("Soil", "gone", nullptr, text), 2); }),
            "Warning: Soil/gone does not exist. Description not read.\n");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_read("Soil", "points", "lead", text), 2); }),
            "Warning: Soil/points/lead does not exist. Description not read.\n");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_write("Soil", "gone", nullptr, 0, "x"), 2); }),
            "Warning: Soil/gone does not exist. Description not updated.\n");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_write("Soil", "points", "lead", 0, "x"), 2); }),
            "Warning: Soil/points/lead does not exist. Description not updated.\n");
  EXPECT_FATAL(qd_comment_read(nullptr, "points", nullptr, text), "No 1 in function qd_comment_read");
  EXPECT_FATAL(qd_comment_write("Soil", nullptr, nullptr, 0, "x"), "No 1 in function qd_comment_write");

  fs::remove(path);
  fs::create_directory(path);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_write("Soil", "points", nullptr, 0, "x"), 1); }),
            "Cannot open file or variable descrition file for writing:\n " + path +
                "\nDescription will not be updated.\nCheck directory permissions and disk space.\n\n");
}

TEST(comment, that_does_not_fit_the_disk_is_reported) {
  if (!fs::exists("/dev/full")) GTEST_SKIP();
  catalogue_tree tree;
  tree.add_directory("DIRE.1", "Soil");
  std::string path = tree.add("DIRE.1/FILE.1", file_fields{.name = "points"}.bytes_of());
  fs::create_symlink("/dev/full", path + "/COMMENT");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_write("Soil", "points", nullptr, 0, "x"), 1); }),
            "Error while updating file or variable description.\nComment has not been updated.\n"
            "Check disk space and quotas\n\n");
}

}  // namespace
}  // namespace qrd

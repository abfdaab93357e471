#include "catalogue/qd_comment.h"
#include "catalogue/qd_info.h"
#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "catalogue/qd_path.h"
#include "samples/qd_reported_check.h"
#include "support/catalogue_tree.h"

namespace qrd::test {
namespace {

using name_list = strings;

constexpr char no_access[] =
    "WARNING: TOO MANY FILES OPEN SIMULTANEOUSLY:\n\n         FILE SYSTEM ACCESS FAILED...\n\n\n";

name_list variables_of_cores() {
  string_list list;
  EXPECT_EQ(qd_list_variables("Soil", "cores", 31, list), found::yes);
  name_list result;
  for (std::int64_t i = 0; i < list.count(); ++i) result.emplace_back(list[i]);
  return result;
}

// Two directories; in "Soil" files of every organisation, "points" with variables of every sort.
struct catalogue : testing::Test {
  void SetUp() override {
    tree.add_directory("DIRE.1", "Soil");
    tree.add_directory("DIRE.12", "Air");
    tree.add_directory("XDIRE.3", "Not one of them");
    tree.add("DIRE.1/FILE.7", file_fields{.name = "points", .samples = 3, .allocated = 512});
    tree.add("DIRE.1/OLDFILE.3", file_fields{.name = "flat", .dimension = 2});
    tree.add("DIRE.1/FILE.9",
             file_fields{"grid", 5, 3, 0, {1, 2, 3, 4, 5, 6}, {2, 2, 2}, {90, 0, 0}, "", 8, 512});
    std::string lines =
        tree.add("DIRE.1/FILE.1",
                 file_fields{.name = "lines", .organisation = 2, .lines = 3, .samples = 9, .allocated = 512});
    write_file(lines + "/LINE", bytes().i64(1, 4, 8, 10));
    tree.add("DIRE.1/FILE.2", file_fields{.name = "cores", .organisation = 3});

    // Name, type, kind, bits, implicit, unit.
    for (const variable_fields& fields : {variable_fields{"zinc"},
                                          {"Zinc"},
                                          {"X", 0, 7, 64, 0, "m", 100},
                                          {"Y", 0, 8, 64, 0, "km", 1e5},
                                          {"Z", 0, 9, 64, 0, "ft", 30.48},
                                          {"SN", 0, 1, 64, 1},
                                          {"hole", 1, 16, 80},
                                          {"rock", 1, 0, 32},
                                          {"inside", 0, 0, 1},
                                          {"computed", 0, 0, 64, 1}})
      variable(fields);
    write_file(variable({.name = "metal[xxxxx]", .type = 2, .bit_length = 32}) + "/MACRO",
               macro_bytes({12, 0, -7, 3}, {"cadmium", "", "tin", "copper"}));
    write_file(variable({.name = "part[xxxxx]", .type = 2, .bit_length = 1}) + "/MACRO", macro_bytes({1}));
    variable({.name = "odd type", .type = 9});
  }
  std::string variable(const variable_fields& fields) {
    return tree.add("DIRE.1/FILE.7/VARI." + std::to_string(++variables), fields);
  }

  catalogue_tree tree;
  int variables = 0;
};

TEST_F(catalogue, tests_variables_with_and_without_their_index) {
  const struct {
    found without, with;
    name_list all;
  } rows[] = {
      {found::yes, found::yes, {"zinc", "metal[xxxxx]", "metal[12]", "metal[00012]", "metal{copper}"}},
      {found::yes,
       found::no,
       {"metal[13]", "metal[7]", "metal[0]", "metal[]", "metal{tin}", "metal{}", "metal{gold}", "part{gold}",
        "metal[123456]"}},
      {found::no, found::no, {"lead", "metal{xxxxx}", "zinc[1]", "metal", ""}}};
  for (const auto& row : rows)
    for (const std::string& name : row.all) {
      EXPECT_EQ(qd_variable_test(false, "Soil", "points", name.c_str()), row.without) << name;
      const silent_console silence;
      EXPECT_EQ(qd_variable_test(true, "Soil", "points", name.c_str()), row.with) << name;
    }
  EXPECT_EQ(qd_variable_test(false, "Soil", "lines", "zinc"), found::no);
  // Names that no descriptor can hold, at the limits.
  for (std::size_t length : {41U, 42U, 43U, 44U, 46U, 49U, 100U})
    for (const char* index : {"[12]", "{12}"})
      EXPECT_EQ(qd_variable_test(true, "Soil", "points", (std::string(length, 's') + index).c_str()),
                found::no);
  std::string longest = std::string(42, 's');
  write_file(variable({.name = longest + "[xxxxx]", .type = 2}) + "/MACRO", macro_bytes({1}));
  EXPECT_EQ(qd_variable_test(true, "Soil", "points", (longest + "[1]").c_str()), found::yes);
  // A name is never cut to one that fits.
  variable({.name = std::string(49, 'n')});
  EXPECT_EQ(qd_variable_test(true, "Soil", "points", std::string(49, 'n').c_str()), found::yes);
  EXPECT_EQ(qd_variable_test(true, "Soil", "points", std::string(50, 'n').c_str()), found::no);
}

TEST_F(catalogue, tests_of_what_cannot_be_read_say_so) {
  write_file(tree.descriptor("DIRE.1/FILE.7/VARI.3"), "x");
  std::string corrupted = "Variable descriptor corrupted:\n" + tree.folder("DIRE.1/FILE.7/VARI.3") + "\n\n";
  EXPECT_EQ(
      console_of([] { EXPECT_EQ(qd_variable_test(true, "Soil", "points", "no such one"), found::unclear); }),
      corrupted + no_access);
  for (const char* path : {"DIRE.1/FILE.1", "DIRE.1/FILE.2", "DIRE.1/FILE.7", "DIRE.1/FILE.9"})
    write_file(tree.descriptor(path), "x");
  EXPECT_HAS(console_of([] { EXPECT_EQ(qd_file_test(1, 3, "Soil", "no such one"), found::unclear); }),
             no_access);
  path_text path;
  const std::string said = console_of([&] { EXPECT_FALSE(qd_file_path("Soil", "no such one", path)); });
  EXPECT_FALSE(has_part(said, no_access));
  fs::create_symlink(tree / "loop", tree / "loop");
  qu_path_join(store.catalogue_path, {tree / "loop"});
  EXPECT_EQ(console_of([] { EXPECT_EQ(qd_directory_test("Soil"), found::unclear); }),
            "Unable to list directory \"" + (tree / "loop") + "\": Too many levels of symbolic links\n" +
                no_access);
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
  fs::create_symlink(directory, directory);
  EXPECT_EQ(qd_walk<file_level>(directory.c_str(), path, record, delete_siblings), walk_end::cannot_list);
  fs::remove(directory);
  // A folder without a descriptor is no object, and hinders nothing.
  tree.folder("DIRE.12/FILE.1");
  EXPECT_EQ(qd_file_test(ORG_ANY, DIM_ANY, "Air", "no such one"), found::no);
}

TEST_F(catalogue, refuses_directories_in_lower_case) {
  for (const char* entry : {"dire.4", "Dire.x", "DIRe."}) {
    std::string path = tree.add_directory(entry, "Lower");
    EXPECT_FATAL(
        static_cast<void>(qd_directory_test("no such one")),
        std::string("A directory name containing lower case character\\(s\\) has been found !\n\\(\"") +
            entry + "\" in \"" + store.catalogue_path + "\"\\)");
    string_list list;
    EXPECT_FATAL(static_cast<void>(qd_list_directories(list)), "lower case");
    fs::remove_all(path);
  }
  // Below, only upper case counts.
  tree.folder("DIRE.1/file.4");
  EXPECT_EQ(qd_file_test(ORG_ANY, DIM_ANY, "Soil", "no such one"), found::no);
}

TEST_F(catalogue, lists_variables_with_a_role_in_their_order) {
  int number = 0;
  for (int kind : {16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}) {
    tree.add("DIRE.1/FILE.2/VARI." + std::to_string(++number),
             variable_fields{.name = "k" + std::to_string(kind), .kind = kind});
  }
  name_list expected = {"k1",  "k3",  "k2",  "k7",  "k8", "k9", "k10", "k11", "k12",
                        "k13", "k14", "k15", "k16", "k4", "k5", "k6",  "k0"};
  EXPECT_EQ(variables_of_cores(), expected);
  // Unknown roles have no place of their own, and of two with one role one has.
  tree.add("DIRE.1/FILE.2/VARI.50", variable_fields{.name = "a", .kind = 17});
  tree.add("DIRE.1/FILE.2/VARI.51", variable_fields{.name = "b", .kind = -1});
  tree.add("DIRE.1/FILE.2/VARI.52", variable_fields{.name = "z1", .kind = 1});
  name_list listed = variables_of_cores();
  ASSERT_EQ(listed.size(), 20U);
  bool first_is_later = listed[0] == "z1";
  EXPECT_EQ(listed[0], first_is_later ? "z1" : "k1");
  name_list others = first_is_later ? name_list{"a", "b", "k0", "k1"} : name_list{"a", "b", "k0", "z1"};
  EXPECT_EQ(name_list(listed.end() - 4, listed.end()), others);
}

TEST_F(catalogue, knows_the_formats_of_coordinates) {
  qd_format_record x, y, z;
  EXPECT_TRUE(qd_coordinates_formats(0, "Soil", "points", &x, &y, &z));
  EXPECT_STREQ(x.unit, "m");
  EXPECT_STREQ(y.unit, "km");
  EXPECT_EQ(z.factor, 30.48);
  EXPECT_TRUE(qd_coordinates_formats(0, "Soil", "points", nullptr, &y, nullptr));
  // No coordinates: the default, or the distance format.
  EXPECT_FALSE(qd_coordinates_formats(0, "Soil", "flat", &x, &y, &z));
  EXPECT_EQ(x.factor, 1.0);
  EXPECT_EQ(x.length_flag, 0);
  EXPECT_FALSE(qd_coordinates_formats(1, "None", "flat", &x, &y, &z));
  EXPECT_EQ(x.factor, 100.0);
  EXPECT_STREQ(z.unit, "m");
  EXPECT_FALSE(qd_coordinates_formats(1, "Soil", "gone", &x, nullptr, nullptr));
  // The third one counts in three dimensions only.
  tree.add("DIRE.1/OLDFILE.3/VARI.1", variable_fields{.name = "X", .kind = 7, .unit = "cm", .factor = 1});
  tree.add("DIRE.1/OLDFILE.3/VARI.2", variable_fields{.name = "Y", .kind = 8});
  EXPECT_TRUE(qd_coordinates_formats(1, "Soil", "flat", &x, &y, &z));
  EXPECT_STREQ(x.unit, "cm");
  EXPECT_EQ(y.factor, 1.0);
  EXPECT_STREQ(z.unit, "m");
}

TEST_F(catalogue, reports_wrong_parameters) {
  const std::string place = "       DIRECTORY NAME: >>>Soil<<<\n            FILE NAME: >>>points<<<\n";
  EXPECT_EQ(console_of([] {
              EXPECT_FALSE(qd_check_file(ORG_GRID, DIM_ANY, "Soil", "lines", "None", "T", nullptr));
            }),
            "WARNING: Check your parameters this File should be\n-------  a GRID File...\n         T\n"
            "    DIRECTORY NAME: >>>Soil<<<\n     BAD FILE NAME: >>>lines<<<\n");
  EXPECT_EQ(
      console_of([] {
        EXPECT_FALSE(qd_check_variable(CLASS_FLOAT, "Soil", "points", "None", "metal[13]", "T", nullptr));
      }),
      "WARNING: Check your parameters a Variable Name is incorrect\n         T\n" + place +
          "    BAD VARIABLE NAME: >>>metal[13]<<<\n");
  struct {
    const char* name;
    bool fits[6];  // by class
  } rows[] = {{"zinc", {true, false, true, false, false, true}},
              {"rock", {true, false, false, true, false, false}},
              {"inside", {true, true, true, false, false, true}},
              {"metal[xxxxx]", {true, false, false, false, true, true}},
              {"metal{copper}", {true, false, true, false, false, true}}};
  for (const auto& row : rows)
    for (int wanted = 1; wanted <= 5; ++wanted) {
      const std::string console = console_of([&] {
        EXPECT_EQ(qd_check_variable(static_cast<variable_class>(wanted), "Soil", "points", "None", row.name,
                                    nullptr, nullptr),
                  row.fits[wanted])
            << row.name << wanted;
      });
      EXPECT_EQ(console.ends_with(place + "    BAD VARIABLE NAME: >>>" + row.name + "<<<\n"),
                !row.fits[wanted]);
    }
}

TEST_F(catalogue, keeps_comments) {
  std::string text = "untouched";
  EXPECT_EQ(qd_comment_read("Soil", "points", nullptr, text), found::no);
  EXPECT_EQ(text, "");
  std::string path = tree.folder("DIRE.1/FILE.7") + "/COMMENT";
  write_file(path, "first\r\n\nlast");
  EXPECT_EQ(qd_comment_read("Soil", "points", nullptr, text), found::yes);
  EXPECT_EQ(text, "first\n\nlast\n");
  // What isn't a text isn't a comment.
  write_file(path, std::string("bin\0ary", 7));
  console_of([&] { EXPECT_EQ(qd_comment_read("Soil", "points", nullptr, text), found::no); });
  EXPECT_EQ(text, "");
  EXPECT_TRUE(qd_comment_write("Soil", "points", nullptr, 1, "short %s%%"));
  EXPECT_EQ(read_file(path), "short %s%%");
  EXPECT_TRUE(qd_comment_write("Soil", "points", "metal[99]", 0, "of all"));
  EXPECT_EQ(read_file(tree.folder("DIRE.1/FILE.7/VARI.11") + "/COMMENT"), "of all");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_comment_read("Soil", "points", "lead", text), found::no); }),
            "Warning: Soil/points/lead does not exist. Description not read.\n");
  EXPECT_EQ(console_of([&] { EXPECT_FALSE(qd_comment_write("Soil", "gone", nullptr, 0, "x")); }),
            "Warning: Soil/gone does not exist. Description not updated.\n");
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_EQ(console_of([&] { EXPECT_FALSE(qd_comment_write("Soil", "points", nullptr, 0, "x")); }),
            "Cannot open file or variable descrition file for writing:\n " + path +
                "\nDescription will not be updated.\nCheck directory permissions and disk space.\n\n");
}

TEST(comment, that_does_not_fit_the_disk_is_reported) {
  catalogue_tree tree;
  tree.add_directory("DIRE.1", "Soil");
  std::string path = tree.add("DIRE.1/FILE.1", file_fields{.name = "points"});
  write_file(path + "/COMMENT", "old");
  auto in_child = [] {
    console_on_stderr();
    file_size_limit disk(4096);
    _exit(qd_comment_write("Soil", "points", nullptr, 0, std::string(5000, 'x').c_str()) ? 0 : 1);
  };
  EXPECT_EXIT(in_child(), testing::ExitedWithCode(1),
              "Error while updating file or variable description.\nComment has not been updated.\n"
              "Check disk space and quotas\n");
  EXPECT_EQ(read_file(path + "/COMMENT"), "old");
}

}  // namespace
}  // namespace qrd::test

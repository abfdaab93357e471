#include "edit/qd_manage.h"

#include "catalogue/qd_name.h"
#include "catalogue/qd_placement.h"
#include "edit/qd_append.h"
#include "edit/qd_link.h"
#include "edit/qd_manage_variable.h"
#include "support/catalogue_tree.h"
#include "support/processes.h"
#include "util/qu_rename.h"

namespace qrd::test {
namespace {

struct creation : testing::Test {
  creation() { store.running_test = 1; }

  const std::string& catalogue() const { return catalogue_; }
  std::string at(const std::string& path) const { return catalogue_ + "/" + path; }

  // Directory "D" with a grid file "G" of so many nodes along X; its path.
  std::string make_grid(std::int64_t nodes) {
    qd_grid_record grid;
    grid.nx = nodes;
    EXPECT_TRUE(qd_create_directory("D"));
    EXPECT_TRUE(qd_create_file("D", "G", ORG_GRID, 2, &grid));
    return at("DIRE.1/FILE.1");
  }

  catalogue_tree tree_;
  std::string catalogue_ = tree_.path();
};

std::string variable_bytes(const char* name, int type, int kind, int bits, int implicit, int format,
                           int width, int digits, const char* unit = "", double factor = 0.0) {
  return variable_fields{name, type, kind, bits, implicit, unit, factor, format, width, digits}.bytes_of();
}

TEST_F(creation, directory_is_its_descriptor) {
  EXPECT_TRUE(qd_create_directory("Mine"));
  EXPECT_EQ(names_in(catalogue()), strings{"DIRE.1"});
  EXPECT_EQ(names_in(at("DIRE.1")), strings{"DESCR"});
  EXPECT_EQ(read_file(at("DIRE.1/DESCR")), std::string("\0\0\x04\x4C\0\0\0\x04Mine", 12));
  EXPECT_TRUE(qd_create_directory("  Zinc  "));
  EXPECT_EQ(read_file(at("DIRE.2/DESCR")), bytes().i32(1100).text("  Zinc  "));
}

TEST_F(creation, the_lowest_free_number_is_taken) {
  for (const char* name : {"a", "b", "c"}) EXPECT_TRUE(qd_create_directory(name));
  EXPECT_TRUE(qd_delete_directory("b"));
  EXPECT_EQ(names_in(catalogue()), (strings{"DIRE.1", "DIRE.3"}));
  write_file(at("DIRE.4"), "in the way");
  fs::remove(at("DIRE.4"));
  fs::create_symlink("nowhere", at("OLDDIRE.4"));
  EXPECT_TRUE(qd_create_directory("d"));
  EXPECT_TRUE(qd_create_directory("e"));
  EXPECT_EQ(names_in(catalogue()), (strings{"DIRE.1", "DIRE.2", "DIRE.3", "DIRE.4", "OLDDIRE.4"}));
  EXPECT_EQ(read_file(at("DIRE.2/DESCR")).back(), '\0');
  EXPECT_EQ(read_file(at("DIRE.2/DESCR")).substr(8, 1), "d");
}

TEST_F(creation, a_number_with_zeros_before_it_is_none) {
  for (const char* name : {"FILE.1", "FILE.002", "FILE.02", "FILE.4"}) fs::create_directory(at(name));
  for (int number : {2, 3, 5}) {
    prepared_object folder(catalogue().c_str());
    EXPECT_EQ(folder.place(file_numbering), placement::placed);
    EXPECT_TRUE(fs::exists(at("FILE." + std::to_string(number))));
  }
}

TEST_F(creation, what_cannot_go_gets_the_next_number_if_its_own_is_taken) {
  fs::create_directories(at("FILE.1/kept"));
  fs::create_directory(at("FILE.2"));
  {
    removed_folder folder(at("FILE.1").c_str());
    ASSERT_EQ(folder.now(), removed_folder::state::taken);
    fs::create_directory(at("FILE.1"));
  }
  EXPECT_EQ(names_in(catalogue()), (strings{"FILE.1", "FILE.2", "FILE.3"}));
  EXPECT_TRUE(fs::exists(at("FILE.3/kept")));
}

// Another server holds the lock while an object is prepared, and changes what was found before.
TEST_F(creation, what_changes_meanwhile_is_seen_under_the_lock) {
  make_grid(1);
  const std::string directory = at("DIRE.1"), grid = at("DIRE.1/FILE.1");
  const auto create_file = [] { return qd_create_file("D", "F", ORG_POINTS, 2, nullptr); };
  const auto create_variable = [] { return qd_create_variable("D", "G", "v", VAR_FLOAT, 0, 8, nullptr); };
  const auto create_directory = [] { return qd_create_directory("Mine"); };
  const struct {
    std::string locked, changed;  // the folder of an object that appears, or becomes another one
    std::string content;
    std::function<bool()> create;
  } rows[] = {
      {directory, directory, bytes().i32(1100).text("other").str(), create_file},
      {directory, directory + "/FILE.9", file_fields{.name = "F"}.bytes_of(), create_file},
      {grid, grid, file_fields{.name = "G", .samples = 513, .allocated = 1024}.bytes_of(), create_variable},
      {grid, grid + "/VARI.9", variable_fields{.name = "v"}.bytes_of(), create_variable},
      {catalogue(), at("DIRE.9"), bytes().i32(1100).text("Mine").str(), create_directory}};
  for (const auto& row : rows) {
    strings expected = names_in(row.locked);
    const bool appears = !fs::exists(row.changed);
    if (appears) expected.push_back(fs::path(row.changed).filename());
    std::sort(expected.begin(), expected.end());
    const std::string before = appears ? "" : read_file(row.changed + "/DESCR");
    {
      other_server other(row.locked, [&] {
        fs::create_directory(row.changed);
        write_file(row.changed + "/DESCR", row.content);
      });
      const std::string said = console_of([&] { EXPECT_FALSE(row.create()) << row.changed; });
      EXPECT_HAS(said, "TO BE CREATED");
    }
    EXPECT_EQ(names_in(row.locked), expected);
    if (appears)
      fs::remove_all(row.changed);
    else
      write_file(row.changed + "/DESCR", before);
  }
  EXPECT_TRUE(create_file() && create_variable() && create_directory());
}

TEST_F(creation, points_and_lines_files) {
  ASSERT_TRUE(qd_create_directory("D"));
  EXPECT_TRUE(qd_create_file("D", "Wells", ORG_POINTS, 3, nullptr));
  EXPECT_EQ(names_in(at("DIRE.1")), (strings{"DESCR", "FILE.1"}));
  EXPECT_EQ(names_in(at("DIRE.1/FILE.1")), (strings{"DESCR", "VARI.1"}));
  EXPECT_EQ(read_file(at("DIRE.1/FILE.1/DESCR")), file_fields{.name = "Wells"}.bytes_of());
  EXPECT_EQ(names_in(at("DIRE.1/FILE.1/VARI.1")), (strings{"COMMENT", "DATAVAR", "DESCR"}));
  EXPECT_EQ(read_file(at("DIRE.1/FILE.1/VARI.1/DESCR")),
            variable_bytes("SN+ Sample Number (READONLY)", 0, 1, 64, 1, 1, 10, 0));
  EXPECT_EQ(read_file(at("DIRE.1/FILE.1/VARI.1/DATAVAR")), "");
  EXPECT_EQ(read_file(at("DIRE.1/FILE.1/VARI.1/COMMENT")), "Created during Test");

  EXPECT_TRUE(qd_create_file("D", "Holes", ORG_LINES_CORES, 3, nullptr));
  EXPECT_EQ(names_in(at("DIRE.1/FILE.2")), (strings{"DESCR", "LINE", "VARI.1", "VARI.2", "VARI.3"}));
  for (const auto& [kind, name] :
       {std::pair{2, "RN+ Relative Number (READONLY)"}, {3, "LN+ Line Number (READONLY)"}})
    EXPECT_EQ(read_file(at("DIRE.1/FILE.2/VARI." + std::to_string(kind) + "/DESCR")),
              variable_bytes(name, 0, kind, 64, 1, 1, 10, 0));
}

TEST_F(creation, grid_file) {
  ASSERT_TRUE(qd_create_directory("D"));
  qd_grid_record grid;
  grid.x0 = 100.0;
  grid.dz = 50.0;
  grid.nx = 10;
  grid.ny = 11;
  grid.nz = 12;
  grid.angle2 = 30.0;
  EXPECT_TRUE(qd_create_file("D", "G", ORG_GRID, 3, &grid));
  std::string path = at("DIRE.1/FILE.1");
  const file_fields fields = {"G", 5, 3, 0, {100, 0, 0, 1, 1, 50}, {10, 11, 12}, {0, 30, 0}, "", 1320, 1536};
  EXPECT_EQ(read_file(path + "/DESCR"), fields.bytes_of());
  EXPECT_EQ(names_in(path),
            (strings{"DESCR", "VARI.1", "VARI.2", "VARI.3", "VARI.4", "VARI.5", "VARI.6", "VARI.7"}));
  auto length = [](const char* name, int kind) {
    return variable_bytes(name, 0, kind, 64, 1, 2, 10, 2, "m", 100.0);
  };
  auto number = [](const char* name, int kind) { return variable_bytes(name, 0, kind, 64, 1, 1, 10, 0); };
  std::string expected[] = {length("X+ Coordinate (READONLY)", 7),    length("Y+ Coordinate (READONLY)", 8),
                            number("IX+ Index (READONLY)", 4),        number("IY+ Index (READONLY)", 5),
                            length("Z+ Coordinate (READONLY)", 9),    number("IZ+ Index (READONLY)", 6),
                            number("SN+ Sample Number (READONLY)", 1)};
  for (int i = 0; i < 7; i++) {
    std::string variable = path + "/VARI." + std::to_string(i + 1);
    EXPECT_EQ(read_file(variable + "/DESCR"), expected[i]) << i;
    EXPECT_EQ(read_file(variable + "/DATAVAR"), "");
  }
  EXPECT_TRUE(qd_create_file("D", "G2", ORG_GRID, 2, &grid));
  EXPECT_EQ(names_in(at("DIRE.1/FILE.2")).size(), 6U);
}

TEST_F(creation, too_large_grids_are_refused) {
  ASSERT_TRUE(qd_create_directory("D"));
  auto report = [&](std::int64_t nx, std::int64_t ny, std::int64_t nz) {
    qd_grid_record grid;
    grid.nx = nx;
    grid.ny = ny;
    grid.nz = nz;
    return console_of([&] { EXPECT_FALSE(qd_create_file("D", "G", ORG_GRID, 3, &grid)); });
  };
  EXPECT_NE(
      report(2097152, 2097152, 2097152).find("Can't create file, number of samples would be too big.\n"),
      std::string::npos);
  EXPECT_NE(report(2147483647, 1, 1).find("Can't create file"), std::string::npos);
  // 2^63 - 1 fits, but not rounded up to blocks: 7 * 73 * 127 * 337 * 92737 * 649657 split in three.
  EXPECT_NE(report(649657 * 337, 92737 * 127, 7 * 7 * 73).find("CAN'T CREATE FILE.\n"), std::string::npos);
  EXPECT_EQ(names_in(at("DIRE.1")), strings{"DESCR"});
}

TEST_F(creation, variables_are_filled_to_the_capacity) {
  std::string path = make_grid(513);
  const std::string missing_32 = "\x7E\xB9\xBF\x36";
  const std::string missing_64 = "\x7F\xE5\xF9\x8E\x6B\xDA\x7F\xBC";
  const struct {
    int bits;
    std::string block;  // one sample, or one byte of samples
    int format, width, digits;
  } forms[] = {{1, "\xFF", 1, 3, 0},      {2, "\x9F", 1, 3, 0},      {4, "\xFF", 1, 4, 0},
               {8, "\xFF", 1, 5, 0},      {16, "\xFF\xFF", 1, 7, 0}, {32, missing_32, 2, 10, 2},
               {64, missing_64, 2, 10, 2}};
  int number = 5;
  for (const auto& form : forms) {
    std::string name = "v" + std::to_string(form.bits);
    ASSERT_TRUE(qd_create_variable("D", "G", name.c_str(), VAR_FLOAT, KIND_PLAIN, form.bits, nullptr));
    std::string folder = path + "/VARI." + std::to_string(++number);
    EXPECT_EQ(names_in(folder), (strings{"COMMENT", "DATAVAR", "DESCR"}));
    EXPECT_EQ(read_file(folder + "/DESCR"),
              variable_bytes(name.c_str(), 0, 0, form.bits, 0, form.format, form.width, form.digits));
    std::string expected;
    while (expected.size() < 1024U * static_cast<unsigned>(form.bits) / 8U) expected += form.block;
    EXPECT_TRUE(read_file(folder + "/DATAVAR") == expected) << form.bits;
  }
  ASSERT_TRUE(qd_create_variable("D", "G", "t", VAR_CHAR, KIND_PLAIN, 24, nullptr));
  EXPECT_EQ(read_file(path + "/VARI.13/DESCR"), variable_bytes("t", 1, 0, 24, 0, 2, 10, 2));
  EXPECT_EQ(read_file(path + "/VARI.13/DATAVAR"), std::string(3072, ' '));
}

TEST_F(creation, formats_are_checked) {
  std::string path = make_grid(1);
  auto made = [&, number = 5](const qd_format_record& format, int kind = KIND_PLAIN) mutable {
    std::string name = "f" + std::to_string(++number);
    EXPECT_TRUE(qd_create_variable("D", "G", name.c_str(), VAR_FLOAT, kind, 64, &format));
    std::string descriptor = read_file(path + "/VARI." + std::to_string(number) + "/DESCR");
    return descriptor.substr(28);
  };
  auto fields = [](int format, int width, int digits, const char* unit, double factor) {
    return bytes().i32(format, width, digits).text(unit).f64(factor).str();
  };
  EXPECT_EQ(made({FORMAT_DECIMAL, 5, 9, 1, "ft", 30.48}), fields(2, 5, 2, "ft", 30.48));
  EXPECT_EQ(made({FORMAT_SHIFTED, 5, 9, 0, " ", 1.0}), fields(4, 5, 9, "", 0.0));
  EXPECT_EQ(made({FORMAT_INTEGER, 20, 0, 1, "m", 100.0}), fields(2, 10, 2, "", 0.0));
  EXPECT_EQ(made({FORMAT_INTEGER, 3, -1, 1, "m", 100.0}), fields(2, 10, 2, "", 0.0));
  EXPECT_EQ(made({FORMAT_DECIMAL, 19, 9, 1, "km", 100000.0}, KIND_X_BEGIN), fields(2, 19, 9, "km", 100000.0));
}

TEST(name_check, every_rule_at_its_limits) {
  const std::string longest(49, 'n');
  const std::pair<name_code, strings> rows[] = {
      {name_code::valid, {longest, "  Zinc  ", "new file", "a\x80\xC3\xA9", "Zinc[xxxxx]", "a  [xxxxx]"}},
      // Blanks count for the room, since they are stored.
      {name_code::too_long, {longest + "n", " " + longest}},
      {name_code::blank, {std::string(60, ' '), "", "[xxxxx]", "  [xxxxx] "}},
      {name_code::reserved, {"None", "New Directory", "New File", "New Variable", " None "}},
      {name_code::not_printable, {"a\tb", "a\x1F", "a\x7F", "a\xFF", "[\t"}},
      {name_code::forbidden, {"a[1]", "a{", "}", "Zi[nc[xxxxx]", "Zinc{xxxxx}", "Zinc[xxxx]", "a[xxxxx]b"}}};
  for (const auto& [code, names] : rows)
    for (const std::string& name : names) EXPECT_EQ(qd_name_check(name.c_str()), code) << name;
}

TEST_F(creation, bad_names_are_reported) {
  make_grid(1);
  EXPECT_EQ(console_of([] { EXPECT_FALSE(qd_create_directory("None")); }),
            "\n\nWARNING: THE NAME OF THE DIRECTORY TO BE CREATED\n\n         IS A RESERVED KEYWORD...\n\n"
            "         DIRECTORY NAME: >>>None<<<\n\n\n");
  auto variable = [](const char* name, int type) {
    return console_of([&] { EXPECT_FALSE(qd_create_variable("D", "G", name, type, 0, 8, nullptr)); });
  };
  EXPECT_EQ(variable("Zinc[xxxxx]", VAR_FLOAT),
            "\n WARNING: THE NAME OF THE VARIABLE TO BE CREATED\n\n"
            "         HAS FORBIDDEN CHARACTERS: [ ] or { } ...\n\n *****Directory Name: >>>D<<<\n\n"
            " **********File Name= >>>G<<<\n\n **Bad Variable Name= >>>Zinc[xxxxx]<<<\n\n\n\n");
  EXPECT_NE(variable("Zinc[xxxxx] ", VAR_CHAR), "");
  for (const char* name : {"Zinc", "Zinc[xxxxx] "}) EXPECT_NE(variable(name, VAR_MACRO), "");
  EXPECT_EQ(names_in(at("DIRE.1/FILE.1")).size(), 6U);
}

// The result of a creation that meets a full disk after so many bytes of a file, and what it says. The
// console is a pipe, since the limit counts for all files of the process.
void expect_full_disk(rlim_t limit, const std::string& report, const std::function<int()>& create) {
  auto in_child = [&] {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) _exit(3);
    std::fflush(stdout);
    dup2(ends[1], STDOUT_FILENO);
    file_size_limit disk(limit);
    int result = create();
    std::fflush(stdout);
    std::string said(65536, '\0');
    ssize_t size = read(ends[0], said.data(), said.size());
    said.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    _exit(result != 0 ? 2 : said.find(report) == std::string::npos ? 1 : 0);
  };
  EXPECT_EXIT(in_child(), testing::ExitedWithCode(0), "") << limit;
}

// Every length of the limit cuts another write of the creation short.
TEST_F(creation, a_full_disk_leaves_nothing) {
  std::string path = make_grid(512 * 20);
  const strings before = names_in(path);
  auto create_variable = [] { return qd_create_variable("D", "G", "x", VAR_FLOAT, 0, 64, nullptr); };
  for (rlim_t limit : {0U, 10U, 100U, 5000U, 81919U}) {
    expect_full_disk(
        limit,
        "WARNING: ERROR DURING VARIABLE CREATION, FILE SYSTEM FULL\n\n         OR WRITE PROTECTED ?\n\n"
        "         DIRECTORY NAME: >>>D<<<\n\n              FILE NAME: >>>G<<<\n\n\n"
        "          VARIABLE NAME: >>>x<<<\n\n\n       FILE PATH: >>>" +
            path + "<<<",
        create_variable);
    EXPECT_EQ(names_in(path), before) << limit;
  }
  for (rlim_t limit : {0U, 7U, 50U}) {
    expect_full_disk(limit, "WARNING: ERROR DURING FILE CREATION, FILE SYSTEM FULL\n",
                     [] { return qd_create_file("D", "L", ORG_LINES_CORES, 3, nullptr); });
    EXPECT_EQ(names_in(at("DIRE.1")), (strings{"DESCR", "FILE.1"})) << limit;
  }
  expect_full_disk(10, "FILE SYSTEM FULL", [] { return qd_create_directory("Mine"); });
  EXPECT_EQ(names_in(catalogue()), strings{"DIRE.1"});
  {
    const file_size_limit disk(81920);
    EXPECT_TRUE(create_variable());
  }
  EXPECT_EQ(read_file(path + "/VARI.6/DATAVAR").size(), 81920U);
}

TEST_F(creation, a_damaged_capacity_is_a_failure) {
  std::string path = make_grid(1);
  std::string descriptor = read_file(path + "/DESCR");
  for (std::int64_t capacity : {513, -512}) {
    write_file(path + "/DESCR", descriptor.substr(0, descriptor.size() - 8) + bytes().i64(capacity).str());
    console_of([] { EXPECT_FALSE(qd_create_variable("D", "G", "x", VAR_FLOAT, 0, 8, nullptr)); });
    EXPECT_EQ(names_in(path).size(), 6U);
  }
}

TEST_F(creation, deleting_a_file_removes_its_link) {
  ASSERT_TRUE(qd_create_directory("D"));
  ASSERT_TRUE(qd_create_file("D", "P", ORG_POINTS, 3, nullptr));
  ASSERT_TRUE(qd_create_file("D", "L", ORG_LINES_GRAVITY, 3, nullptr));
  std::string before = read_file(at("DIRE.1/FILE.1/DESCR"));
  ASSERT_TRUE(qd_create_link("D", "L", "P"));
  ASSERT_NE(read_file(at("DIRE.1/FILE.1/DESCR")), before);
  EXPECT_TRUE(qd_delete_file("D", "L"));
  EXPECT_EQ(read_file(at("DIRE.1/FILE.1/DESCR")), before);
  EXPECT_EQ(names_in(at("DIRE.1")), (strings{"DESCR", "FILE.1"}));
}

TEST_F(creation, deleted_variables_are_forgotten) {
  std::string path = make_grid(1);
  ASSERT_TRUE(qd_create_variable("D", "G", "x", VAR_FLOAT, 0, 8, nullptr));
  qd_variable_handle handle, other;
  for (qd_variable_handle* each : {&handle, &other})
    ASSERT_TRUE(qd_variable_select("D", "G", "x", UNIT_NONE, *each));
  EXPECT_FATAL(qd_delete_variable(handle), "No 60 in function qd_delete_variable");
  EXPECT_FALSE(fs::exists(path + "/VARI.6"));

  ASSERT_TRUE(qd_create_variable("D", "G", "y", VAR_FLOAT, 0, 8, nullptr));
  qd_deselect_all();
  ASSERT_TRUE(qd_variable_select("D", "G", "y", UNIT_NONE, handle));
  handle = qd_delete_variable(handle);
  EXPECT_EQ(handle.entry, 0);
  EXPECT_EQ(qd_entry(1), nullptr);
  EXPECT_EQ(names_in(path).size(), 6U);

  // A selection that is still open must not stand for the next object with the same number.
  ASSERT_TRUE(qd_create_variable("D", "G", "z", VAR_FLOAT, 0, 8, nullptr));
  ASSERT_TRUE(qd_variable_select("D", "G", "z", UNIT_NONE, handle));
  EXPECT_TRUE(qd_delete_file("D", "G"));
  EXPECT_EQ(qd_entry(handle.entry), nullptr);
  EXPECT_EQ(names_in(at("DIRE.1")), strings{"DESCR"});
}

TEST_F(creation, leftovers_of_dead_processes_go) {
  const auto die = [this](int) -> bool {
    prepared_object folder(catalogue().c_str());
    write_file(std::string(folder.path()) + "/DESCR", "half");
    _exit(0);
  };
  EXPECT_EQ(in_processes(1, die), 0);
  const strings left = names_in(catalogue());
  ASSERT_EQ(left.size(), 1U);
  // What a living one makes is locked; what only looks alike is somebody's.
  fs::create_directory(at("N_OTHER"));
  int ready[2], done[2];
  ASSERT_EQ(pipe2(ready, O_CLOEXEC) + pipe2(done, O_CLOEXEC), 0);
  char byte = 0;
  const pid_t living = fork();
  if (living == 0) {
    prepared_object folder(catalogue().c_str());
    const bool told = write(ready[1], &byte, 1) == 1 && read(done[0], &byte, 1) == 1;
    _exit(told && folder.place(directory_numbering) == placement::placed ? 0 : 1);
  }
  EXPECT_EQ(read(ready[0], &byte, 1), 1);
  EXPECT_FALSE(fs::exists(at(*left.begin())));
  EXPECT_TRUE(qd_create_directory("Mine"));
  EXPECT_EQ(names_in(catalogue()).size(), 3U);
  EXPECT_EQ(write(done[1], &byte, 1), 1);
  int status = 0;
  waitpid(living, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(names_in(catalogue()), (strings{"DIRE.1", "DIRE.2", "N_OTHER"}));
  for (int end : {ready[0], ready[1], done[0], done[1]}) close(end);
}

TEST_F(creation, file_systems_without_exclusive_rename) {
  fs::create_directories(at("NEW/VARI.1"));
  fs::create_directory(at("DIRE.1"));
  EXPECT_EQ(qu_take_name_by_creation(at("NEW"), at("DIRE.1")), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(qu_take_name_by_creation(at("NEW"), at("DIRE.2")), 0);
  EXPECT_TRUE(fs::exists(at("DIRE.2/VARI.1")));
  EXPECT_EQ(qu_take_name_by_creation(at("NEW"), at("DIRE.3")), -1);
  EXPECT_EQ(names_in(catalogue()), (strings{"DIRE.1", "DIRE.2"}));
}

}  // namespace
}  // namespace qrd::test

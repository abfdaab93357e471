// Columns of macro variables that move while other servers read, write and are killed.
#include "samples/qd_column_move.h"

#include "catalogue/qd_walk.h"
#include "edit/qd_append.h"
#include "support/processes.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr std::int64_t old_samples = 4, samples = 7;

// Two macro variables of 8 bits with two columns each, in a file of 4 samples.
struct column_moves : testing::Test {
  column_moves() : study({.samples = old_samples}) {
    for (const char* name : {"A[xxxxx]", "B[xxxxx]"})
      paths.push_back(study.add_macro(name, 8, old_data(), {1, 2}));
    whole = tree();
  }

  static std::string old_data() { return "abcdABCD" + std::string(1016, '\xFF'); }
  static std::string new_data() { return "abcd\xFF\xFF\xFF" + ("ABCD" + std::string(1013, '\xFF')); }

  tree_image tree() const { return image_of(study.file_path()); }

  // A server that is killed in the middle.
  void in_killed_server(const std::function<void(column_move&)>& act) {
    const pid_t child = fork_for_test();
    if (child == 0) {
      const folder_lock lock(study.file_path().c_str());
      auto* move = new column_move(study.file_path().c_str(), old_samples, samples);
      if (!move->reserve()) _exit(2);
      for (const std::string& path : paths)
        if (!move->lay_out(path.c_str(), {8, 2, old_samples, samples, 1024, 0})) _exit(3);
      act(*move);
      _exit(0);
    }
    expect_success(child);
  }

  std::string working_file(const std::string& path, char purpose) const {
    for (const auto& entry : fs::directory_iterator(path))
      if (entry.path().filename().string().starts_with(std::string{purpose} + "_")) return entry.path();
    return "";
  }

  sample_study study;
  strings paths;
  tree_image whole;
};

TEST_F(column_moves, a_killed_growth_is_undone) {
  const std::function<void(column_move&)> begin = [](column_move& move) {
    if (!move.begin()) _exit(4);
  };
  in_killed_server(begin);
  ASSERT_EQ(read_file(paths[0] + "/DATAVAR"), new_data());
  EXPECT_TRUE(qd_settle_columns(study.file_path().c_str()));
  EXPECT_TRUE(tree() == whole);
  EXPECT_TRUE(qd_settle_columns(study.file_path().c_str())) << "nothing to do";

  // Killed before the second variable; before its new layout took the place; before anything moved.
  in_killed_server(begin);
  fs::rename(paths[1] + "/DATAVAR", fs::path(working_file(paths[1], 'K')).replace_filename("X"));
  fs::rename(working_file(paths[1], 'K'), paths[1] + "/DATAVAR");
  const std::string token = fs::path(working_file(paths[0], 'K')).filename().string().substr(1);
  fs::rename(paths[1] + "/X", paths[1] + "/G" + token);
  fs::create_hard_link(paths[1] + "/DATAVAR", paths[1] + "/K" + token);
  EXPECT_TRUE(qd_settle_columns(study.file_path().c_str()));
  EXPECT_TRUE(tree() == whole);
}

TEST_F(column_moves, a_growth_killed_behind_its_count_is_finished) {
  in_killed_server([this](column_move& move) {
    if (!move.begin()) _exit(4);
    study.set_shape({.samples = samples});
  });
  EXPECT_TRUE(qd_settle_columns(study.file_path().c_str()));
  auto expected = whole;
  for (const char* name : {"VARI.1", "VARI.2"}) expected[name + std::string("/DATAVAR")] = new_data();
  expected["DESCR"] = sample_study::descriptor_of({.samples = samples});
  EXPECT_TRUE(tree() == expected);
}

TEST_F(column_moves, layouts_without_a_journal_are_tidied_up) {
  in_killed_server([](column_move&) {});
  EXPECT_NE(working_file(paths[0], 'G'), "");
  EXPECT_TRUE(qd_settle_columns(study.file_path().c_str()));
  ASSERT_TRUE(qd_append_sample("Dir", "File", 3));
  EXPECT_EQ(working_file(paths[0], 'G') + working_file(paths[0], 'K'), "");
  EXPECT_EQ(read_file(paths[0] + "/DATAVAR"), new_data());
  EXPECT_FALSE(fs::exists(study.file_path() + "/GROWTH"));
}

TEST_F(column_moves, a_journal_that_cannot_be_used_is_a_refusal) {
  const std::string journal = study.file_path() + "/GROWTH";
  const std::string rows[] = {
      "",
      bytes().i32(1100).i64(4, 7).text("T").i32(0x7FFFFFFE).str(),
      bytes().i32(1100).i64(4, 7).text(std::string(40, 'T')).i32(0).str(),
      bytes().i32(1100).i64(99, 100).text("T").i32(0).str(),
  };
  for (const std::string& row : rows) {
    write_file(journal, row);
    const std::string console = console_of([this] {
      EXPECT_FALSE(qd_settle_columns(study.file_path().c_str()));
      EXPECT_FALSE(qd_append_sample("Dir", "File", 3));
    });
    EXPECT_HAS(console, "cannot be undone: see its file GROWTH");
    EXPECT_EQ(read_file(journal), row);
  }
  fs::remove(journal);
  EXPECT_TRUE(tree() == whole);
}

// The values of the second column of a variable, as a request reads them; empty if it is refused.
std::string second_column(const char* name) {
  selected_variable variable;
  if (!qd_variable_select("Dir", "File", name, UNIT_NONE, variable.handle)) return "";
  io_record io;
  io.id = qd_set_io({}, 1, &variable.handle);
  const std::int64_t last = qd_entry(variable.handle.entry)->sample_count;
  std::vector<double> values(static_cast<std::size_t>(last));
  std::int64_t count = 0;
  if (!read_numbers(io.id, SEL_MASKED, 1, last, &count, values)) return "";
  std::string text;
  for (double value : values) text += value == missing_double ? '.' : static_cast<char>(value);
  return text;
}

TEST_F(column_moves, a_reader_undoes_what_a_killed_growth_has_begun) {
  in_killed_server([](column_move& move) {
    if (!move.begin()) _exit(4);
  });
  EXPECT_EQ(second_column("B[2]"), "ABCD");
  EXPECT_TRUE(tree() == whole);
}

bool write_second(const char* name, double value) {
  selected_variable variable;
  if (!qd_variable_select("Dir", "File", name, UNIT_NONE, variable.handle)) return false;
  io_record io;
  io.id = qd_set_io({}, 1, &variable.handle);
  return qd_write_float_free(io.id, SEL_MASKED, 2, 2, std::array{value});
}

// One server lets the file grow, one reads, one writes: each right at every moment.
TEST_F(column_moves, others_read_and_write_while_columns_move) {
  constexpr int growths = 60;
  const auto server = [](const std::function<bool()>& round) {
    const pid_t child = fork_for_test();
    if (child != 0) return child;
    for (;;) {
      qd_file_record file;
      path_text path;
      if (!round()) _exit(1);
      if (qd_find_file("Dir", "File", path, file) == found::yes && file.sample_count >= 4 + growths) _exit(0);
    }
  };
  int value = 0;
  const pid_t servers[] = {server([] {
                             const std::string read = second_column("B[2]");
                             return read.empty() || read == "ABCD" + std::string(read.size() - 4, '.');
                           }),
                           server([&value] {
                             value = (value + 1) % 100;
                             if (!write_second("A[2]", 100 + value)) return true;
                             std::string read;
                             for (int i = 0; i < 50 && read.empty(); ++i) read = second_column("A[2]");
                             return read.empty() || read[1] == static_cast<char>(100 + value);
                           })};
  for (int i = 0; i < growths; ++i) EXPECT_TRUE(qd_append_sample("Dir", "File", 1));
  for (const pid_t each : servers) expect_success(each);
  EXPECT_EQ(second_column("B[2]"), "ABCD" + std::string(growths, '.'));
}

}  // namespace
}  // namespace qrd::test

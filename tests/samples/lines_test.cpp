#include "catalogue/qd_lines.h"
#include "edit/qd_append.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

TEST(lines, a_table_is_read_and_checked) {
  temporary_directory folder;
  qd_file_record record;
  record.line_count = 3;
  record.sample_count = 9;
  std::vector<std::int64_t> offsets;
  record.dimension = 2;
  auto read = [&](const std::string& content) {
    write_file(folder / "LINE", content);
    write_file(folder / "DESCR", "");  // can't tell that the file has changed
    return qd_line_table_read(folder.path().c_str(), record, offsets);
  };
  EXPECT_TRUE(read(line_table({1, 4, 6, 10})));
  EXPECT_EQ(offsets, (std::vector<std::int64_t>{1, 4, 6, 10}));
  EXPECT_TRUE(read(line_table({1, 4, 4, 10, 77}))) << "an empty line, bytes behind";
  const std::vector<std::int64_t> wrong[] = {{1, 4, 6, 9},  {1, 4, 6, 11},  {2, 4, 6, 10}, {0, 4, 6, 10},
                                             {1, 6, 4, 10}, {1, 4, 11, 10}, {1, 4, 10},    {}};
  for (const auto& entries : wrong) {
    EXPECT_FALSE(read(line_table(entries)));
    EXPECT_TRUE(offsets.empty());
  }
  for (std::int64_t lines : {INT64_MAX, std::int64_t{1} << 60, std::int64_t{-1}}) {
    record.line_count = lines;
    EXPECT_FALSE(read(line_table({1, 4, 6, 10}))) << lines;
  }
  fs::remove(folder / "LINE");
  EXPECT_FALSE(qd_line_table_read(folder.path().c_str(), record, offsets));
}

// Every range of a table with empty lines, from the entries around it alone.
TEST(lines, a_part_of_a_table_is_found_and_checked) {
  temporary_directory folder;
  const std::string file = folder.path();
  const std::vector<std::int64_t> whole = {1, 1, 4, 4, 4, 6, 7, 12, 12};
  qd_file_record record;
  record.line_count = 8;
  record.sample_count = 11;
  write_file(folder / "LINE", line_table(whole));
  write_file(folder / "DESCR", "");
  line_table_part part;
  for (std::int64_t first = 1; first <= 11; ++first)
    for (std::int64_t last = first; last <= 11; ++last) {
      ASSERT_TRUE(qd_line_table_read_around(file.c_str(), record, first, last, part));
      const auto begin = static_cast<std::size_t>(part.begin);
      ASSERT_LE(begin + part.offsets.size(), whole.size());
      EXPECT_TRUE(std::equal(part.offsets.begin(), part.offsets.end(), whole.begin() + part.begin));
      EXPECT_LE(part.offsets.front(), first);
      EXPECT_GT(part.offsets[1], first);
      EXPECT_GT(part.offsets.back(), last);
    }
  std::int64_t first = 0, last = 0;
  for (std::int64_t line = 1; line <= 8; ++line) {
    ASSERT_TRUE(qd_line_table_read_line(file.c_str(), record, line, first, last));
    EXPECT_EQ(first, whole[static_cast<std::size_t>(line - 1)]);
    EXPECT_EQ(last, whole[static_cast<std::size_t>(line)] - 1);
  }

  // Damage where it is read is seen: another order, a sample that the file doesn't have, other ends.
  const auto is_refused = [&](const std::vector<std::int64_t>& entries, std::int64_t line) {
    write_file(folder / "LINE", line_table(entries));
    return !qd_line_table_read_line(file.c_str(), record, line, first, last);
  };
  EXPECT_TRUE(is_refused({1, 1, 4, 3, 4, 6, 7, 12, 12}, 3));
  EXPECT_TRUE(is_refused({1, 1, 4, 4, 4, 6, 13, 12, 12}, 6));
  EXPECT_TRUE(is_refused({1, -5, 4, 4, 4, 6, 7, 12, 12}, 2));
  EXPECT_TRUE(is_refused({2, 2, 4, 4, 4, 6, 7, 12, 12}, 5));
  EXPECT_TRUE(is_refused({1, 1, 4, 4, 4, 6, 7, 12, 11}, 5));
  EXPECT_TRUE(is_refused({1, 1, 4, 4, 4, 6, 7, 12}, 5));
  EXPECT_TRUE(is_refused({1, 1, 4, 4, 4, 6, 7, 12, INT64_MIN}, 5));
  write_file(folder / "LINE", line_table({1, INT64_MIN, 4, 4, 4, 6, 7, 12, 12}));
  EXPECT_FALSE(qd_line_table_read_around(file.c_str(), record, 2, 3, part));
  write_file(folder / "LINE", line_table({1, 1, 4, 4, 9, 6, 7, 12, 12}));
  EXPECT_FALSE(qd_line_table_read_around(file.c_str(), record, 5, 9, part));
  EXPECT_TRUE(qd_line_table_read_around(file.c_str(), record, 10, 11, part));
}

TEST(lines, lengths_need_a_lines_file_with_its_table) {
  std::vector<std::int64_t> counts;
  sample_study study({.samples = 5, .organisation = ORG_LINES_CORES, .line_table = {1, 4, 6}});
  const std::string table = study.file_path() + "/LINE";
  ASSERT_EQ(qd_samples_per_line("Dir", "File", counts), found::yes);
  EXPECT_EQ(counts, (std::vector<std::int64_t>{3, 2}));
  write_file(table, line_table({1, 4, 7}));
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_samples_per_line("Dir", "File", counts), found::no); }),
            "Line descriptor corrupted:\n" + table + "\n");
  EXPECT_TRUE(counts.empty());
  fs::remove(table);
  EXPECT_EQ(qd_samples_per_line("Dir", "File", counts), found::no);
  study.set_shape({.samples = 5});
  EXPECT_EQ(qd_samples_per_line("Dir", "File", counts), found::no);
  EXPECT_EQ(qd_samples_per_line("Dir", "Other", counts), found::no);
}

}  // namespace
}  // namespace qrd::test

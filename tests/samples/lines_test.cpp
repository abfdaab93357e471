#include <gtest/gtest.h>

#include <filesystem>

#include "catalogue/qd_comment.h"
#include "catalogue/qd_lines.h"
#include "catalogue/qd_path.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_directory_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_grid.h"
#include "disk/qd_line_table.h"
#include "disk/qd_variable_descriptor.h"
#include "edit/qd_append.h"
#include "edit/qd_line_name.h"
#include "edit/qd_link.h"
#include "support/console.h"
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
  std::filesystem::remove(folder / "LINE");
  EXPECT_FALSE(qd_line_table_read(folder.path().c_str(), record, offsets));
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
  std::filesystem::remove(table);
  EXPECT_EQ(qd_samples_per_line("Dir", "File", counts), found::no);
  study.set_shape({.samples = 5});
  EXPECT_EQ(qd_samples_per_line("Dir", "File", counts), found::no);
  EXPECT_EQ(qd_samples_per_line("Dir", "Other", counts), found::no);
}

}  // namespace
}  // namespace qrd::test

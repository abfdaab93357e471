#include "disk/qd_data_file.h"

#include "support/test.h"

namespace qrd::test {
namespace {

TEST(data_file, items_of_16_bits_are_turned_to_file_order) {
  temporary_directory directory;
  const std::string path = directory / "DATAVAR";
  write_file(path, "");
  const std::uint16_t items[2] = {0x0102, 0xFFFE};
  ASSERT_TRUE(st_file_concat(path.c_str(), items, sizeof items, 3, 16));
  EXPECT_EQ(read_file(path), bytes().u16(0x0102).u16(0xFFFE).u16(0x0102).u16(0xFFFE).u16(0x0102).u16(0xFFFE));
}

TEST(data_file, more_than_the_disk_can_take_is_refused_before_anything_is_written) {
  temporary_directory directory;
  const std::string path = directory / "DATAVAR";
  write_file(path, "old");
  const auto written = fs::last_write_time(path);
  const std::string block(4096, 'x');
  for (std::int64_t repeats : {std::int64_t{1} << 48, std::int64_t{1} << 60}) {
    EXPECT_FALSE(st_file_concat(path.c_str(), block.data(), 4096, repeats, -1));
    EXPECT_EQ(read_file(path), "old");
    EXPECT_EQ(fs::last_write_time(path), written) << "it was longer for a moment";
  }
}

}  // namespace
}  // namespace qrd::test

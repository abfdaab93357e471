#include "samples/qd_data_file.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "support/bytes.h"
#include "support/temporary_directory.h"

namespace qrd::test {
namespace {

TEST(data_file, stored_length_and_place_of_a_range) {
  EXPECT_EQ(_qd_file_byte_count(1, 10, 4), 5);
  EXPECT_EQ(_qd_file_byte_count(2, 3, 4), 2);
  EXPECT_EQ(_qd_file_byte_count(8, 9, 1), 2);
  EXPECT_EQ(_qd_file_byte_count(9, 16, 1), 1);
  EXPECT_EQ(_qd_file_byte_count(4, 5, 2), 2);
  EXPECT_EQ(_qd_file_byte_count(3, 7, 8), 5);
  EXPECT_EQ(_qd_file_byte_count(3, 7, 64), 40);
  EXPECT_EQ(_qd_file_byte_count(1, 3, 40), 15);  // text of 5 characters
  EXPECT_EQ(qd_sample_offset(9, 1), 1);
  EXPECT_EQ(qd_sample_offset(8, 2), 1);
  EXPECT_EQ(qd_sample_offset(3, 32), 8);
  EXPECT_EQ(qd_sample_offset(3, 40), 10);
}

// The bytes of one block of 512 samples, as the table of the format has them.
std::string expected_fill(std::int64_t bit_length, bool text) {
  auto length = static_cast<std::size_t>(64 * bit_length);
  if (text) return std::string(length, ' ');
  if (bit_length == 2) return std::string(length, '\x9F');
  bytes items;
  for (int i = 0; i < 512 && bit_length == 32; ++i) items.i32(0x7EB9BF36);
  for (int i = 0; i < 512 && bit_length == 64; ++i) items.i64(0x7FE5F98E6BDA7FBC);
  return bit_length >= 32 ? items.str() : std::string(length, '\xFF');
}

TEST(data_file, fill_is_appended_block_by_block) {
  temporary_directory directory;
  const std::string path = directory / "DATAVAR";
  struct {
    std::int64_t bit_length;
    bool text;
    std::int64_t repeats;
  } const rows[] = {{1, false, 3},  {2, false, 1},   {4, false, 2},  {8, false, 5},
                    {16, false, 2}, {32, false, 3},  {64, false, 2}, {40, true, 2},
                    {8, true, 1},   {64, false, 700} /* more than one piece of a write */};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.bit_length));
    write_file(path, "old");
    checked_array<unsigned char> block;
    ASSERT_TRUE(qd_fill_block(row.bit_length, row.text, block));
    ASSERT_EQ(st_file_concat(path.c_str(), block.data(), block.count(), row.repeats,
                             row.text ? -1 : row.bit_length),
              1);
    std::string expected = "old";
    for (int i = 0; i < row.repeats; ++i) expected += expected_fill(row.bit_length, row.text);
    EXPECT_TRUE(read_file(path) == expected);
  }
}

TEST(data_file, items_of_16_bits_are_turned_to_file_order) {
  temporary_directory directory;
  const std::string path = directory / "DATAVAR";
  write_file(path, "");
  const std::uint16_t items[2] = {0x0102, 0xFFFE};
  ASSERT_EQ(st_file_concat(path.c_str(), items, sizeof items, 3, 16), 1);
  EXPECT_EQ(read_file(path),
            bytes().u16(0x0102).u16(0xFFFE).u16(0x0102).u16(0xFFFE).u16(0x0102).u16(0xFFFE).str());
}

TEST(data_file, a_compressed_form_is_put_back_before_it_grows) {
  temporary_directory directory;
  const std::string path = directory / "DATAVAR";
  gzFile archive = gzopen((path + ".gz").c_str(), "wb");
  gzwrite(archive, "kept", 4);
  gzclose(archive);
  ASSERT_EQ(st_file_concat(path.c_str(), "ab", 2, 2, -1), 1);
  EXPECT_EQ(read_file(path), "keptabab");
  EXPECT_FALSE(std::filesystem::exists(path + ".gz"));
}

TEST(data_file, more_than_the_disk_can_take_is_refused_before_anything_is_written) {
  temporary_directory directory;
  const std::string path = directory / "DATAVAR";
  write_file(path, "old");
  const std::string block(4096, 'x');
  for (std::int64_t repeats : {std::int64_t{1} << 48, std::int64_t{1} << 60}) {
    last_resource_failure = {};
    EXPECT_EQ(st_file_concat(path.c_str(), block.data(), 4096, repeats, -1), 0);
    EXPECT_EQ(last_resource_failure.kind, 2);
    EXPECT_EQ(last_resource_failure.path, path);
    EXPECT_NEAR(last_resource_failure.requested_megabytes, static_cast<double>(repeats) / 256, 1);
    EXPECT_EQ(read_file(path), "old");
  }
}

}  // namespace
}  // namespace qrd::test

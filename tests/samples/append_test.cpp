#include "catalogue/qd_lines.h"
#include "edit/qd_append.h"
#include "support/disk_room.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr int text_bits = 24;
const std::vector<int> numeric_bits = {1, 2, 4, 8, 16, 32, 64}, two_indices = {1, 2};

// The fill of 512 samples, as other programs know it.
std::string block_of(int bits, bool text = false) {
  if (bits == 32 && !text) return bytes().i32(std::vector<int>(512, 0x7EB9BF36));
  if (bits == 64) return bytes().i64(std::vector<std::int64_t>(512, 0x7FE5F98E6BDA7FBC));
  return std::string(static_cast<std::size_t>(64 * bits), text ? ' ' : bits == 2 ? '\x9F' : '\xFF');
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

TEST(append, data_files_grow_only_when_a_block_is_full) {
  sample_study study({.samples = 510});
  study.add_implicit("SN+ Sample Number (READONLY)", KIND_SAMPLE_NUMBER);
  struct stored_variable {
    std::string path, data, block;
  };
  std::vector<stored_variable> variables;
  const auto add = [&](int type, int bits, const std::string& block) {
    const std::string data = noise(block.size(), static_cast<unsigned>(bits));
    variables.push_back({study.add("V" + std::to_string(variables.size()), type, bits, data), data, block});
  };
  for (int bits : numeric_bits) add(VAR_FLOAT, bits, block_of(bits));
  add(VAR_CHAR, text_bits, block_of(text_bits, true));
  for (std::int64_t samples : {511, 512, 513, 1024, 1025}) {
    std::int64_t before = samples == 1024 ? 513 : samples - 1;
    ASSERT_TRUE(qd_append_sample("Dir", "File", samples - before));
    if (samples == 513 || samples == 1025)
      for (auto& variable : variables) variable.data += variable.block;
    for (const auto& variable : variables) ASSERT_EQ(read_file(variable.path + "/DATAVAR"), variable.data);
    std::string descriptor = read_file(study.file_path() + "/DESCR");
    EXPECT_EQ(descriptor, sample_study::descriptor_of({.samples = samples})) << samples;
  }
  EXPECT_EQ(read_file(study.file_path() + "/VARI.1/DATAVAR"), "");
}

// A growth that fails and changes nothing.
void expect_no_growth(const sample_study& study, const std::string& said, std::int64_t added = 1,
                      const char* name = "") {
  const tree_image before = image_of(study.file_path());
  EXPECT_HAS(console_of([&] { EXPECT_FALSE(qd_append_sample("Dir", "File", added)); }), said) << name;
  EXPECT_TRUE(image_of(study.file_path()) == before) << name;
}

TEST(append, a_compressed_data_file_is_put_back_first) {
  sample_study study({.samples = 512});
  std::string data = noise(512, 5), path = study.add("V", VAR_FLOAT, 8, "");
  gzip_file(path + "/DATAVAR", data);
  // A full disk is met before.
  expect_no_growth(study, "FILE SYSTEM FULL\n", std::int64_t{1} << 50);
  ASSERT_TRUE(qd_append_sample("Dir", "File", 1));
  EXPECT_EQ(read_file(path + "/DATAVAR"), data + std::string(512, '\xFF'));
}

TEST(append, each_append_to_a_lines_file_is_one_line) {
  sample_study study({.samples = 0, .organisation = ORG_LINES_GRAVITY, .line_table = {1}});
  std::string table = study.file_path() + "/LINE";
  for (const char* derived : {"/RPD", "/PTD"}) write_file(study.file_path() + derived, "computed");
  ASSERT_TRUE(qd_append_sample("Dir", "File", 3));
  // An append that was interrupted before the descriptor was written leaves an entry too many.
  write_file(table, read_file(table) + bytes().i64(99).str());
  ASSERT_TRUE(qd_append_sample("Dir", "File", 2));
  EXPECT_EQ(read_file(table), bytes().i64(1, 4, 6));
  EXPECT_EQ(read_file(study.file_path() + "/DESCR"),
            sample_study::descriptor_of(
                {.samples = 5, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 4, 6}}));
  EXPECT_EQ(names_in(study.file_path()), (strings{"DESCR", "LINE"}));
  std::vector<std::int64_t> counts;
  ASSERT_EQ(qd_samples_per_line("Dir", "File", counts), found::yes);
  EXPECT_EQ(counts, (std::vector<std::int64_t>{3, 2}));
}

// A value that every bit length but 1 can hold exactly and that tells where it came from.
double column_value(int bits, std::int64_t column, std::int64_t sample) {
  std::int64_t mark = (column * 5 + sample * 3 + sample / 7) % (bits == 1 ? 2 : bits == 2 ? 3 : 15);
  return static_cast<double>(mark);
}

std::string column_bits(int bits, std::int64_t columns, std::int64_t old_samples, std::int64_t samples) {
  std::string all;
  for (std::int64_t column = 0; column < columns; ++column)
    for (std::int64_t s = 1; s <= samples; ++s)
      all += stored_bits(s <= old_samples ? column_value(bits, column, s) : missing_double, bits);
  return all;
}

void check_macro_growth(int bits, std::int64_t old_samples, std::int64_t added) {
  constexpr int columns = 3;
  SCOPED_TRACE(testing::Message() << bits << " bits, " << old_samples << " samples and " << added);
  sample_study study({.samples = old_samples});
  auto blocks = static_cast<int>((old_samples + 511) / 512);
  auto new_blocks = static_cast<int>((old_samples + added + 511) / 512) - blocks;
  std::string data = repeated(noise(block_of(bits).size(), 3), blocks * columns);
  std::string head =
      from_bits(column_bits(bits, columns, old_samples, old_samples) +
                to_bits(data).substr(static_cast<std::size_t>(bits * columns * old_samples), 7));
  std::size_t whole = static_cast<std::size_t>(bits * columns * old_samples) / 8;
  data.replace(0, whole, head, 0, whole);
  if (bits * columns * old_samples % 8 != 0) data[whole] = head[whole];
  std::string path = study.add_macro("Grade[xxxxx]", bits, data, {5, 0, -7});

  ASSERT_TRUE(qd_append_sample("Dir", "File", added));
  std::string expected = to_bits(data + repeated(block_of(bits), new_blocks * columns));
  std::string moved = column_bits(bits, columns, old_samples, old_samples + added);
  expected.replace(0, moved.size(), moved);
  EXPECT_TRUE(read_file(path + "/DATAVAR") == from_bits(expected));
  EXPECT_EQ(read_file(path + "/MACRO"), bytes().i32(1100, 3, 5, 0, -7, 0));
}

TEST(append, macro_columns_move_to_their_new_distance) {
  for (int bits : numeric_bits)
    for (std::int64_t added : {1, 3, 8, 502, 503, 1500}) check_macro_growth(bits, 10, added);
  check_macro_growth(1, 40001, 5);
  check_macro_growth(4, 33000, 17000);
  check_macro_growth(16, 20000, 1);
}

TEST(append, a_selected_macro_column_stays_usable) {
  sample_study study({.samples = 4});
  std::string data = "abcdABCD" + std::string(1016, '\xFF');
  study.add_macro("Grade[xxxxx]", 8, data, {1, 2});
  bound column("Grade[2]");
  ASSERT_TRUE(qd_append_sample("Dir", "File", 1));
  double values[5];
  std::int64_t count = 0;
  ASSERT_TRUE(read_numbers(column.io(), SEL_MASKED, 1, 5, &count, values));
  EXPECT_EQ((std::vector<double>(values, values + 5)),
            (std::vector<double>{'A', 'B', 'C', 'D', missing_double}));
}

TEST(append, a_file_that_cannot_grow_stays_as_it_is) {
  const std::pair<const char*, std::function<void(sample_study&)>> damages[] = {
      {"line table missing", [](auto& s) { fs::remove(s.file_path() + "/LINE"); }},
      {"line table short", [](auto& s) { write_file(s.file_path() + "/LINE", bytes().i64(1)); }},
      {"descriptor damaged", [](auto& s) { write_file(s.file_path() + "/VARI.1/DESCR", "x"); }},
      {"no such bit length", [](auto& s) { s.add("Odd", VAR_FLOAT, 6, ""); }},
      {"text of broken characters", [](auto& s) { s.add("Odd", VAR_CHAR, 12, ""); }},
      {"macro cut short", [](auto& s) { s.add_macro("M[xxxxx]", 8, std::string(1023, '\1'), two_indices); }},
      {"macro without descriptor", [](auto& s) { s.add("M[xxxxx]", VAR_MACRO, 8, ""); }},
  };
  for (const auto& [name, damage] : damages) {
    sample_study study({.samples = 512, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 513}});
    study.add("V", VAR_FLOAT, 8, noise(512, 1));
    damage(study);
    expect_no_growth(study, "CANNOT APPEND SAMPLES.\n", 1, name);
  }
}

TEST(append, sizes_beyond_64_bits_are_refused) {
  sample_study study({.samples = 512});
  study.add("V", VAR_FLOAT, 64, noise(4096, 1));
  expect_no_growth(study, "CANNOT APPEND SAMPLES.\n", INT64_MAX - 600);
  expect_no_growth(study, "CANNOT APPEND SAMPLES. FILE WOULD BE TOO BIG.\n", INT64_MAX / 4);
  // No file system has that much room.
  expect_no_growth(study, "WARNING: ERROR DURING SAMPLES CREATION, FILE SYSTEM FULL\n",
                   std::int64_t{1} << 55);
  // Nor does a file grow whose capacity is damaged.
  const file_fields damaged = {.name = "File", .samples = std::int64_t{1} << 50, .allocated = 512};
  write_file(study.file_path() + "/DESCR", damaged.bytes_of());
  expect_no_growth(study, "WARNING: THE CAPACITY IN THE DESCRIPTOR OF THE FILE IS DAMAGED\n");
}

// Variables of all kinds in a lines file whose next sample needs a block more.
TEST(append, a_failure_leaves_the_file_as_it_was) {
  sample_study study({.samples = 512, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 513}});
  study.add("Small", VAR_FLOAT, 8, noise(512, 1));
  study.add_macro("Grade[xxxxx]", 16, noise(3 * 1024, 2), {5, 0, -7});
  study.add("Large", VAR_FLOAT, 64, noise(4096, 3));
  const tree_image before = image_of(study.file_path());
  // The disk takes less and less: the large variable, the columns, the small variable.
  for (rlim_t limit : {6000U, 5000U, 2000U, 600U}) {
    bound selected("Large");
    const file_size_limit disk(limit);
    expect_no_growth(study, "FILE SYSTEM FULL\n");
    EXPECT_EQ(qd_entry(selected.handle().entry)->sample_count, 512);
  }
  EXPECT_FALSE(qd_append_sample("Dir", "File", 1, [](std::int64_t, std::int64_t) { return false; }));
  EXPECT_TRUE(image_of(study.file_path()) == before) << "no values for the new samples";

  ASSERT_TRUE(qd_append_sample("Dir", "File", 1));
  EXPECT_EQ(read_file(study.file_path() + "/VARI.3/DATAVAR"), noise(4096, 3) + block_of(64));
  EXPECT_EQ(read_file(study.file_path() + "/LINE"), bytes().i64(1, 513, 514));
}

// The file that grows is no longer what it was: a program that knows no lock has changed it.
TEST(append, a_file_that_changes_meanwhile_keeps_its_records) {
  const file_fields renamed = {.name = "Other", .samples = 512, .allocated = 512};
  for (const std::string& changed : {sample_study::descriptor_of({.samples = 600}), renamed.bytes_of()}) {
    sample_study study({.samples = 512});
    study.add("V", VAR_FLOAT, 8, noise(512, 1));
    const std::string console = console_of([&] {
      const auto change = [&](std::int64_t, std::int64_t) {
        write_file(study.file_path() + "/DESCR", changed);
        return true;
      };
      EXPECT_FALSE(qd_append_sample("Dir", "File", 1, change));
    });
    EXPECT_HAS(console, "THE FILE IS NO MORE, OR HAS CHANGED");
    EXPECT_EQ(read_file(study.file_path() + "/DESCR"), changed);
  }
}

// What a growth may need: the block of the descriptor, and for each data file what it gets with a block on
// either side; columns are laid out anew beside.
TEST(append, there_must_be_room_for_the_last_block_too) {
  sample_study study({.samples = 512});
  study.add("V", VAR_FLOAT, 8, noise(512, 1));
  study.add_macro("M[xxxxx]", 8, noise(1024, 2), {1, 2});
  constexpr std::int64_t needed = 4096 + (4096 + 512 + 4096) + (4096 + 1024 + 4096 + 1024 + 4096);
  {
    const disk_room room(needed - 1);
    expect_no_growth(study, "");
  }
  const disk_room room(needed);
  EXPECT_TRUE(qd_append_sample("Dir", "File", 1));
}

TEST(append, what_a_killed_growth_has_left_is_written_over) {
  sample_study study({.samples = 512});
  const std::string path = study.add("V", VAR_FLOAT, 64, noise(4096, 3) + block_of(64).substr(0, 1003));
  ASSERT_TRUE(qd_append_sample("Dir", "File", 1));
  EXPECT_EQ(read_file(path + "/DATAVAR"), noise(4096, 3) + block_of(64));
}

// Another server may have put it in the place of the file that its caller has tested.
TEST(append, refuses_a_grid) {
  sample_study study({6, ORG_GRID, 2, {}, {10, 20, 77}, {1, 2, 88}, {0, 0, 0}, {3, 2, 99}});
  const tree_image before = image_of(study.file_path());
  EXPECT_FALSE(qd_append_sample("Dir", "File", 1));
  EXPECT_TRUE(image_of(study.file_path()) == before);
}

}  // namespace
}  // namespace qrd::test

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "disk/qd_macro_table.h"
#include "edit/qd_macro_create.h"
#include "samples/qd_macro_indices.h"
#include "support/console.h"
#include "support/file_size_limit.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr char macro[] = "Grade[xxxxx]";

macro_growth add(const std::vector<std::int64_t>& indices) {
  return qd_create_macro_variable_indices("Dir", "File", macro, static_cast<std::int64_t>(indices.size()),
                                          indices.data(), nullptr);
}
macro_growth add(const std::vector<std::int64_t>& indices, const std::vector<const char*>& texts) {
  return qd_create_macro_variable_indices("Dir", "File", macro, static_cast<std::int64_t>(indices.size()),
                                          indices.data(), texts.data());
}

// A file of 600 samples in 1024 with one macro variable of 16 bits.
class macro_columns : public testing::Test {
 protected:
  static constexpr std::size_t column_bytes = 2048;
  macro_columns() : study({.samples = 600}) {}
  void make(const std::vector<int>& indices, const std::vector<std::string>& texts = {}) {
    data = noise(column_bytes * indices.size(), 9);
    path = study.add_macro(macro, 16, data, indices, texts);
  }
  void expect(const std::vector<int>& indices, const std::vector<std::string>& texts = {}) {
    std::string new_columns(column_bytes * indices.size() - data.size(), '\xFF');
    EXPECT_EQ(read_file(path + "/MACRO"), macro_bytes(indices, texts));
    EXPECT_TRUE(read_file(path + "/DATAVAR") == data + new_columns);
  }
  sample_study study;
  std::string data, path;
};

TEST_F(macro_columns, free_slots_are_taken_before_new_ones) {
  make({0});
  EXPECT_EQ(add({5, 3}), macro_growth::done);
  expect({5, 3});
  EXPECT_EQ(add({3, 5}), macro_growth::done) << "nothing to do";
  expect({5, 3});
  EXPECT_EQ(add({3, 8, 5, 99999}), macro_growth::done);
  expect({5, 3, 8, 99999});
}

TEST_F(macro_columns, a_retired_index_takes_its_slot_back) {
  make({4, -7, 0, 9, 0});
  EXPECT_EQ(add({7, 1}), macro_growth::done);
  expect({4, 7, 1, 9, 0});
  EXPECT_EQ(add({2, 6, 10}), macro_growth::done);
  expect({4, 7, 1, 9, 2, 6, 10});
}

TEST_F(macro_columns, a_valid_index_stands_before_its_retired_twin) {
  for (const std::vector<int>& twins : {std::vector<int>{-5, 5}, {5, -5}}) {
    make(twins);
    EXPECT_EQ(add({5}), macro_growth::done) << "nothing to do";
    expect(twins);
    EXPECT_EQ(add({5, 6}), macro_growth::done);
    expect({twins[0], twins[1], 6});
    std::filesystem::remove_all(path);
  }
}

TEST_F(macro_columns, old_indices_get_their_number_as_text) {
  make({4, -7});
  EXPECT_EQ(add({5}, {"gold"}), macro_growth::done);
  expect({4, -7, 5}, {"4", "7", "gold"});
  EXPECT_EQ(add({4, 9}), macro_growth::done) << "without texts";
  expect({4, -7, 5, 9}, {"4", "7", "gold", "9"});
  EXPECT_EQ(add({5, 7}), macro_growth::done) << "a present one keeps its text, a retaken one gets its number";
  expect({4, 7, 5, 9}, {"4", "7", "gold", "9"});
  EXPECT_EQ(add({5, 9, 11}, {"gold", "9", "lead"}), macro_growth::done);
  expect({4, 7, 5, 9, 11}, {"4", "7", "gold", "9", "lead"});
}

TEST_F(macro_columns, texts_for_present_indices_of_a_macro_without_texts) {
  make({4, 6});
  EXPECT_EQ(add({6, 4}, {"six", "four"}), macro_growth::done);
  expect({4, 6}, {"four", "six"});
}

TEST_F(macro_columns, a_refused_text_changes_nothing) {
  make({4, 6}, {"four", "six"});
  std::string console = console_of([] {
    EXPECT_EQ(add({8}, {"six"}), macro_growth::refused);
    EXPECT_EQ(add({8}, {"None"}), macro_growth::refused);
    EXPECT_EQ(add({8}, {"a]b"}), macro_growth::refused);
    EXPECT_EQ(add({8, 9}, {"x", "x"}), macro_growth::refused);
  });
  EXPECT_NE(console.find("Indice named six in macro Grade[xxxxx] already exists\n"), std::string::npos);
  EXPECT_NE(console.find("Indice named x in macro Grade[xxxxx] already exists\n"), std::string::npos);
  expect({4, 6}, {"four", "six"});
}

TEST_F(macro_columns, a_text_is_kept_to_its_first_49_characters) {
  make({0});
  std::string longer = std::string(49, 'a') + "rest";
  EXPECT_EQ(add({5}, {longer.c_str()}), macro_growth::done);
  expect({5}, {std::string(49, 'a')});
  EXPECT_EQ(add({5}, {longer.c_str()}), macro_growth::done) << "the same again";
  expect({5}, {std::string(49, 'a')});
}

TEST(macro_create_forms, a_file_without_capacity_gets_only_the_descriptor) {
  sample_study study({.samples = 0});
  std::string path = study.add_macro(macro, 8, "", {0});
  EXPECT_EQ(add({1, 2, 3}), macro_growth::done);
  EXPECT_EQ(read_file(path + "/MACRO"), macro_bytes({1, 2, 3}));
  EXPECT_EQ(read_file(path + "/DATAVAR"), "");
}

TEST_F(macro_columns, a_failed_write_leaves_the_variable_as_it_was) {
  make({4});
  const std::string console = console_of([] {
    file_size_limit disk(column_bytes + 100);
    EXPECT_EQ(add({5}), macro_growth::refused);
  });
  EXPECT_NE(console.find("WARNING: ERROR DURING VARIABLE CREATION, FILE SYSTEM FULL\n"), std::string::npos);
  expect({4});
  // No place for the descriptor.
  std::filesystem::rename(path + "/MACRO", path + "/KEPT");
  std::filesystem::create_symlink("KEPT", path + "/MACRO");
  std::filesystem::permissions(path + "/KEPT", std::filesystem::perms::owner_read);
  if (geteuid() != 0) console_of([] { EXPECT_EQ(add({5}), macro_growth::refused); });
  EXPECT_TRUE(read_file(path + "/DATAVAR") == data);
  EXPECT_EQ(read_file(path + "/KEPT"), macro_bytes({4}));
}

TEST_F(macro_columns, what_a_killed_creation_has_left_is_written_over) {
  make({4});
  write_file(path + "/DATAVAR", data + std::string(777, 'x'));
  EXPECT_EQ(add({5}), macro_growth::done);
  expect({4, 5});
}

TEST_F(macro_columns, a_descriptor_that_cannot_be_read_is_a_refusal) {
  make({4});
  for (const char* damage : {"damaged", ""}) {
    write_file(path + "/MACRO", damage);
    console_of([] { EXPECT_EQ(add({5}), macro_growth::gone); });
    EXPECT_TRUE(read_file(path + "/DATAVAR") == data);
  }
  std::filesystem::remove(path + "/MACRO");
  console_of([] { EXPECT_EQ(add({5}), macro_growth::gone); });
  EXPECT_FALSE(std::filesystem::exists(path + "/MACRO"));
}

TEST_F(macro_columns, a_damaged_capacity_is_named) {
  make({4});
  file_fields fields = {.name = "File", .organisation = ORG_POINTS, .dimension = 3};
  fields.samples = 600;
  fields.allocated = std::int64_t{1} << 60;
  write_file(study.file_path() + "/DESCR", fields.bytes_of());
  const std::string console = console_of([] { EXPECT_EQ(add({5}), macro_growth::refused); });
  EXPECT_NE(console.find("WARNING: THE CAPACITY IN THE DESCRIPTOR OF THE FILE IS DAMAGED\n"),
            std::string::npos)
      << console;
  expect({4});
}

TEST_F(macro_columns, wrong_arguments_are_fatal) {
  make({4}, {"four"});
  study.add("Plain", VAR_FLOAT, 16, std::string(2048, '\1'));
  EXPECT_FATAL(static_cast<void>(add({-4})), "Bad Indice");
  EXPECT_FATAL(static_cast<void>(add({4}, {"vier"})),
               "qd_create_macro_variable_indices : trying to create an existing numerical index \\(4\\) with "
               "different alpha index \\(four != vier\\)");
  const std::int64_t one = 1;
  EXPECT_FATAL(static_cast<void>(qd_create_macro_variable_indices("Dir", "File", "Plain", 1, &one, nullptr)),
               "Not a Macro Var");
  // What another server may have deleted since the caller's test.
  EXPECT_EQ(qd_create_macro_variable_indices("Dir", "File", "Gone", 1, &one, nullptr), macro_growth::gone);
  EXPECT_EQ(qd_create_macro_variable_indices("Dir", "Gone", "Gone", 1, &one, nullptr), macro_growth::gone);
  bound selected("Grade[4]");
  EXPECT_FATAL(static_cast<void>(add({5})),
               "qd_create_macro_variable_indices: Macro Variable already selected");
  expect({4}, {"four"});
}

}  // namespace
}  // namespace qrd::test

#include "disk/qd_macro_table.h"
#include "edit/qd_macro_create.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr char macro[] = "Grade[xxxxx]";

macro_growth add(const std::vector<std::int64_t>& indices, const std::vector<const char*>& texts = {}) {
  return qd_create_macro_variable_indices("Dir", "File", macro, static_cast<std::int64_t>(indices.size()),
                                          indices.data(), texts.empty() ? nullptr : texts.data());
}

// A file of 600 samples in 1024 with one macro variable of 16 bits.
struct macro_columns : testing::Test {
  static constexpr std::size_t column_bytes = 2048;
  macro_columns() : study({.samples = 600}) {}
  void make(const std::vector<int>& indices, const strings& texts = {}) {
    data = noise(column_bytes * indices.size(), 9);
    path = study.add_macro(macro, 16, data, indices, texts);
  }
  void expect(const std::vector<int>& indices, const strings& texts = {}) {
    std::string new_columns(column_bytes * indices.size() - data.size(), '\xFF');
    EXPECT_EQ(read_file(path + "/MACRO"), macro_bytes(indices, texts));
    EXPECT_TRUE(read_file(path + "/DATAVAR") == data + new_columns);
  }
  sample_study study;
  std::string data, path;
};

TEST_F(macro_columns, have_places_and_texts) {
  struct growth {
    std::vector<std::int64_t> indices;
    std::vector<const char*> texts;
    std::vector<int> expected;
    strings expected_texts;
  };
  const struct {
    const char* what;
    std::vector<int> before;
    std::vector<growth> growths;
  } rows[] = {
      {"Free slots are taken before new ones.",
       {0},
       {{{5, 3}, {}, {5, 3}, {}}, {{3, 5}, {}, {5, 3}, {}}, {{3, 8, 5, 99999}, {}, {5, 3, 8, 99999}, {}}}},
      {"A retired index takes its slot back.",
       {4, -7, 0, 9, 0},
       {{{7, 1}, {}, {4, 7, 1, 9, 0}, {}}, {{2, 6, 10}, {}, {4, 7, 1, 9, 2, 6, 10}, {}}}},
      {"A valid index stands before its retired twin.",
       {-5, 5},
       {{{5}, {}, {-5, 5}, {}}, {{5, 6}, {}, {-5, 5, 6}, {}}}},
      {"The twin behind it.", {5, -5}, {{{5}, {}, {5, -5}, {}}, {{5, 6}, {}, {5, -5, 6}, {}}}},
      {"Old indices get their number as text; a present one keeps its own, a retaken one gets its number.",
       {4, -7},
       {{{5}, {"gold"}, {4, -7, 5}, {"4", "7", "gold"}},
        {{4, 9}, {}, {4, -7, 5, 9}, {"4", "7", "gold", "9"}},
        {{5, 7}, {}, {4, 7, 5, 9}, {"4", "7", "gold", "9"}},
        {{5, 9, 11}, {"gold", "9", "lead"}, {4, 7, 5, 9, 11}, {"4", "7", "gold", "9", "lead"}}}},
      {"Texts for present indices.", {4, 6}, {{{6, 4}, {"six", "four"}, {4, 6}, {"four", "six"}}}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    make(row.before);
    for (const growth& each : row.growths) {
      EXPECT_EQ(add(each.indices, each.texts), macro_growth::done);
      expect(each.expected, each.expected_texts);
    }
    fs::remove_all(path);
  }
}

TEST_F(macro_columns, a_refused_text_changes_nothing) {
  make({4, 6}, {"four", "six"});
  std::string console = console_of([] {
    EXPECT_EQ(add({8}, {"six"}), macro_growth::refused);
    EXPECT_EQ(add({8}, {"None"}), macro_growth::refused);
    EXPECT_EQ(add({8}, {"a]b"}), macro_growth::refused);
    EXPECT_EQ(add({8, 9}, {"x", "x"}), macro_growth::refused);
  });
  EXPECT_HAS(console, "Indice named six in macro Grade[xxxxx] already exists\n");
  EXPECT_HAS(console, "Indice named x in macro Grade[xxxxx] already exists\n");
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
  EXPECT_HAS(console, "WARNING: ERROR DURING VARIABLE CREATION, FILE SYSTEM FULL\n");
  expect({4});
  // No place for the descriptor.
  fs::rename(path + "/MACRO", path + "/KEPT");
  fs::create_symlink("KEPT", path + "/MACRO");
  fs::permissions(path + "/KEPT", fs::perms::owner_read);
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
  fs::remove(path + "/MACRO");
  console_of([] { EXPECT_EQ(add({5}), macro_growth::gone); });
  EXPECT_FALSE(fs::exists(path + "/MACRO"));
}

TEST_F(macro_columns, a_damaged_capacity_is_named) {
  make({4});
  const file_fields fields = {.name = "File", .samples = 600, .allocated = std::int64_t{1} << 60};
  write_file(study.file_path() + "/DESCR", fields.bytes_of());
  const std::string console = console_of([] { EXPECT_EQ(add({5}), macro_growth::refused); });
  EXPECT_HAS(console, "WARNING: THE CAPACITY IN THE DESCRIPTOR OF THE FILE IS DAMAGED\n");
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
  // What another server may have replaced or deleted since the caller's test.
  EXPECT_EQ(qd_create_macro_variable_indices("Dir", "File", "Plain", 1, &one, nullptr), macro_growth::gone);
  EXPECT_EQ(qd_create_macro_variable_indices("Dir", "File", "Gone", 1, &one, nullptr), macro_growth::gone);
  EXPECT_EQ(qd_create_macro_variable_indices("Dir", "Gone", "Gone", 1, &one, nullptr), macro_growth::gone);
  bound selected("Grade[4]");
  EXPECT_FATAL(static_cast<void>(add({5})),
               "qd_create_macro_variable_indices: Macro Variable already selected");
  expect({4}, {"four"});
}

}  // namespace
}  // namespace qrd::test

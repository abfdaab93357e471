#include "disk/qd_macro_table.h"

#include "edit/qd_macro_create.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

using indices = std::vector<std::int64_t>;

TEST(macro_name, kind_and_number) {
  using form = index_form;
  const struct {
    index_form kind;
    std::map<std::string, std::int64_t> numbers;
  } rows[] = {
      {form::none, {{"Grade", 0}, {"[]", 0}, {"Grade12]", 0}, {"Grade{12]", 0}, {"Grade[12] ", 0}, {"", 0}}},
      {form::number,
       {{"Grade[12]", 12},
        {"Grade[00012]", 12},
        {"[1]", 1},
        {"a[1[22]", 22},
        {"Grade[99999]", 99999},
        {"Grade[100000]", 0},
        {"Grade[000012]", 0},
        {"Grade[0]", 0},
        {"Grade[-1]", 0},
        {"Grade[1a]", 0},
        {"Grade[]", 0},
        {"Grade[xxxx]", 0}}},
      {form::generic, {{"Grade[xxxxx]", -1}, {"Grade{xxxxx}", 0}}},
      {form::text, {{"Grade{gold}", 0}, {"{}}", 0}}}};
  for (const auto& row : rows)
    for (const auto& [name, number] : row.numbers) {
      EXPECT_EQ(qd_macro_name_kind(name.c_str()), row.kind) << name;
      EXPECT_EQ(qd_macro_name_indice(name.c_str()), number) << name;
    }
}

TEST(macro_name, generic_form) {
  const auto generic = [](const std::string& name) {
    name_text text;
    qu_path_join(text, {name});
    EXPECT_EQ(qd_macro_name_generic(text), name != "Grade");
    return std::string(text);
  };
  const std::string longest(42, 'n');
  // The last one has a character too many: the name is cut, and no object has it.
  for (const auto& [name, family] :
       std::map<std::string, std::string>{{"Grade", "Grade"},
                                          {"Grade{gold}", "Grade[xxxxx]"},
                                          {"a[1[22]", "a[1[xxxxx]"},
                                          {"Grade{xxxxx}", "Grade[xxxxx]"},
                                          {longest + "[1]", longest + "[xxxxx]"},
                                          {longest + "n[1]", longest + "n[xxxxx"}})
    EXPECT_EQ(generic(name), family);
  EXPECT_EXIT(generic(longest + "nn[1]"), testing::ExitedWithCode(1), "");
}

TEST(macro_name, alphanumerical_text) {
  for (const char* bad : {"a{", "}", "[", "x]", "xxxxx", "", "None"})
    EXPECT_FALSE(qd_macro_alpha_check(bad)) << bad;
  for (const char* good : {"gold", "none", "xxxx", " "}) EXPECT_TRUE(qd_macro_alpha_check(good)) << good;
}

TEST(macro_name, resolves_to_an_index) {
  qd_macro_descr descriptor;
  descriptor.indices = {5, 0, -7, 3};
  name_text alpha = "?";
  EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, "G[3]", &alpha), 3);
  EXPECT_STREQ(alpha, "");
  EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, "G{gold}", nullptr), 0);  // no texts
  for (const char* text : {"five", "", "seven", "three"}) descriptor.alpha_indices.add(text, name_size);
  EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, "G[3]", &alpha), 3);
  EXPECT_STREQ(alpha, "three");
  EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, "G{five}", nullptr), 5);
  EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, "G{xxxxx}", nullptr), -1);
  EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, "G[xxxxx]", nullptr), -1);
  // Unknown, of a retired slot, of a free slot, not a number.
  for (const char* name : {"G[4]", "G[7]", "G{seven}", "G{}", "G{Five}", "G[x]", "G"})
    EXPECT_EQ(qd_macro_name_alpha_indice(descriptor, name, nullptr), 0) << name;
}

struct macro_file : testing::Test {
  macro_descriptor read(const std::string& content) {
    write_file(directory_ / "MACRO", content);
    return macro_descriptor(qd_macro_descr_read(path().c_str()));
  }
  std::string path() const { return directory_.path().string(); }
  temporary_directory directory_;
};

TEST_F(macro_file, old_versions_have_no_texts) {
  for (int version : {200, 400, 419}) {
    macro_descriptor old = read(bytes().i32(version, 2, 8, 9).str());
    ASSERT_TRUE(old) << version;
    EXPECT_EQ(old->indices, (indices{8, 9}));
    EXPECT_EQ(old->alpha_indices.count(), 0);
  }
  macro_descriptor young = read(bytes().i32(420, 1, 8, 1).text("eight").str());
  ASSERT_TRUE(young);
  EXPECT_STREQ(young->alpha_indices[0], "eight");
}

TEST_F(macro_file, what_does_not_hold_is_corrupted) {
  for (const bytes& content :
       {bytes(), bytes().i32(199, 1, 8), bytes().i32(1100, -1, 0), bytes().i32(1100, 0x7FFFFFFE, 8, 0),
        bytes().i32(1100, 2, 8), bytes().i32(1100, 1, 100000, 0), bytes().i32(1100, 1, 8),
        bytes().i32(1100, 1, 8, 1).text(std::string(51, 'n')), bytes().i32(1100, 1, 8, 1, 4).raw("go"),
        bytes().i32(1100, 1, 8, 2).text("a").text("b")})
    EXPECT_EQ(console_of([&] { EXPECT_FALSE(read(content)); }),
              "Macro Variable Descriptor corrupted:\n" + path() + "\n\n");
  fs::remove(directory_ / "MACRO");
  object_state state = object_state::sound;
  EXPECT_EQ(qd_macro_descr_read(path().c_str(), &state), nullptr);
  EXPECT_EQ(state, object_state::gone);
}

}  // namespace
}  // namespace qrd::test

#include "disk/qd_macro_table.h"
#include "edit/qd_macro_create.h"
#include "samples/qd_macro_indices.h"

#include <gtest/gtest.h>

#include "catalogue/qd_comment.h"
#include "catalogue/qd_path.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_directory_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_grid.h"
#include "disk/qd_variable_descriptor.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

using indices = std::vector<std::int64_t>;

TEST(macro_name, kind_and_number) {
  using form = index_form;
  struct {
    const char* name;
    index_form kind;
    std::int64_t number;
  } const rows[] = {{"Grade", form::none, 0},
                    {"Grade[12]", form::number, 12},
                    {"Grade[xxxxx]", form::generic, -1},
                    {"Grade{xxxxx}", form::generic, 0},
                    {"Grade{gold}", form::text, 0},
                    {"Grade[99999]", form::number, 99999},
                    {"Grade[100000]", form::number, 0},
                    {"Grade[0]", form::number, 0},
                    {"Grade[-1]", form::number, 0},
                    {"Grade[1a]", form::number, 0},
                    {"Grade[]", form::number, 0},
                    {"[]", form::none, 0},
                    {"[1]", form::number, 1},
                    {"Grade12]", form::none, 0},
                    {"Grade{12]", form::none, 0},
                    {"Grade[xxxx]", form::number, 0},
                    {"a[1[22]", form::number, 22},
                    {"Grade[00012]", form::number, 12},
                    {"Grade[12] ", form::none, 0},
                    {"", form::none, 0},
                    {"{}}", form::text, 0},
                    {"Grade[000012]", form::number, 0}};
  for (const auto& row : rows) {
    EXPECT_EQ(qd_macro_name_kind(row.name), row.kind) << row.name;
    EXPECT_EQ(qd_macro_name_indice(row.name), row.number) << row.name;
  }
}

std::string generic(const std::string& name, bool* changed = nullptr) {
  name_text text;
  qu_path_join(text, {name});
  const bool result = qd_macro_name_generic(text);
  if (changed != nullptr) *changed = result;
  return text;
}

TEST(macro_name, generic_form) {
  bool changed = true;
  EXPECT_EQ(generic("Grade", &changed), "Grade");
  EXPECT_FALSE(changed);
  EXPECT_EQ(generic("Grade{gold}", &changed), "Grade[xxxxx]");
  EXPECT_TRUE(changed);
  EXPECT_EQ(generic("a[1[22]"), "a[1[xxxxx]");
  EXPECT_EQ(generic("Grade{xxxxx}"), "Grade[xxxxx]");
  const std::string longest(42, 'n');
  EXPECT_EQ(generic(longest + "[1]"), longest + "[xxxxx]");
  // One character too many: the name is cut, and no object has it.
  EXPECT_EQ(generic(longest + "n[1]"), longest + "n[xxxxx");
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

class macro_file : public testing::Test {
 protected:
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
  const std::string rows[] = {
      bytes().i32(199, 1, 8).str(),
      bytes().i32(1100, -1, 0).str(),
      bytes().i32(1100, 0x7FFFFFFE, 8, 0).str(),
      bytes().i32(1100, 2, 8).str(),
      bytes().i32(1100, 1, 100000, 0).str(),
      bytes().i32(1100, 1, 8).str(),
      bytes().i32(1100, 1, 8, 1).text(std::string(51, 'n')).str(),
      bytes().i32(1100, 1, 8, 1, 4).raw("go").str(),
      bytes().i32(1100, 1, 8, 2).text("a").text("b").str(),
      "",
  };
  for (const std::string& row : rows) {
    testing::internal::CaptureStdout();
    bool is_read = static_cast<bool>(read(row));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Macro Variable Descriptor corrupted:\n" + path() + "\n\n");
    EXPECT_FALSE(is_read);
  }
  std::filesystem::remove(directory_ / "MACRO");
  object_state state = object_state::sound;
  EXPECT_EQ(qd_macro_descr_read(path().c_str(), &state), nullptr);
  EXPECT_EQ(state, object_state::gone);
}

}  // namespace
}  // namespace qrd::test

#include "edit/qd_output.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/console.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr char head[] = "\n WARNING: CHECK YOUR PARAMETERS THIS OUTPUT VARIABLE: ";

qd_format_record format_of(double factor, const char* unit, int length_flag = 1) {
  qd_format_record format = float_default;
  format.factor = factor;
  format.length_flag = length_flag;
  qu_string_copy(unit, format.unit);
  return format;
}

class output_variables : public testing::Test {
 protected:
  output_variables() : study({.samples = 4}) {
    study.add("Flag", VAR_FLOAT, 1, std::string(64, '\1'));
    study.add("Number", VAR_FLOAT, 32, std::string(2048, '\1'));
    study.add("Metres", VAR_FLOAT, 64, std::string(4096, '\1'), 0, 0, 100.0);
    study.add("Text", VAR_CHAR, 24, std::string(1536, ' '));
    study.add_macro("Grade[xxxxx]", 8, std::string(1024, '\1'), {4, 5}, {"four", "five"});
    study.add_implicit("SN+ Sample Number (READONLY)", KIND_SAMPLE_NUMBER);
    study.add("X+ Gravity Center", VAR_FLOAT, 64, std::string(4096, '\1'), KIND_X, 0, 100.0);
    study.add("Z+ Gravity Center", VAR_FLOAT, 64, std::string(4096, '\1'), KIND_Z, 0, 100.0);
  }
  // What is asked for, and what the console says.
  std::string ask(int expected, bool overwrite, const char* name, int type, int bits,
                  const qd_format_record* format = nullptr) {
    return console_of([&] {
      selected_variable selected;
      EXPECT_EQ(qd_new_old_var_select(overwrite, "Dir", "File", name, type, UNIT_NONE, bits, format,
                                      selected.handle),
                expected)
          << name;
      EXPECT_EQ(selected.handle.entry != 0, expected == 1) << name;
    });
  }
  void expect_mismatch(const char* name, int type, int bits, const qd_format_record* format,
                       const std::string& text) {
    EXPECT_EQ(ask(0, false, name, type, bits, format), head + std::string(name) + "\n" + text + "\n");
  }
  sample_study study;
};

TEST_F(output_variables, a_variable_that_fits_is_kept) {
  std::string before = read_file(study.file_path() + "/VARI.3/DATAVAR");
  const qd_format_record metres = format_of(100.0, "m");
  EXPECT_EQ(ask(1, false, "Metres", VAR_FLOAT, 64, &metres), "");
  EXPECT_EQ(ask(1, false, "Metres", 77, 32), "") << "any other type is a float";
  EXPECT_EQ(ask(1, false, "Flag", VAR_FLOAT, 1), "");
  EXPECT_EQ(ask(1, false, "Text", VAR_CHAR, 24), "");
  EXPECT_EQ(ask(1, false, "Grade[4]", VAR_FLOAT, 8), "");
  EXPECT_EQ(ask(1, false, "Grade{five}", VAR_FLOAT, 8), "");
  EXPECT_EQ(ask(1, false, "Grade[xxxxx]", VAR_MACRO, 8), "");
  EXPECT_EQ(read_file(study.file_path() + "/VARI.3/DATAVAR"), before);
}

TEST_F(output_variables, a_mismatch_is_reported) {
  const qd_format_record metres = format_of(100.0, "m"), feet = format_of(30.48, "ft");
  expect_mismatch("Grade[xxxxx]", VAR_FLOAT, 8, nullptr, "          IS NOT A FLOAT VARIABLE...\n");
  expect_mismatch("Number", VAR_FLOAT, 32, &metres, "          IS NOT A FLOAT LENGTH VARIABLE...\n");
  expect_mismatch("Text", VAR_CHAR, 80, nullptr,
                  "          HAS A DIFFERENT NUMBER OF CHARACTERS (10) THAN NEEDED (3)...\n");
  expect_mismatch("Metres", VAR_FLOAT, 64, &feet,
                  "          HAS A DIFFERENT UNIT (Meter) THAN NEEDED (Foot)...\n");
}

TEST_F(output_variables, an_existing_variable_is_replaced_unless_it_places_the_samples) {
  for (const char* name : {"SN+ Sample Number (READONLY)", "X+ Gravity Center"})
    EXPECT_EQ(ask(0, true, name, VAR_FLOAT, 64),
              head + std::string(name) + "\n          IS READONLY AND CANNOT BE DELETED BEFORE USE...\n\n");
  EXPECT_EQ(ask(1, true, "Z+ Gravity Center", VAR_FLOAT, 64), "");
  EXPECT_EQ(ask(1, true, "Number", VAR_CHAR, 16), "");
  EXPECT_EQ(read_file(study.file_path() + "/VARI.2/DATAVAR"), std::string(1024, ' '));
  EXPECT_EQ(ask(1, false, "Fresh", VAR_FLOAT, 8), "");
  EXPECT_EQ(read_file(study.file_path() + "/VARI.9/DATAVAR"), std::string(512, '\xFF'));
}

TEST_F(output_variables, a_bad_name_is_not_made) {
  EXPECT_NE(ask(0, true, "Fre{sh", VAR_FLOAT, 8), "");
  EXPECT_FALSE(std::filesystem::exists(study.file_path() + "/VARI.9"));
}

}  // namespace
}  // namespace qrd::test

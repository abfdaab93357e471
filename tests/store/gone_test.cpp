// Objects that another server deletes, or whose numbers it gives to others, while an operation works on them.
#include "catalogue/qd_comment.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_data_file.h"
#include "disk/qd_macro_table.h"
#include "edit/qd_append.h"
#include "edit/qd_macro_create.h"
#include "edit/qd_manage_variable.h"
#include "samples/qd_open_variable.h"
#include "support/open_study.h"
#include "support/processes.h"

namespace qrd::test {
namespace {

using gone = open_study;

TEST_F(gone, nothing_of_a_deleted_object_is_written_or_read) {
  const std::string folder = in_file(9, "VARI.1");
  name_text name;
  qd_file_record file;
  qd_variable_record variable;
  qd_macro_descr macro;
  const auto macro_is_gone = [&folder] {
    object_state state = object_state::sound;
    return qd_macro_descr_read(folder.c_str(), &state) == nullptr && state == object_state::gone;
  };
  EXPECT_EQ(qd_directory_descriptor_write(folder.c_str(), "D"), object_state::gone);
  EXPECT_EQ(qd_file_descriptor_write(folder.c_str(), file), object_state::gone);
  EXPECT_EQ(qd_variable_descriptor_write(folder.c_str(), variable), object_state::gone);
  EXPECT_EQ(qd_macro_descr_write(folder.c_str(), macro), object_state::gone);
  EXPECT_EQ(qd_directory_descriptor_read(folder.c_str(), name), object_state::gone);
  EXPECT_TRUE(macro_is_gone());
  EXPECT_FALSE(st_file_concat((folder + "/DATAVAR").c_str(), "", 1, 1, 8));
  EXPECT_FALSE(fs::exists(in_file(9, "")));
  // The file that fails to open tells, and nobody looks at the folder.
  fs::create_directories(folder);
  EXPECT_TRUE(macro_is_gone());
}

TEST_F(gone, a_number_that_another_object_has_is_left_alone) {
  make_points("P", 3);
  const std::string descriptor = read_file(in_file(1, "DESCR"));
  EXPECT_TRUE(qd_remove_object<file_level>(in_study("QRD/DIRE.1/FILE.1").c_str(), "other"));
  EXPECT_EQ(read_file(in_file(1, "DESCR")), descriptor);
  EXPECT_TRUE(qd_remove_object<directory_level>(in_study("QRD/DIRE.1").c_str(), "other"));
  EXPECT_EQ(read_file(in_file(1, "DESCR")), descriptor);
  // Nor is one deleted of which nobody can tell what it is.
  write_file(in_file(1, "DESCR"), "damaged");
  console_of([&] { EXPECT_FALSE(qd_remove_object<file_level>(in_study("QRD/DIRE.1/FILE.1").c_str(), "P")); });
  EXPECT_EQ(read_file(in_file(1, "DESCR")), "damaged");
  write_file(in_file(1, "DESCR"), descriptor);
  EXPECT_TRUE(qd_remove_object<file_level>(in_study("QRD/DIRE.1/FILE.1").c_str(), "P"));
  EXPECT_FALSE(fs::exists(in_study("QRD/DIRE.1/FILE.1")));
}

// Variables are made in order; the first one of a points file with two coordinates is VARI.4.
TEST_F(gone, what_was_left_selected_does_not_stand_for_the_next_variable) {
  make_points("P", 3);
  ASSERT_TRUE(qd_create_variable("D", "P", "old", VAR_FLOAT, 0, 8, nullptr));
  qd_variable_handle left, next;
  ASSERT_TRUE(qd_variable_select("D", "P", "old", UNIT_NONE, left));
  fs::remove_all(in_file(1, "VARI.4"));
  ASSERT_TRUE(qd_create_variable("D", "P", "new", VAR_FLOAT, 0, 64, nullptr));
  ASSERT_TRUE(fs::exists(in_file(1, "VARI.4")));
  ASSERT_TRUE(qd_variable_select("D", "P", "new", UNIT_NONE, next));
  EXPECT_NE(next.entry, left.entry);
  EXPECT_EQ(qd_entry(next.entry)->bit_length, 64);
  EXPECT_FALSE(qd_variable_select("D", "P", "old", UNIT_NONE, next));
  qd_deselect_all();
}

TEST_F(gone, a_comment_is_not_given_to_the_next_owner_of_a_number) {
  make_points("P", 3);
  {
    // The comment is on its way while its number becomes that of another file.
    other_server other(in_study("QRD/DIRE.1/FILE.1"), [&] {
      qd_file_record record;
      ASSERT_EQ(qd_file_descriptor_read(in_study("QRD/DIRE.1/FILE.1").c_str(), record), object_state::sound);
      qu_string_copy("Q", record.name);
      ASSERT_EQ(qd_file_descriptor_write(in_study("QRD/DIRE.1/FILE.1").c_str(), record), object_state::sound);
    });
    console_of([] { EXPECT_FALSE(qd_comment_write("D", "P", nullptr, 0, "of P")); });
  }
  EXPECT_FALSE(fs::exists(in_file(1, "COMMENT")));
  EXPECT_TRUE(qd_comment_write("D", "Q", nullptr, 0, "of Q"));
}

TEST_F(gone, a_variable_that_goes_while_its_file_grows_costs_nothing_else) {
  make_points("P", 3);
  for (const char* name : {"a[xxxxx]", "b[xxxxx]"}) {
    ASSERT_TRUE(qd_create_variable("D", "P", name, VAR_MACRO, 0, 64, nullptr));
    const std::int64_t index = 7;
    ASSERT_EQ(qd_create_macro_variable_indices("D", "P", name, 1, &index, nullptr), macro_growth::done);
  }
  fs::remove_all(in_file(1, "VARI.4"));
  EXPECT_TRUE(qd_append_sample("D", "P", 600));
  EXPECT_EQ(fs::file_size(in_file(1, "VARI.5/DATAVAR")), 1024U * 8);
  fs::remove_all(in_file(1, ""));
  EXPECT_FALSE(qd_append_sample("D", "P", 1));
  const std::int64_t index = 8;
  EXPECT_EQ(qd_create_macro_variable_indices("D", "P", "b[xxxxx]", 1, &index, nullptr), macro_growth::gone);
}

}  // namespace
}  // namespace qrd::test

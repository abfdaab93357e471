#include "samples/qd_select.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "samples/sample_study.h"
#include "support/console.h"

namespace qrd::test {
namespace {

qd_variable_handle select(const char* name, unit_choice choice = UNIT_NONE) {
  qd_variable_handle handle;
  EXPECT_EQ(qd_variable_select("Dir", "File", name, choice, handle), 1) << name;
  return handle;
}

void deselect(qd_variable_handle& handle) {
  handle = qd_variable_deselect(handle);
  EXPECT_EQ(handle.entry, 0);
}

TEST(select, a_variable_has_one_entry_with_a_count) {
  sample_study study({.samples = 10});
  const std::string path = study.add("V", VAR_FLOAT, 16, std::string(1024, 'a'));
  qd_variable_handle first = select("V");
  qd_variable_handle second = select("V");
  EXPECT_EQ(first.entry, 1);
  EXPECT_EQ(second.entry, 1);
  const qd_selected_entry* entry = qd_entry(1);
  EXPECT_EQ(entry->reference_count, 2);
  EXPECT_EQ(entry->variable_path, path);
  EXPECT_EQ(entry->file_path, study.file_path());
  EXPECT_STREQ(entry->directory_name, "Dir");
  EXPECT_STREQ(entry->file_name, "File");
  EXPECT_STREQ(entry->variable_name, "V");
  EXPECT_EQ(entry->bit_length, 16);
  EXPECT_EQ(entry->bytes_per_sample, 2);
  EXPECT_EQ(entry->sample_count, 10);
  EXPECT_EQ(entry->grid.nx, 0);
  EXPECT_NE(entry->stream, nullptr);
  deselect(first);
  EXPECT_EQ(tab_selected[0]->reference_count, 1);
  deselect(second);
  EXPECT_EQ(tab_selected[0], nullptr);
  deselect(second);  // the empty handle
}

TEST(select, columns_of_a_macro_share_their_entry) {
  sample_study study({.samples = 4});
  study.add_macro("G[xxxxx]", 8, std::string(2048, 'a'), {13, 0, 12, -5}, {"thirteen", "", "twelve", "five"});
  qd_variable_handle handles[] = {select("G[00012]"), select("G[13]"), select("G{twelve}"),
                                  select("G{xxxxx}"), select("G[xxxxx]")};
  const std::int64_t slots[] = {2, 0, 2, -1, -1};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(handles[i].entry, handles[0].entry);
    EXPECT_EQ(handles[i].macro_slot, slots[i]);
  }
  EXPECT_EQ(qd_entry(handles[0].entry)->reference_count, 5);
  for (qd_variable_handle& handle : handles) deselect(handle);
  EXPECT_FATAL(select("G[5]"), "No 51 in function qd_variable_select");
  EXPECT_EQ(qd_variable_select("Dir", "File", "H[5]", UNIT_NONE, handles[0]), 0);
  EXPECT_EQ(handles[0].entry, 0);
}

TEST(select, a_name_that_exists_with_its_brackets_is_an_ordinary_variable) {
  sample_study study({.samples = 4});
  study.add("A[1]", VAR_FLOAT, 8, std::string(512, 'a'));
  qd_variable_handle handle = select("A[1]");
  EXPECT_EQ(handle.macro_slot, 0);
  deselect(handle);
}

TEST(select, unit_factor_by_choice) {
  sample_study study({.samples = 4});
  study.add("length", VAR_FLOAT, 32, "", 0, 0, 2.5);
  study.add("plain", VAR_FLOAT, 32, "");
  struct {
    const char* name;
    unit_choice choice;
    double factor;
  } const rows[] = {{"length", UNIT_NONE, 1.0},
                    {"length", UNIT_VARIABLE, 2.5},
                    {"length", UNIT_DISTANCE, 100},
                    {"plain", UNIT_VARIABLE, 1.0},
                    {"plain", UNIT_DISTANCE, 1.0}};
  unit_flag = 1;
  qu_formats_reset();
  for (const auto& row : rows) {
    qd_variable_handle handle = select(row.name, row.choice);
    EXPECT_EQ(handle.unit_factor, row.factor) << row.name << row.choice;
    deselect(handle);
  }
  EXPECT_FATAL(select("plain", static_cast<unit_choice>(3)), "No 50 in function qd_variable_select");
  // In a study without units a stored factor doesn't count.
  unit_flag = 0;
  qd_variable_handle handle = select("length", UNIT_VARIABLE);
  EXPECT_EQ(handle.unit_factor, 1.0);
  deselect(handle);
  unit_flag = 1;
}

TEST(select, a_computed_variable_has_no_stream_and_the_grid) {
  sample_study study({.samples = 6, .organisation = ORG_GRID, .nodes = {1, 2, 3}});
  study.add("broken", VAR_FLOAT, 8, "", KIND_X, 1);
  qd_variable_handle handle = select("broken");
  EXPECT_EQ(qd_entry(handle.entry)->stream, nullptr);
  EXPECT_EQ(qd_entry(handle.entry)->bit_length, 64);
  EXPECT_EQ(qd_entry(handle.entry)->grid.nz, 3);
  deselect(handle);
}

TEST(select, a_compressed_data_file_is_put_back_or_leaves_no_entry) {
  sample_study study({.samples = 4});
  const std::string good = study.add("good", VAR_FLOAT, 8, "") + "/DATAVAR";
  const std::string bad = study.add("bad", VAR_FLOAT, 8, "") + "/DATAVAR";
  std::filesystem::remove(good);
  std::filesystem::remove(bad);
  gzFile archive = gzopen((good + ".gz").c_str(), "wb");
  gzwrite(archive, "abcd", 4);
  gzclose(archive);
  write_file(bad + ".gz", "\x1F\x8B nothing of this is an archive");
  qd_variable_handle handle = select("good");
  EXPECT_EQ(read_file(good), "abcd");
  EXPECT_FALSE(std::filesystem::exists(good + ".gz"));
  deselect(handle);
  EXPECT_EQ(qd_variable_select("Dir", "File", "bad", UNIT_NONE, handle), 0);
  EXPECT_EQ(handle.entry, 0);
  EXPECT_EQ(tab_selected[0], nullptr);
}

TEST(select, selections) {
  sample_study study({.samples = 4});
  study.add("sel", VAR_FLOAT, 1, std::string(64, '\0'));
  study.add("wide", VAR_FLOAT, 8, std::string(512, '\0'));
  study.add("computed", VAR_FLOAT, 1, "", KIND_SAMPLE_NUMBER, 1);
  study.add_macro("sels[xxxxx]", 1, std::string(64, '\0'), {3});
  qd_variable_handle handle;
  EXPECT_EQ(qd_selection_select("Dir", "File", "None", handle), 1);
  EXPECT_EQ(handle.entry, 0);
  for (const char* name : {"sel", "sels[3]"}) {
    EXPECT_EQ(qd_selection_select("Dir", "File", name, handle), 1) << name;
    EXPECT_NE(handle.entry, 0);
    deselect(handle);
  }
  for (const char* name : {"wide", "computed", "absent", "sels[4]"}) {
    EXPECT_EQ(qd_selection_select("Dir", "File", name, handle), 0) << name;
    EXPECT_EQ(handle.entry, 0) << name;
  }
  EXPECT_EQ(tab_selected[0], nullptr);
}

TEST(select, coordinates_by_kind) {
  sample_study study({.samples = 4});
  std::int64_t dimension = 0;
  qd_variable_handle handles[3];
  EXPECT_FATAL(qd_coordinates_select("Dir", "File", UNIT_NONE, dimension, handles), "No 1 in function");
  study.add("east", VAR_FLOAT, 64, "", KIND_X);
  EXPECT_FATAL(qd_coordinates_select("Dir", "File", UNIT_NONE, dimension, handles), "No 2 in function");
  study.add("north", VAR_FLOAT, 64, "", KIND_Y);
  ASSERT_EQ(qd_coordinates_select("Dir", "File", UNIT_NONE, dimension, handles), 1);
  EXPECT_EQ(dimension, 2);
  EXPECT_STREQ(qd_entry(handles[1].entry)->variable_name, "north");
  EXPECT_EQ(handles[2].entry, 0);
  qd_variable_handle all[3];
  study.add("height", VAR_FLOAT, 64, "", KIND_Z);
  ASSERT_EQ(qd_coordinates_select("Dir", "File", UNIT_NONE, dimension, all), 1);
  EXPECT_EQ(dimension, 3);
  EXPECT_STREQ(qd_entry(all[2].entry)->variable_name, "height");
  for (qd_variable_handle* set : {handles, all})
    for (int i = 0; i < 3; ++i) deselect(set[i]);
}

TEST(select, what_an_io_record_takes) {
  sample_study study({.samples = 4});
  study.add("V", VAR_FLOAT, 8, "");
  study.add("T", VAR_CHAR, 16, "");
  study.add("S", VAR_FLOAT, 1, "");
  study.add_macro("G[xxxxx]", 8, "", {4, 7});
  qd_variable_handle variable = select("V"), text = select("T"), selection = select("S");
  qd_variable_handle generic = select("G[xxxxx]"), column = select("G[7]");
  const qd_variable_handle unknown{9, 1.0, 0}, none;

  qd_variable_handle group[3] = {variable, generic, column};
  std::int64_t io = qd_set_io(selection, 3, group);
  ASSERT_EQ(io, 1);
  EXPECT_EQ(tab_io[0]->variables, (std::vector<std::int64_t>{1, 4, 4}));
  EXPECT_EQ(tab_io[0]->macro_slots, (std::vector<std::int64_t>{0, 0, 1}));
  EXPECT_EQ(tab_io[0]->macro_generic, (std::vector<std::int64_t>{0, 1, 0}));
  EXPECT_EQ(tab_io[0]->selection, 3);
  EXPECT_EQ(qd_set_macro_indices_in_io(io, 7), 1);
  EXPECT_EQ(tab_io[0]->macro_slots[1], 1);
  EXPECT_FATAL(qd_set_macro_indices_in_io(io, 5), "No 10 in function qd_set_macro_indices_in_io");
  EXPECT_EQ(qd_free_io(io), 0);
  EXPECT_EQ(tab_io[0], nullptr);
  EXPECT_EQ(qd_free_io(0), 0);
  EXPECT_FATAL(qd_free_io(1), "No 10 in function qd_free_io");
  EXPECT_FATAL(qd_free_io(513), "No 10 in function qd_free_io");

  io = qd_set_io(none, 1, &variable);
  EXPECT_EQ(
      console_of([&] { EXPECT_EQ(qd_set_macro_indices_in_io(io, 3), 0); }),
      "PROGRAMMING ERROR in qd_set_macro_indices_in_io:\nThe given macro index (3) has not been found\n\n");
  qd_free_io(io);

  qd_variable_handle mixed[2] = {variable, text};
  EXPECT_FATAL(qd_set_io(none, 0, &variable), "No 11 in function qd_set_io");
  EXPECT_FATAL(qd_set_io(none, 1, &unknown), "No 15 in function qd_set_io");
  EXPECT_FATAL(qd_set_io(none, 1, &none), "No 15 in function qd_set_io");
  EXPECT_FATAL(qd_set_io(none, 2, mixed), "No 21 in function qd_set_io");
  EXPECT_FATAL(qd_set_io(generic, 1, &variable), "No 30 in function qd_set_io");
  EXPECT_FATAL(
      {
        qu_path_join(tab_selected[1]->file_path, {"elsewhere"});
        tab_selected[1]->type = VAR_FLOAT;
        qd_set_io(none, 2, mixed);
      },
      "No 20 in function qd_set_io");
  EXPECT_FATAL(
      {
        qu_path_join(tab_selected[2]->file_path, {"elsewhere"});
        qd_set_io(selection, 1, &variable);
      },
      "No 25 in function qd_set_io");
  EXPECT_FATAL(qd_variable_deselect(unknown), "No 20 in function qd_variable_deselect");
  EXPECT_FATAL(qd_variable_deselect({513, 1.0, 0}), "No 10 in function qd_variable_deselect");
}

TEST(select, the_tables_end) {
  sample_study study({.samples = 4});
  study.add("V", VAR_FLOAT, 8, "");
  study.add("W", VAR_FLOAT, 8, "");
  // All but one slot are taken by other variables.
  qd_selected_entry other;
  std::fill(std::begin(tab_selected), std::end(tab_selected), &other);
  tab_selected[511] = nullptr;
  EXPECT_EQ(qd_free_entries(), 1);
  qd_variable_handle last = select("V");
  EXPECT_EQ(last.entry, 512);
  EXPECT_EQ(select("V").entry, 512);
  EXPECT_FATAL(select("W"), "No 70 in function qd_variable_select");
  EXPECT_FALSE(qd_can_be_bound(last));
  EXPECT_FATAL(qd_set_io({}, 1, &last), "No 15 in function qd_set_io");
  qd_variable_deselect(last);
  qd_variable_deselect(last);
  std::fill(std::begin(tab_selected), std::end(tab_selected), nullptr);

  qd_variable_handle variable = select("V");
  for (int i = 1; i <= 512; ++i) ASSERT_EQ(qd_set_io({}, 1, &variable), i);
  EXPECT_FATAL(qd_set_io({}, 1, &variable), "No 10 in function qd_set_io");
  for (int i = 1; i <= 512; ++i) qd_free_io(i);
  deselect(variable);
}

}  // namespace
}  // namespace qrd::test

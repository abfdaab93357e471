#include "disk/qd_handles.h"

#include "support/sample_study.h"

namespace qrd::test {
namespace {

qd_variable_handle select(const char* name, unit_choice choice = UNIT_NONE) {
  qd_variable_handle handle;
  EXPECT_TRUE(qd_variable_select("Dir", "File", name, choice, handle)) << name;
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
  EXPECT_EQ(entry->bytes_per_sample, 2);
  EXPECT_NE(entry->stream, nullptr);
  deselect(first);
  EXPECT_EQ(sample_tables.selected[0]->reference_count, 1);
  deselect(second);
  EXPECT_EQ(sample_tables.selected[0], nullptr);
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
  EXPECT_FALSE(qd_variable_select("Dir", "File", "G[5]", UNIT_NONE, handles[0]));
  EXPECT_FALSE(qd_variable_select("Dir", "File", "H[5]", UNIT_NONE, handles[0]));
  EXPECT_EQ(handles[0].entry, 0);
}

TEST(select, a_name_that_exists_with_its_brackets_is_an_ordinary_variable) {
  sample_study study({.samples = 4});
  study.add("A[1]", VAR_FLOAT, 8, std::string(512, 'a'));
  qd_variable_handle handle = select("A[1]");
  EXPECT_EQ(handle.macro_slot, 0);
  deselect(handle);
}

TEST(select, a_compressed_data_file_is_put_back_or_leaves_no_entry) {
  sample_study study({.samples = 4});
  const std::string good = study.add("good", VAR_FLOAT, 8, "") + "/DATAVAR";
  const std::string bad = study.add("bad", VAR_FLOAT, 8, "") + "/DATAVAR";
  fs::remove(bad);
  gzip_file(good, "abcd");
  write_file(bad + ".gz", "\x1F\x8B nothing of this is an archive");
  qd_variable_handle handle = select("good");
  EXPECT_EQ(read_file(good), "abcd");
  EXPECT_FALSE(fs::exists(good + ".gz"));
  deselect(handle);
  EXPECT_FALSE(qd_variable_select("Dir", "File", "bad", UNIT_NONE, handle));
  EXPECT_EQ(handle.entry, 0);
  EXPECT_EQ(sample_tables.selected[0], nullptr);
}

TEST(select, a_file_is_known_by_itself_and_not_by_its_path) {
  sample_study study({.samples = 4});
  const std::string folder = study.add("V", VAR_FLOAT, 8, "abcd");
  qd_variable_handle old = select("V");
  fs::rename(folder + "/DATAVAR", folder + "/elsewhere");
  write_file(folder + "/DATAVAR", "efgh");
  qd_variable_handle fresh = select("V");
  EXPECT_NE(fresh.entry, old.entry);
  EXPECT_EQ(select("V").entry, fresh.entry);
  qd_deselect_all();

  // A place that a look-up has found may be another variable's by now, or its data file be out of reach.
  qd_variable_place place;
  qu_path_join(place.file_path, {study.file_path()});
  qu_path_join(place.path, {folder});
  EXPECT_FALSE(qd_variable_select_at(place, "Dir", "File", "W", UNIT_NONE, fresh));
  EXPECT_FALSE(qd_variable_select_at(place, "Dir", "Other", "V", UNIT_NONE, fresh));
  fs::remove(folder + "/DATAVAR");
  fs::create_directory(folder + "/DATAVAR");
  EXPECT_FALSE(qd_variable_select("Dir", "File", "V", UNIT_NONE, fresh));
  EXPECT_EQ(qd_free_entries(), 512);
}

TEST(select, what_was_selected_in_two_files_is_not_bound) {
  sample_study study({.samples = 4});
  study.add("V", VAR_FLOAT, 8, "abcd");
  study.add("W", VAR_FLOAT, 8, "efgh");
  study.add("S", VAR_FLOAT, 1, "a");
  study.add("T", VAR_CHAR, 8, "ijkl");
  qd_variable_handle handles[] = {select("V"), select("W")}, texts[] = {handles[0], select("T")};
  EXPECT_EQ(qd_set_io({}, 2, texts), 0);
  handles[1] = qd_variable_deselect(handles[1]);
  // Another server has put a file of that name in its place.
  fs::rename(study.file_path(), study / "QRD/DIRE.1/FILE.9");
  handles[1] = select("W");
  EXPECT_EQ(qd_set_io({}, 2, handles), 0);
  EXPECT_EQ(qd_set_io(select("S"), 1, handles), 0);
}

TEST(select, the_tables_end) {
  sample_study study({.samples = 4});
  study.add("V", VAR_FLOAT, 8, "");
  study.add("W", VAR_FLOAT, 8, "");
  // All but one slot are taken by other variables.
  qd_selected_entry other;
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), &other);
  sample_tables.selected[511] = nullptr;
  EXPECT_EQ(qd_free_entries(), 1);
  qd_variable_handle last = select("V");
  EXPECT_EQ(last.entry, 512);
  EXPECT_EQ(select("V").entry, 512);
  EXPECT_FATAL(select("W"), "No 70 in function qd_variable_select");
  EXPECT_FALSE(qd_can_be_bound(last));
  EXPECT_FATAL(qd_set_io({}, 1, &last), "No 15 in function qd_set_io");
  qd_variable_deselect(last);
  qd_variable_deselect(last);
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), nullptr);

  qd_variable_handle variable = select("V");
  for (int i = 1; i <= 512; ++i) ASSERT_EQ(qd_set_io({}, 1, &variable), i);
  EXPECT_FATAL(qd_set_io({}, 1, &variable), "No 10 in function qd_set_io");
  for (int i = 1; i <= 512; ++i) qd_free_io(i);
  deselect(variable);
}

}  // namespace
}  // namespace qrd::test

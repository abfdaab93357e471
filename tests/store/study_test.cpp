#include "catalogue/qd_study_lock.h"
#include "catalogue/qu_root.h"
#include "catalogue/qu_study.h"
#include "disk/qu_study_descriptor.h"
#include "requests/open_root.h"
#include "samples/qd_study_session.h"
#include "support/database.h"
#include "support/fresh_state.h"
#include "util/qu_critical.h"
#include "util/qu_string.h"

namespace qrd::test {
namespace {

class study : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"QRD_INIT", "QRD_PLUGIN_PATH", "QRD_RUNNING_TEST"}) unsetenv(name);
    qu_init(root.path().c_str(), "QRDserver", "15.03");
  }
  void TearDown() override { fresh_state(); }
  std::string make(const std::string& name, const std::string& descriptor = study_descriptor(1)) {
    return root.make_study(name, descriptor);
  }
  void enter(const std::string& name) {
    registered_ += pair("$init$/" + name, name);
    root.write_registry(registered_);
  }

  study_fitness read(const std::string& name, bool by_server = false) {
    return qu_study_descriptor_read(by_server, name.c_str(), (root / name).c_str(), &record);
  }
  void expect_open(const std::string& name, bool with_units) {
    EXPECT_EQ(store.study_name, name);
    EXPECT_EQ(store.study_path, root / name);
    EXPECT_EQ(store.catalogue_path, root / (name + "/QRD"));
    EXPECT_EQ(store.cscale_path, root / (name + "/CSCALE"));
    EXPECT_EQ(units.kept, with_units);
  }

  study_root root;
  study_record record;

 private:
  std::string registered_;
};

TEST_F(study, a_new_study_has_its_descriptor_and_folders_and_nothing_else) {
  std::string path = root / "deep/down/Gold";
  EXPECT_EQ(qu_study_create(path.c_str(), "None", 1), study_making::done);
  EXPECT_EQ(read_file(path + "/DESCR"), bytes().i32(520, 1, 140000, 0));
  std::string found;
  for (const auto& [name, content] : image_of(path)) found += name + (content == "/" ? "/ " : " ");
  EXPECT_EQ(found,
            "CSCALE/ DEF/ DESCR IMAGES/ METAFILE/ PARAM/ PARAM/ANAM/ PARAM/DVARIO/ PARAM/MCORREL/ "
            "PARAM/MREGR/ PARAM/MVARIO/ PARAM/NEIGH/ PARAM/PCAMOD/ PARAM/PROP/ QRD/ TMP/ TRANSFO/ "
            "U_COLOR/ U_LITHO/ ");
  EXPECT_EQ(names_in(root / "deep/down"), strings{"Gold"});
  EXPECT_EQ(qu_study_create(path.c_str(), "None", 0), study_making::exists);
  write_file(root / "file", "kept");
  EXPECT_NE(qu_study_create((root / "file").c_str(), "None", 1), study_making::done);
  EXPECT_EQ(qu_study_create((root / "file/Gold").c_str(), "None", 1), study_making::failed);
  // No file can be opened under such a name, so nothing stays.
  EXPECT_EQ(qu_study_create((root / "a*b").c_str(), "None", 1), study_making::failed);
  EXPECT_FALSE(fs::exists(root / "a*b"));
  EXPECT_EQ(read_file(root / "file"), "kept");
}

TEST_F(study, a_failed_creation_leaves_nothing) {
  EXPECT_EQ(qu_study_create((root / "a/b/Gold").c_str(), "None", 1, [] { return false; }),
            study_making::failed);
  EXPECT_FALSE(fs::exists(root / "a"));
  // What stands in the parents stays.
  fs::create_directory(root / "a");
  {
    file_size_limit disk(0);
    EXPECT_EQ(qu_study_create((root / "a/b/Gold").c_str(), "None", 1), study_making::failed);
  }
  EXPECT_TRUE(fs::is_empty(root / "a"));
  const std::string longest = root / std::string(root_size - 2 - root.path().size(), 'n');
  EXPECT_EQ(qu_study_create(longest.c_str(), "None", 1), study_making::done);
  EXPECT_TRUE(fs::is_directory(longest + "/PARAM/MCORREL"));
}

TEST_F(study, descriptors_of_all_versions_are_read) {
  make("Gold");
  const struct {
    std::string descriptor;
    bool by_server;
    study_fitness fitness;
    int unit_flag, version, is_64bit;
  } rows[] = {{bytes().i32(410, 7), false, study_fitness::other_version, 7, 40000, 0},
              {study_descriptor(1, 140000, 1), false, study_fitness::usable, 1, 140000, 1},
              {bytes().i32(411, 0, 140000), false, study_fitness::usable, 0, 140000, 0},
              // The server opens its own version alone.
              {study_descriptor(1, 139999), true, study_fitness::other_version, 1, 139999, 0},
              {study_descriptor(1, 150000), true, study_fitness::other_version, 1, 150000, 0}};
  for (const auto& row : rows) {
    write_file(root / "Gold/DESCR", row.descriptor);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(read("Gold", row.by_server), row.fitness); }), "");
    EXPECT_EQ(record.unit_flag, row.unit_flag);
    EXPECT_EQ(record.study_version, row.version);
    EXPECT_EQ(store.is_64bit, row.is_64bit);
  }
}

TEST_F(study, a_lost_descriptor_is_made_anew_and_a_damaged_one_stays) {
  std::string path = make("Gold");
  fs::remove(path + "/DESCR");
  EXPECT_EQ(read("Gold"), study_fitness::usable);
  EXPECT_EQ(read_file(path + "/DESCR"), study_descriptor(1));
  std::string cut = study_descriptor(0).substr(0, 10);
  write_file(path + "/DESCR", cut);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(read("Gold"), study_fitness::unreadable); }),
            "Study descriptor corrupted:\n" + path + "\n\n");
  EXPECT_EQ(read_file(path + "/DESCR"), cut);
  EXPECT_EQ(read("Gone"), study_fitness::gone);
  EXPECT_FALSE(fs::exists(root / "Gone"));
  EXPECT_FATAL(qu_study_descriptor_write((root / "Gone").c_str(), &record), "FATAL ERROR in qu_file_open_f");
  // Nor is one replaced that can't be opened.
  fs::remove(path + "/DESCR");
  fs::create_symlink(path + "/elsewhere/DESCR", path + "/DESCR");
  EXPECT_EQ(read("Gold"), study_fitness::unreadable);
  EXPECT_TRUE(fs::is_symlink(path + "/DESCR"));
}

TEST_F(study, a_failed_opening_leaves_the_open_study) {
  make("Gold", study_descriptor(0));
  enter("Gold");
  ASSERT_EQ(qu_study_open("Gold"), study_opening::opened);
  write_file(root / "study_names.def", std::string(10, '\0'));
  EXPECT_EQ(qu_study_open("Tin"), study_opening::no_registry);
  EXPECT_EQ(qu_study_open("None"), study_opening::no_registry);
  expect_open("Gold", false);
  EXPECT_FALSE(fs::exists(root / "Velmar-Init"));
}

TEST_F(study, the_first_study_that_fits_is_opened) {
  make("Old", study_descriptor(1, 130000));
  make("New", study_descriptor(1, 150000));
  make("Gold", study_descriptor(0));
  make("Tin");
  for (const char* name : {"Old", "New", "Gold", "Tin"}) enter(name);
  std::string before = root.registry();
  for (const auto& [wanted, opened] :
       {std::pair{"None", "Gold"}, {"Tin", "Tin"}, {"None", "Tin"}, {"Old", "Gold"}}) {
    EXPECT_EQ(qu_study_open(wanted), study_opening::opened);
    expect_open(opened, opened == std::string("Tin"));
  }
  EXPECT_EQ(root.registry(), before);
  for (const std::string& name : names_in(root / "Gold")) EXPECT_FALSE(name.starts_with("WRT_"));
}

TEST_F(study, without_a_valid_study_the_default_one_comes_into_being) {
  EXPECT_EQ(qu_study_open("None"), study_opening::opened);
  EXPECT_STREQ(store.study_name, "Velmar-Init");
  EXPECT_EQ(read_file(root / "Velmar-Init/DESCR"), study_descriptor(1));
  EXPECT_EQ(root.registry(), "root_unix      =\nroot_windows   =\n");
  EXPECT_EQ(qu_study_open("None"), study_opening::opened);
  write_file(root / "Velmar-Init/DESCR", study_descriptor(1, 130000));
  EXPECT_EQ(qu_study_open("None"), study_opening::other_version);
  fs::remove_all(root / "Velmar-Init");
  write_file(root / "Velmar-Init", "");
  EXPECT_FATAL(static_cast<void>(qu_study_open("None")),
               "Cannot set study \"Velmar-Init\" when \".*/Velmar-Init\" is a file");
}

TEST_F(study, a_test_run_makes_the_study_that_it_names) {
  store.running_test = 1;
  EXPECT_FATAL(static_cast<void>(qu_study_open("None")), "No more study and no study name on command line");
  EXPECT_EQ(qu_study_open("../Gold"), study_opening::other_version);
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_EQ(root.registry(), "root_unix      =\nroot_windows   =\n" + pair("$init$/Gold", "Gold"));
}

TEST_F(study, missing_folders_are_made_and_some_are_required) {
  std::string path = make("Gold");
  enter("Gold");
  for (const char* name : {"DEF", "PARAM/PROP", "TMP", "METAFILE"}) fs::remove(path + "/" + name);
  EXPECT_EQ(console_of([] { EXPECT_EQ(qu_study_open("Gold"), study_opening::opened); }),
            path + "/PARAM/PROP directory not found. Creating...\n\n" + path +
                "/TMP directory not found. Creating...\n\n" + path +
                "/METAFILE directory not found. Creating...\n\n");
  for (const char* name : {"DEF", "PARAM/PROP", "TMP", "METAFILE"})
    EXPECT_TRUE(fs::is_directory(path + "/" + name)) << name;

  fs::remove(path + "/IMAGES");
  write_file(path + "/IMAGES", "");
  EXPECT_FATAL(static_cast<void>(qu_study_open("Gold")), "/IMAGES directory: Creation failed.");
  fs::remove_all(path + "/PARAM");
  EXPECT_FATAL(static_cast<void>(qu_study_open("Gold")), "/PARAM directory not found.");
}

TEST_F(study, a_study_that_cannot_be_written_is_fatal) {
  std::string path = make("Gold");
  enter("Gold");
  for (const fs::path& folder : {fs::path(root.path()).parent_path(), fs::path(root.path())})
    fs::permissions(folder, fs::perms(0755));
  fs::permissions(path, fs::perms(0555));
  const auto open_as_nobody = [] {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && seteuid(nobody) != 0) _exit(2);
    static_cast<void>(qu_study_open("Gold"));
  };
  EXPECT_FATAL(open_as_nobody(), " File System Full or Write Protected...");
}

TEST_F(study, the_folder_of_old_anamorphoses_stays_beside_a_new_one) {
  std::string path = make("Gold");
  enter("Gold");
  fs::create_directory(path + "/PARAM/MHISTO");
  write_file(path + "/PARAM/MHISTO/A.1", "old");
  EXPECT_EQ(console_of([] { EXPECT_EQ(qu_study_open("Gold"), study_opening::opened); }),
            "WARNING: Your study contains OLD anamorphosis directory (MHISTO) and NEW directory (ANAM)\n"
            "         You have to move your old anamorphosis manually...\n");
  EXPECT_EQ(read_file(path + "/PARAM/MHISTO/A.1"), "old");
}

struct environment : study {
  void SetUp() override {
    study::SetUp();
    source = make("Template");
    target = make("Gold");
    enter("Gold");
    enter("Template");
    for (const auto& [name, content] : {std::pair{"/CSCALE/CSCA.0", "scale"},
                                        {"/DEF/environ_gene.def", "general\n"},
                                        {"/DEF/environ.def", "words\n"},
                                        {"/DEF/DISPLAY.1", "display"},
                                        {"/DEF/OTHER", "other"}})
      write_file(source + name, content);
    fs::create_directory(source + "/DEF/DISPLAYS");
    fs::create_symlink("/etc/hostname", source + "/DEF/DISPLAY.2");
  }
  void strip() {
    for (const char* name : {"U_COLOR", "CSCALE", "U_LITHO", "IMAGES", "TRANSFO"})
      fs::remove_all(target + "/" + name);
  }
  bool is_copied() { return fs::exists(target + "/CSCALE/CSCA.0"); }
  std::string source, target;
};

TEST_F(environment, exactly_five_missing_folders_bring_the_template) {
  strip();
  fs::remove(target + "/TMP");
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_FALSE(is_copied());
  strip();
  fs::remove(target + "/METAFILE");
  write_file(target + "/DEF/environ.def", "own\n");
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_TRUE(is_copied());
  EXPECT_EQ(read_file(target + "/DEF/environ.def"), "own\ngeneral\n");
  EXPECT_EQ(read_file(target + "/DEF/DISPLAY.1"), "display");
  for (const char* name : {"OTHER", "DISPLAYS", "DISPLAY.2"})
    EXPECT_FALSE(fs::exists(target + "/DEF/" + name)) << name;
}

// As a server leaves it that dies when the first folder has its place, and before.
TEST_F(environment, what_a_cut_opening_has_prepared_takes_its_place) {
  strip();
  write_file(target + "/DEF/environ.def", "own\n");
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  const tree_image whole = image_of(target);
  const std::string beside = target + "/N_0A1B";
  fs::create_directory(beside);
  for (const char* name : {"CSCALE", "U_LITHO", "IMAGES", "TRANSFO"})
    fs::rename(target + "/" + name, beside + "/" + name);
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_EQ(image_of(target), whole);
  EXPECT_FALSE(fs::exists(beside));

  strip();
  fs::create_directories(beside + "/CSCALE");
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_EQ(image_of(target), whole);
  EXPECT_FALSE(fs::exists(beside));
  // A folder that holds something else is nobody's preparation.
  fs::create_directory(beside);
  fs::rename(target + "/CSCALE", beside + "/CSCALE");
  write_file(beside + "/own", "");
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_TRUE(fs::exists(beside + "/CSCALE/CSCA.0"));
}

TEST_F(environment, without_room_for_the_template_a_study_stays_bare) {
  strip();
  write_file(source + "/IMAGES/one", std::string(5000, 'x'));
  console_of([&] {
    const file_size_limit disk(4000);
    EXPECT_EQ(qu_study_open("Gold"), study_opening::incomplete);
  });
  for (const char* name : {"U_COLOR", "CSCALE", "IMAGES"})
    EXPECT_FALSE(fs::exists(target + "/" + name)) << name;
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_TRUE(is_copied());
  EXPECT_EQ(read_file(target + "/IMAGES/one").size(), 5000U);
}

TEST_F(environment, the_template_is_never_copied_onto_itself) {
  std::swap(source, target);
  strip();
  EXPECT_EQ(qu_study_open("Template"), study_opening::opened);
  fs::remove_all(source);
  strip();
  // Wanted is another study, so that the rule of the name doesn't hold.
  EXPECT_EQ(qu_study_open("Gold"), study_opening::opened);
  EXPECT_STREQ(store.study_name, "Template");
  EXPECT_EQ(read_file(target + "/DEF/environ_gene.def"), "general\n");
  EXPECT_EQ(read_file(target + "/DEF/environ.def"), "words\n");
  EXPECT_EQ(read_file(target + "/DEF/DISPLAY.1"), "display");
}

TEST_F(environment, a_study_made_from_a_template_has_its_words) {
  std::string path = root / "New";
  EXPECT_EQ(qu_study_create(path.c_str(), source.c_str(), 0), study_making::done);
  EXPECT_EQ(read_file(path + "/DESCR"), study_descriptor(0));
  EXPECT_EQ(read_file(path + "/DEF/environ.def"), "words\n");
  EXPECT_EQ(read_file(path + "/CSCALE/CSCA.0"), "scale");
}

struct lock : study {
  void SetUp() override {
    study::SetUp();
    path = make("Gold");
    enter("Gold");
    ASSERT_EQ(qu_study_open("Gold"), study_opening::opened);
    qd_tables_init();
  }
  std::string path;
};

TEST_F(lock, of_another_process_changes_nothing) {
  write_file(path + "/LOCK", "theirs");
  EXPECT_FALSE(qd_init());
  EXPECT_EQ(read_file(path + "/LOCK"), "theirs");
  EXPECT_EQ(lock_path, path + "/LOCK");
  qd_end(0);
  EXPECT_FALSE(fs::exists(path + "/LOCK"));
}

TEST_F(lock, cannot_end_before_it_is_taken_nor_be_a_directory) {
  EXPECT_FATAL(qd_end(0), "Fatal Software Error No 7 in function qd_end\\(\\)");
  fs::create_directory(path + "/LOCK");
  EXPECT_FATAL(qd_init(), "Impossible to write the LOCK file: .*/LOCK");
}

TEST_F(lock, is_removed_by_a_fatal_end_and_none_of_a_study_that_has_just_gone) {
  qd_init();
  EXPECT_FATAL(qu_fatal("end"), "Fatal Software Error\nend");
  EXPECT_FALSE(fs::exists(path + "/LOCK"));
  fs::remove_all(path);
  EXPECT_EQ(console_of([] { EXPECT_FALSE(qd_init()); }), "");
  qd_end(0);
}

TEST_F(lock, data_descriptor_of_any_other_content_is_rewritten) {
  for (const bytes& old : {bytes().i32(900), bytes().i32(1100, 1), bytes()}) {
    write_file(path + "/QRD/DESCR", old);
    qd_init();
    EXPECT_EQ(read_file(path + "/QRD/DESCR"), bytes().i32(1100));
  }
  const auto time = fs::file_time_type() + std::chrono::hours(1);
  fs::last_write_time(path + "/QRD/DESCR", time);
  qd_init();
  EXPECT_EQ(fs::last_write_time(path + "/QRD/DESCR"), time);
  fs::remove(path + "/QRD/DESCR");
  fs::create_directory(path + "/QRD/DESCR");
  EXPECT_EQ(console_of([] { qd_init(); }), "Data descriptor corrupted:\n" + path + "/QRD/DESCR\n\n");
}

TEST_F(lock, a_counter_beyond_32_bits_marks_the_study) {
  write_file(path + "/DESCR", study_descriptor(0));
  ASSERT_EQ(qu_study_open("Gold"), study_opening::opened);
  hooks.mark_64bit();
  EXPECT_EQ(read_file(path + "/DESCR"), study_descriptor(0, 140000, 1));
  write_file(path + "/DESCR", "");
  store.is_64bit = 0;
  std::string said = console_of([] { qu_study_mark_64bit(); });
  EXPECT_HAS(said, "Failed to read study descriptor " + path + "/DESCR for 64-bit flag update\n");
  EXPECT_EQ(read_file(path + "/DESCR"), "");
}

struct open_root : study {
  void SetUp() override {
    study::SetUp();
    fresh_state();
    reset_context();
  }
  std::string open(const std::string& path) {
    qu_string_copy(path.c_str(), current_context.qrd_init);
    return qrd_open_root();
  }
};

TEST_F(open_root, refuses_what_is_no_root) {
  EXPECT_EQ(open(root / "Gone"), "Cannot access directory");
  std::string far = root / std::string(100, 'a') + "/" + std::string(100, 'b');
  fs::create_directories(far);
  write_file(far + "/study_names.def", "");
  EXPECT_EQ(open(far), "Cannot access directory");
  std::string without = "Not a valid Velmar path (does not contain a list of studies).";
  EXPECT_EQ(open(root.path()), without);
  fs::create_directory(root / "a*b");
  write_file(root / "a*b/study_names.def", "");
  EXPECT_EQ(open(root / "a*b"), without);
  EXPECT_EQ(current_context.qrd_init, root / "a*b");
  EXPECT_STREQ(store.root_path, "");
}

TEST_F(open_root, a_refused_root_leaves_the_open_one) {
  make("Gold");
  enter("Gold");
  ASSERT_EQ(open(root.path()), "");
  study_root other;
  other.write_registry("");
  write_file(other / "DATA", "13.0.0\n");
  EXPECT_EQ(open(other.path()), "You are trying to run QRDserver 15.03 on Velmar 13.0.0 file system.");
  EXPECT_EQ(store.root_path, root.path());
  EXPECT_STREQ(store.study_name, "Gold");
  EXPECT_EQ(store.lock_taken, 1);
  EXPECT_EQ(store.handle_test_path, root / "read_write.def");

  write_file(other / "DATA", "14.0.0\n");
  other.make_study("Velmar-Init", study_descriptor(1, 150000));
  EXPECT_EQ(open(other.path()), "No valid study to use for this QRDserver version");
  EXPECT_EQ(store.study_path, root / "Gold");
  qd_end(0);
  EXPECT_FALSE(fs::exists(root / "Gold/LOCK"));
}

TEST_F(open_root, one_that_cannot_be_read_is_refused_and_stays) {
  make("Gold");
  enter("Gold");
  const std::string damaged = root.registry() + std::string(3, '\0');
  write_file(root / "study_names.def", damaged);
  EXPECT_EQ(open(root.path()), "Not a valid Velmar path (does not contain a list of studies).");
  EXPECT_EQ(root.registry(), damaged);
  EXPECT_FALSE(fs::exists(root / "Velmar-Init"));
}

TEST_F(open_root, nothing_chosen_before_is_current_in_it) {
  make("Gold");
  enter("Gold");
  server_context& now = current_context;
  for (char* field : {now.study, now.directory, now.file, now.variable, now.selection}) field[0] = 'X';
  now.indice = 3;
  ASSERT_EQ(open(root.path()), "");
  for (const char* field : {now.study, now.directory, now.file, now.variable, now.selection})
    EXPECT_STREQ(field, "None");
  EXPECT_EQ(now.indice, -1);
}

TEST_F(open_root, a_root_too_deep_for_its_default_study_is_refused) {
  std::string deep = root / std::string(root_size - 2 - root.path().size(), 'd');
  fs::create_directory(deep);
  write_file(deep + "/study_names.def", "");
  EXPECT_EQ(open(deep), "Path is too long for the files of a study");
  EXPECT_FALSE(fs::exists(deep + "/Velmar-Init"));
}

TEST_F(open_root, without_a_path_the_default_root_is_made) {
  setenv("XDG_DATA_HOME", (root / "data").c_str(), 1);
  EXPECT_EQ(open("None"), "");
  EXPECT_EQ(current_context.qrd_init, root / "data/Orvane/Velmar");
  EXPECT_EQ(read_file(root / "data/Orvane/Velmar/Velmar-Init/LOCK"), "LOCKED");
  unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace qrd::test

#include "catalogue/qu_study.h"
#include "catalogue/qu_study_folder.h"
#include "disk/qu_study_descriptor.h"
#include "requests/open_root.h"
#include "support/database.h"
#include "support/fresh_state.h"
#include "support/processes.h"
#include "support/requests.h"
#include "util/qu_critical.h"
#include "util/qu_string.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

const std::string registry_head = "root_unix      =\nroot_windows   =\n";

struct study_requests : requests {
  void SetUp() override {
    std::string pairs;
    for (const char* name : {"Zinc", "Iron", "Gold"}) {
      root.make_study(name, study_descriptor(1));
      pairs += pair(std::string("$init$/") + name, name);
    }
    root.make_study("Old", study_descriptor(1, 130000));
    pairs += pair("$init$/Old", "Old") + pair("$init$/Gone", "Gone");
    root.write_registry(pairs);
    registered = registry_head + pairs;
    qu_string_copy(root.path().c_str(), current_context.qrd_init);
    ASSERT_EQ(qrd_open_root(), "");
  }
  void TearDown() override { fresh_state(); }
  static bytes study(const std::string& name, const std::string& path) { return bytes(name).text(path); }
  void expect_not_made(const std::string& name, const std::string& path) {
    expect_refused("CSTUDYNEW", study(name, path),
                   "Impossible to create study " + name + ". File system full?");
  }

  study_root root;
  std::string registered;
};

TEST_F(study_requests, list_shows_the_first_first) {
  expect_answer("CSTUDYLST", {}, bytes("SSTUDIES").i32(4).text("Zinc").text("Gold").text("Iron").text("Old"));
  EXPECT_EQ(client_.status(), 0);
}

TEST_F(study_requests, set_opens_a_study_and_resets_the_rest) {
  set_current_file("file");
  current_context.unit_mode = 1;
  units.distance.factor = 1.0;
  expect_done("CSTUDYSET", "Iron");
  EXPECT_EQ(chosen(), "Iron None None None None -1");
  EXPECT_EQ(current_context.unit_mode, 0);
  EXPECT_EQ(units.distance.factor, 100.0);
  EXPECT_EQ(store.study_path, root / "Iron");
  EXPECT_EQ(lock_path, root / "Iron/LOCK");
  // The flag of the study that was left lingers.
  EXPECT_TRUE(fs::exists(root / "Zinc/LOCK"));
}

TEST_F(study_requests, set_refuses_what_cannot_be_opened) {
  expect_refused("CSTUDYSET", "None", "Study Unknown: \"None\"");
  expect_refused("CSTUDYSET", "", "Study Unknown: \"\"");
  expect_refused("CSTUDYSET", "Gone",
                 "Study Directory not found or not a study: \"" + root.path() + "/Gone\"");
  expect_refused("CSTUDYSET", "Old", "Invalid Study version: \"Old\"");
  EXPECT_STREQ(current_context.study, "None");
  EXPECT_STREQ(store.study_name, "Zinc");
  // A name whose first path is gone has a valid second one, and no descriptor to read or make.
  root.write_registry(pair("$init$/Gone", "Gold") + pair("$init$/Gold", "Gold"));
  expect_refused("CSTUDYSET", "Gold", "Invalid Study version: \"Gold\"");
}

TEST_F(study_requests, new_creates_and_registers) {
  expect_done("CSTUDYNEW", study("New study/1", root.path() + "\\deep\\New\\"));
  EXPECT_EQ(read_file(root / "deep/New/DESCR"), study_descriptor(1));
  EXPECT_EQ(root.registry(), registered + pair("$init$/deep/New", "New study/1"));
  EXPECT_STREQ(current_context.study, "None");
  expect_done("CSTUDYSET", "New study/1");
}

TEST_F(study_requests, new_leaves_nothing_that_could_not_be_registered) {
  // A registry for which the disk has no room; the files of a study are smaller.
  std::string pairs;
  for (int i = 0; i < 20; ++i) pairs += pair("$init$/far/" + std::to_string(i), "far " + std::to_string(i));
  root.write_registry(pairs);
  {
    const file_size_limit disk(200);
    expect_not_made("New", root / "deep/New");
  }
  EXPECT_FALSE(fs::exists(root / "deep"));
  EXPECT_EQ(root.registry(), registry_head + pairs);
  write_file(root / "study_names.def", pairs + std::string(3, '\0'));
  expect_not_made("New", root / "New");
  EXPECT_FALSE(fs::exists(root / "New"));
  const std::string unreadable = "Not a valid Velmar path (does not contain a list of studies).";
  expect_refused("CSTUDYLST", {}, unreadable);
  expect_refused("CSTUDYSET", "Gold", unreadable);
}

// The server dies at the call that `act` makes of what it is given.
void die_in(const std::function<void(const std::function<bool()>&)>& act) {
  const pid_t server = fork_for_test();
  if (server == 0) {
    act([]() -> bool { _exit(0); });
    _exit(2);
  }
  expect_success(server);
}

TEST_F(study_requests, new_ends_a_creation_that_was_cut) {
  const std::string path = root / "New";
  die_in([&](const auto& die) { static_cast<void>(qu_study_create(path.c_str(), "None", 1, die)); });
  const auto expect_untouched = [&] {
    const tree_image before = image_of(path);
    expect_not_made("New", path);
    EXPECT_TRUE(image_of(path) == before && root.registry() == registered);
  };
  // What has got something, or is somebody's, is taken for no left-over.
  fs::create_directory(path + "/QRD/DIRE.1");
  expect_untouched();
  fs::remove(path + "/QRD/DIRE.1");
  fs::rename(path, root / "Other");
  expect_not_made("New", root / "Other");
  fs::rename(root / "Other", path);
  {
    const lock_holder maker({path});
    expect_untouched();
  }
  root.write_registry(pair(path, "Same"));
  expect_not_made("New", path);
  root.write_registry(registered.substr(registry_head.size()));

  expect_done("CSTUDYNEW", study("New", path));
  EXPECT_EQ(root.registry(), registered + pair("$init$/New", "New"));
  EXPECT_FALSE(fs::exists(path + "/UNREGISTERED"));
  expect_done("CSTUDYSET", "New");
}

TEST_F(study_requests, new_ends_a_deletion_that_was_cut) {
  const auto left = [&] {
    return std::count_if(fs::directory_iterator(root.path()), {},
                         [](const auto& entry) { return entry.path().filename().string()[1] == '_'; });
  };
  // Somebody's own folders, whatever their names are.
  for (const char* own : {"O_ABCD", "N_1234"}) {
    fs::create_directories((root / own) + "/QRD");
    write_file((root / own) + "/DESCR", study_descriptor(1));
  }
  write_file(root / "N_1234/UNREGISTERED", "my own");
  const std::string path = root / "Gold";
  die_in([&](const auto& die) { static_cast<void>(qu_study_remove(path.c_str(), die)); });
  // What a server has left that died before its mark was set.
  fs::create_directory(root / "N_AAAA");
  fs::create_directory(root / "N_BBBB");
  write_file(root / "N_BBBB/N_AAAAAAAAAA", "");
  EXPECT_FALSE(fs::exists(path));
  EXPECT_EQ(left(), 5);
  EXPECT_EQ(root.registry(), registered);
  expect_done("CSTUDYNEW", study("Gold", path));
  EXPECT_EQ(left(), 2);
  EXPECT_EQ(read_file(root / "N_1234/UNREGISTERED"), "my own");
  expect_done("CSTUDYSET", "Gold");
  expect_done("CSTUDYSET", "Zinc");
}

// Another server moves the study away and back again while it is opened, in whatever moment.
TEST_F(study_requests, set_gives_the_study_of_the_name_or_none) {
  const pid_t other = fork_for_test();
  if (other == 0) {
    for (;;) {
      fs::rename(root / "Gold", root / "Away");
      fs::rename(root / "Away", root / "Gold");
    }
  }
  console_of([&] {
    int opened = 0, refused = 0;
    for (int round = 0; round < 1000 && (opened < 20 || refused < 20); ++round) {
      expect_done("CSTUDYSET", "Zinc");
      set_current_directory("D");
      const bool is_opened = ask("CSTUDYSET", "Gold") == done();
      ++(is_opened ? opened : refused);
      EXPECT_STREQ(store.study_name, is_opened ? "Gold" : "Zinc");
      EXPECT_EQ(chosen(), is_opened ? "Gold None None None None -1" : "Zinc D None None None -1");
    }
  });
  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
}

TEST_F(study_requests, del_puts_back_what_it_cannot_delete) {
  expect_done("CSTUDYSET", "Gold");
  const std::string failed = "An error happened during Study deletion: Gold";
  {
    const lock_holder other({root / "Gold"});
    EXPECT_HAS(console_of([&] { expect_refused("CSTUDYDEL", {}, failed); }),
               "Unable to delete directory \"" + root.path() + "/Gold\": ");
  }
  EXPECT_EQ(root.registry(), registered);
  {
    const file_size_limit disk(60);
    expect_done("CSTUDYSET", "Gold");
    expect_refused("CSTUDYDEL", {}, failed);
  }
  EXPECT_EQ(root.registry(), registered);
  expect_done("CSTUDYSET", "Gold");
}

TEST_F(study_requests, a_server_at_work_in_a_deleted_study_refuses) {
  expect_done("CSTUDYSET", "Iron");
  const std::string path = root / "Iron";
  for (const char* request : {"CDIRNEW", "CDIRSET"}) expect_done(request, "D");
  fs::remove_all(path);
  console_of([&] {
    expect_refused("CDIRLST", {}, "Study Directory not found or not a study: \"" + path + "\"");
    expect_refused("CDIRNEW", bytes("E"), "Cannot create directory Iron: E");
    expect_refused("CFILELST", {}, "Not a valid Velmar directory: Iron: D");
    expect_refused("CDIRDEL", {}, "An error happened during Directory deletion");
  });
  EXPECT_FALSE(fs::exists(path));
  expect_done("CSTUDYSET", "Gold");
}

TEST_F(study_requests, new_refuses_names_and_paths_that_are_no_study) {
  expect_refused("CSTUDYNEW", study("Gone", root / "New"), "WARNING: This study already exists: Gone");
  for (const std::string& path :
       strings{"", "New", "$init$/New", "/", "//", root.path(), root / "Gold", root / "Gold/QRD/DIRE.1",
               root / "Gold/../Gold/QRD", root / "a\nlogical_name   =Evil", root / std::string(200, 'n'),
               root / "a*b"})
    expect_not_made("New", path);
  for (const std::string& name : strings{"", "None", "a\tb", std::string(50, 'n')})
    expect_not_made(name, root / "New");
  EXPECT_EQ(root.registry(), registered);
  EXPECT_FALSE(fs::exists(root / "New"));
  EXPECT_FALSE(fs::exists(root / "Gold/QRD/DIRE.1"));
}

TEST_F(study_requests, old_clients_name_no_path) {
  connection.client_version = 400500;
  expect_done("CSTUDYNEW", bytes("New"));
  EXPECT_EQ(root.registry(), registered + pair("$init$/New", "New"));
  for (const char* name : {"../New2", "a\\b", "..", "."})
    expect_refused("CSTUDYNEW", bytes(name),
                   std::string("Impossible to create study ") + name + ". File system full?");
  EXPECT_FALSE(fs::exists(root / "../New2"));
  root.write_registry("");
  expect_done("CSTUDYNEW", bytes("New3"));
  EXPECT_EQ(root.registry(), registry_head + pair("$init$/New3", "New3"));
}

TEST_F(study_requests, del_removes_the_study_and_opens_another) {
  expect_done("CSTUDYSET", "Iron");
  expect_done("CSTUDYDEL");
  EXPECT_FALSE(fs::exists(root / "Iron"));
  EXPECT_EQ(root.registry(), registry_head + pair("$init$/Zinc", "Zinc") + pair("$init$/Gold", "Gold") +
                                 pair("$init$/Old", "Old") + pair("$init$/Gone", "Gone"));
  EXPECT_STREQ(current_context.study, "None");
  EXPECT_STREQ(store.study_name, "Zinc");
  EXPECT_EQ(read_file(root / "Zinc/LOCK"), "LOCKED");
}

TEST_F(study_requests, del_of_the_last_study_makes_the_default_one) {
  root.write_registry(pair("$init$/Gold", "Gold"));
  expect_done("CSTUDYSET", "Gold");
  expect_done("CSTUDYDEL");
  EXPECT_STREQ(store.study_name, "Velmar-Init");
  EXPECT_EQ(root.registry(), registry_head);

  qu_string_copy("Gold", current_context.study);
  expect_refused("CSTUDYDEL", {}, "Study does not exist: Gold");
}

TEST_F(study_requests, del_spares_the_root_and_studies_inside) {
  fs::create_directory(root / "QRD");
  for (const char* folder : {"PARAM", "DEF"}) fs::create_directory(root / folder);
  fs::create_directory_symlink(".", root / "Loop");
  std::string pairs = pair(root.path(), "Root") + pair("$init$/Loop", "Loop") + pair("$init$/Gold", "Gold") +
                      pair("$init$/Gold/Inner", "Inner");
  root.write_registry(pairs);
  root.make_study("Gold/Inner", study_descriptor(1));
  for (const char* name : {"Root", "Loop", "Gold"}) {
    expect_done("CSTUDYSET", name);
    expect_refused("CSTUDYDEL", {}, std::string("An error happened during Study deletion: ") + name);
    EXPECT_STREQ(current_context.study, "None");
  }
  EXPECT_EQ(root.registry(), registry_head + pairs);
  EXPECT_TRUE(fs::exists(root / "Gold/Inner/DESCR"));
  expect_done("CSTUDYSET", "Inner");
  expect_done("CSTUDYDEL");
  EXPECT_TRUE(fs::exists(root / "Gold/DESCR"));
  // Also where the root is all that is registered.
  root.write_registry(pair(root.path(), "Root"));
  expect_done("CSTUDYSET", "Root");
  const fs::path above = fs::path(root.path()).parent_path();
  const auto before = fs::last_write_time(above);
  expect_refused("CSTUDYDEL", {}, "An error happened during Study deletion: Root");
  EXPECT_EQ(root.registry(), registry_head + pair(root.path(), "Root"));
  EXPECT_EQ(fs::last_write_time(above), before) << "it was away for a moment";
}

}  // namespace
}  // namespace qrd::test

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "catalogue/qd_study_lock.h"
#include "catalogue/qu_study.h"
#include "catalogue/qu_study_folder.h"
#include "disk/qu_study_descriptor.h"
#include "disk/qu_version.h"
#include "disk/store_state.h"
#include "requests/context.h"
#include "requests/open_root.h"
#include "samples/qd_study_session.h"
#include "support/console.h"
#include "support/database.h"
#include "support/file_size_limit.h"
#include "support/fresh_state.h"
#include "support/processes.h"
#include "support/request_session.h"
#include "support/study_root.h"
#include "units/qu_units.h"
#include "util/qu_critical.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

const std::string registry_head = "root_unix      =\nroot_windows   =\n";

class study_requests : public testing::Test {
 protected:
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
  std::string make_new(const std::string& name, const std::string& path) {
    return session.ask("CSTUDYNEW", bytes().text(name).text(path).str());
  }
  std::string set(const std::string& name) { return session.ask("CSTUDYSET", bytes().text(name).str()); }

  request_session session;
  study_root root;
  std::string registered;
};

TEST_F(study_requests, list_shows_the_first_first) {
  EXPECT_EQ(session.ask("CSTUDYLST"),
            bytes().text("SSTUDIES").i32(4).text("Zinc").text("Gold").text("Iron").text("Old").str());
  EXPECT_EQ(session.status(), 0);
}

TEST_F(study_requests, set_opens_a_study_and_resets_the_rest) {
  set_current_file("file");
  current_context.unit_mode = 1;
  units.distance.factor = 1.0;
  EXPECT_EQ(set("Iron"), done());
  EXPECT_STREQ(current_context.study, "Iron");
  EXPECT_STREQ(current_context.file, "None");
  EXPECT_EQ(current_context.unit_mode, 0);
  EXPECT_EQ(units.distance.factor, 100.0);
  EXPECT_EQ(store.study_path, root / "Iron");
  EXPECT_EQ(lock_path, root / "Iron/LOCK");
  // The flag of the study that was left lingers.
  EXPECT_TRUE(fs::exists(root / "Zinc/LOCK"));
}

TEST_F(study_requests, set_refuses_what_cannot_be_opened) {
  EXPECT_EQ(set("None"), refusal("Study Unknown: \"None\""));
  EXPECT_EQ(set(""), refusal("Study Unknown: \"\""));
  EXPECT_EQ(set("Gone"), refusal("Study Directory not found or not a study: \"" + root.path() + "/Gone\""));
  EXPECT_EQ(set("Old"), refusal("Invalid Study version: \"Old\""));
  EXPECT_STREQ(current_context.study, "None");
  EXPECT_STREQ(store.study_name, "Zinc");
  // A name whose first path is gone has a valid second one, and no descriptor to read or make.
  root.write_registry(pair("$init$/Gone", "Gold") + pair("$init$/Gold", "Gold"));
  EXPECT_EQ(set("Gold"), refusal("Invalid Study version: \"Gold\""));
}

TEST_F(study_requests, new_creates_and_registers) {
  EXPECT_EQ(make_new("New study/1", root.path() + "\\deep\\New\\"), done());
  EXPECT_EQ(read_file(root / "deep/New/DESCR"), study_descriptor(1));
  EXPECT_EQ(root.registry(), registered + pair("$init$/deep/New", "New study/1"));
  EXPECT_STREQ(current_context.study, "None");
  EXPECT_EQ(set("New study/1"), done());
}

TEST_F(study_requests, new_leaves_nothing_that_could_not_be_registered) {
  // A registry for which the disk has no room; the files of a study are smaller.
  std::string pairs;
  for (int i = 0; i < 20; ++i) pairs += pair("$init$/far/" + std::to_string(i), "far " + std::to_string(i));
  root.write_registry(pairs);
  {
    const file_size_limit disk(200);
    EXPECT_EQ(make_new("New", root / "deep/New"),
              refusal("Impossible to create study New. File system full?"));
  }
  EXPECT_FALSE(fs::exists(root / "deep"));
  EXPECT_EQ(root.registry(), registry_head + pairs);
  write_file(root / "study_names.def", pairs + std::string(3, '\0'));
  EXPECT_EQ(make_new("New", root / "New"), refusal("Impossible to create study New. File system full?"));
  EXPECT_FALSE(fs::exists(root / "New"));
  const std::string unreadable = "Not a valid Velmar path (does not contain a list of studies).";
  EXPECT_EQ(session.ask("CSTUDYLST"), refusal(unreadable));
  EXPECT_EQ(set("Gold"), refusal(unreadable));
}

// The server dies at the call that `act` makes of what it is given.
void die_in(const std::function<void(const std::function<bool()>&)>& act) {
  const pid_t server = fork_for_test();
  if (server == 0) {
    act([]() -> bool { _exit(0); });
    _exit(2);
  }
  int status = -1;
  waitpid(server, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(study_requests, new_ends_a_creation_that_was_cut) {
  const std::string path = root / "New",
                    refused = refusal("Impossible to create study New. File system full?");
  die_in([&](const auto& die) { static_cast<void>(qu_study_create(path.c_str(), "None", 1, die)); });
  const auto untouched = [&](const tree_image& before) {
    return make_new("New", path) == refused && image_of(path) == before && root.registry() == registered;
  };
  // What has got something, or is somebody's, is taken for no left-over.
  fs::create_directory(path + "/QRD/DIRE.1");
  EXPECT_TRUE(untouched(image_of(path)));
  fs::remove(path + "/QRD/DIRE.1");
  fs::rename(path, root / "Other");
  EXPECT_EQ(make_new("New", root / "Other"), refused);
  fs::rename(root / "Other", path);
  {
    const lock_holder maker({path});
    EXPECT_TRUE(untouched(image_of(path)));
  }
  root.write_registry(pair(path, "Same"));
  EXPECT_EQ(make_new("New", path), refused);
  root.write_registry(registered.substr(registry_head.size()));

  EXPECT_EQ(make_new("New", path), done());
  EXPECT_EQ(root.registry(), registered + pair("$init$/New", "New"));
  EXPECT_FALSE(fs::exists(path + "/UNREGISTERED"));
  EXPECT_EQ(set("New"), done());
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
  EXPECT_EQ(make_new("Gold", path), done());
  EXPECT_EQ(left(), 2);
  EXPECT_EQ(read_file(root / "N_1234/UNREGISTERED"), "my own");
  EXPECT_EQ(set("Gold"), done());
  EXPECT_EQ(set("Zinc"), done());
}

// Several servers make studies at once; each of them is in the registry afterwards.
TEST_F(study_requests, new_ones_of_several_servers_are_all_registered) {
  constexpr int servers = 4, each = 8;
  const auto name_of = [](int server, int i) { return std::to_string(server) + "." + std::to_string(i); };
  std::vector<pid_t> children;
  for (int server = 0; server < servers; ++server) {
    children.push_back(fork_for_test());
    if (children.back() != 0) continue;
    request_session own;
    qu_string_copy(root.path().c_str(), current_context.qrd_init);
    for (int i = 0; i < each; ++i) {
      const std::string name = name_of(server, i);
      if (own.ask("CSTUDYNEW", bytes().text(name).text(root / name).str()) != done()) _exit(2);
    }
    _exit(0);
  }
  for (pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  for (int server = 0; server < servers; ++server)
    for (int i = 0; i < each; ++i)
      EXPECT_NE(root.registry().find(pair("$init$/" + name_of(server, i), name_of(server, i))),
                std::string::npos);
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
      ASSERT_EQ(set("Zinc"), done());
      set_current_directory("D");
      if (set("Gold") == done()) {
        ++opened;
        EXPECT_STREQ(store.study_name, "Gold");
        EXPECT_STREQ(current_context.directory, "None");
      } else {
        ++refused;
        EXPECT_STREQ(store.study_name, "Zinc");
        EXPECT_STREQ(current_context.study, "Zinc");
        EXPECT_STREQ(current_context.directory, "D");
      }
    }
  });
  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
}

TEST_F(study_requests, del_puts_back_what_it_cannot_delete) {
  ASSERT_EQ(set("Gold"), done());
  std::string said;
  {
    const lock_holder other({root / "Gold"});
    said = console_of([&] {
      EXPECT_EQ(session.ask("CSTUDYDEL"), refusal("An error happened during Study deletion: Gold"));
    });
  }
  EXPECT_NE(said.find("Unable to delete directory \"" + root.path() + "/Gold\": "), std::string::npos)
      << said;
  EXPECT_EQ(root.registry(), registered);
  {
    const file_size_limit disk(60);
    ASSERT_EQ(set("Gold"), done());
    EXPECT_EQ(session.ask("CSTUDYDEL"), refusal("An error happened during Study deletion: Gold"));
  }
  EXPECT_EQ(root.registry(), registered);
  EXPECT_EQ(set("Gold"), done());
}

TEST_F(study_requests, a_server_at_work_in_a_deleted_study_refuses) {
  ASSERT_EQ(set("Iron"), done());
  const std::string path = root / "Iron";
  ASSERT_EQ(session.ask("CDIRNEW", bytes().text("D").str()), done());
  ASSERT_EQ(session.ask("CDIRSET", bytes().text("D").str()), done());
  fs::remove_all(path);
  console_of([&] {
    EXPECT_EQ(session.ask("CDIRLST"), refusal("Study Directory not found or not a study: \"" + path + "\""));
    EXPECT_EQ(session.ask("CDIRNEW", bytes().text("E").str()), refusal("Cannot create directory Iron: E"));
    EXPECT_EQ(session.ask("CFILELST"), refusal("Not a valid Velmar directory: Iron: D"));
    EXPECT_EQ(session.ask("CDIRDEL"), refusal("An error happened during Directory deletion"));
  });
  EXPECT_FALSE(fs::exists(path));
  EXPECT_EQ(set("Gold"), done());
}

TEST_F(study_requests, new_refuses_names_and_paths_that_are_no_study) {
  EXPECT_EQ(make_new("Gone", root / "New"), refusal("WARNING: This study already exists: Gone"));
  auto refused = [&](const std::string& name, const std::string& path) {
    EXPECT_EQ(make_new(name, path), refusal("Impossible to create study " + name + ". File system full?"))
        << path;
  };
  for (const char* path : {"", "New", "$init$/New", "/", "//"}) refused("New", path);
  refused("New", root.path());
  refused("New", root / "Gold");
  refused("New", root / "Gold/QRD/DIRE.1");
  refused("New", root / "Gold/../Gold/QRD");
  refused("New", root / "a\nlogical_name   =Evil");
  refused("New", root / std::string(200, 'n'));
  refused("New", root / "a*b");
  for (const std::string& name :
       {std::string(), std::string("None"), std::string("a\tb"), std::string(50, 'n')})
    refused(name, root / "New");
  EXPECT_EQ(root.registry(), registered);
  EXPECT_FALSE(fs::exists(root / "New"));
  EXPECT_FALSE(fs::exists(root / "Gold/QRD/DIRE.1"));
}

TEST_F(study_requests, old_clients_name_no_path) {
  connection.client_version = 400500;
  EXPECT_EQ(session.ask("CSTUDYNEW", bytes().text("New").str()), done());
  EXPECT_EQ(root.registry(), registered + pair("$init$/New", "New"));
  for (const char* name : {"../New2", "a\\b", "..", "."})
    EXPECT_EQ(session.ask("CSTUDYNEW", bytes().text(name).str()),
              refusal(std::string("Impossible to create study ") + name + ". File system full?"));
  EXPECT_FALSE(fs::exists(root / "../New2"));
  root.write_registry("");
  EXPECT_EQ(session.ask("CSTUDYNEW", bytes().text("New3").str()), done());
  EXPECT_EQ(root.registry(), registry_head + pair("$init$/New3", "New3"));
}

TEST_F(study_requests, del_removes_the_study_and_opens_another) {
  EXPECT_EQ(set("Iron"), done());
  EXPECT_EQ(session.ask("CSTUDYDEL"), done());
  EXPECT_FALSE(fs::exists(root / "Iron"));
  EXPECT_EQ(root.registry(), registry_head + pair("$init$/Zinc", "Zinc") + pair("$init$/Gold", "Gold") +
                                 pair("$init$/Old", "Old") + pair("$init$/Gone", "Gone"));
  EXPECT_STREQ(current_context.study, "None");
  EXPECT_STREQ(store.study_name, "Zinc");
  EXPECT_EQ(read_file(root / "Zinc/LOCK"), "LOCKED");
}

TEST_F(study_requests, del_of_the_last_study_makes_the_default_one) {
  root.write_registry(pair("$init$/Gold", "Gold"));
  EXPECT_EQ(set("Gold"), done());
  EXPECT_EQ(session.ask("CSTUDYDEL"), done());
  EXPECT_STREQ(store.study_name, "Velmar-Init");
  EXPECT_EQ(root.registry(), registry_head);

  qu_string_copy("Gold", current_context.study);
  EXPECT_EQ(session.ask("CSTUDYDEL"), refusal("Study does not exist: Gold"));
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
    EXPECT_EQ(set(name), done());
    EXPECT_EQ(session.ask("CSTUDYDEL"),
              refusal(std::string("An error happened during Study deletion: ") + name));
    EXPECT_STREQ(current_context.study, "None");
  }
  EXPECT_EQ(root.registry(), registry_head + pairs);
  EXPECT_TRUE(fs::exists(root / "Gold/Inner/DESCR"));
  EXPECT_EQ(set("Inner"), done());
  EXPECT_EQ(session.ask("CSTUDYDEL"), done());
  EXPECT_TRUE(fs::exists(root / "Gold/DESCR"));
  // Also where the root is all that is registered.
  root.write_registry(pair(root.path(), "Root"));
  EXPECT_EQ(set("Root"), done());
  const fs::path above = fs::path(root.path()).parent_path();
  const auto before = fs::last_write_time(above);
  EXPECT_EQ(session.ask("CSTUDYDEL"), refusal("An error happened during Study deletion: Root"));
  EXPECT_EQ(root.registry(), registry_head + pair(root.path(), "Root"));
  EXPECT_EQ(fs::last_write_time(above), before) << "it was away for a moment";
}

}  // namespace
}  // namespace qrd::test

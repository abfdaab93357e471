#include "disk/qu_study_names.h"
#include "support/fresh_state.h"
#include "support/study_root.h"
#include "util/qu_string.h"

namespace qrd::test {
namespace {

strings texts(const string_list& list) {
  strings result;
  for (std::int64_t i = 0; i < list.count(); ++i) result.emplace_back(list[i]);
  return result;
}

using words = strings;

struct registry : testing::Test {
  void SetUp() override {
    fresh_state();
    qu_string_copy(root.path().c_str(), store.root_path);
  }
  std::optional<std::int64_t> read(bool sort = false, bool no_check = false) {
    return qu_study_names_read(-1, sort, no_check, &valid_names, &valid_paths, &names, &paths);
  }
  void rewrite() {
    static_cast<void>(read());
    static_cast<void>(qu_study_names_write(names, paths));
  }
  void make_catalogue(const std::string& study) { fs::create_directories(root / study + "/QRD"); }

  study_root root;
  string_list valid_names, valid_paths, names, paths;
};

TEST_F(registry, pairs_come_in_either_order_and_lose_one_separator) {
  root.write_registry(
      "physical_name  =/a/Gold//\nlogical_name   =Gold\n"
      "logical_name   =Zinc\r\nphysical_name  =/b/Zinc\\\r\n"
      "logical_name   =Two\nlogical_name   =Iron\nphysical_name  =$init$/Iron");
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(texts(names), (words{"Gold", "Zinc", "Iron"}));
  EXPECT_EQ(texts(paths), (words{"/a/Gold/", "/b/Zinc", root / "Iron"}));
}

TEST_F(registry, prefixes_stand_for_the_two_roots) {
  root.write_registry(pair("$root$\\Gold", "Gold") + pair("$init$2/Tin", "Tin") + pair("$other$/x", "Odd"),
                      "C:\\data\\db");
  ASSERT_TRUE(read());
  EXPECT_EQ(texts(paths), (words{"C:\\data\\db\\Gold", root.path() + "2/Tin", "$other$/x"}));
}

TEST_F(registry, a_study_is_a_folder_with_a_catalogue) {
  make_catalogue("Gold");
  fs::create_directory(root / "Bare");
  root.write_registry(pair("$init$/Bare", "Bare") + pair("$init$/Gone", "Gone") +
                      pair("$init$/Gold", "Gold"));
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(texts(valid_names), (words{"Gold"}));
  EXPECT_EQ(texts(valid_paths), (words{root / "Gold"}));
  EXPECT_EQ(read(false, true), 3);
  EXPECT_EQ(qu_study_names_read(-1, false, false, nullptr, nullptr, &names, nullptr), 3);
}

TEST_F(registry, a_name_that_stands_twice_has_its_first_path) {
  make_catalogue("B");
  root.write_registry(pair("$init$/A", "Gold") + pair("$init$/B", "Gold"));
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(texts(valid_paths), (words{root / "A"}));
}

TEST_F(registry, unknown_lines_are_reported_and_the_rest_is_read) {
  root.write_registry("\nphysical_name=/x\n" + pair("/a", "Gold"));
  std::string warning = "Warning: syntax error in your study_names.def file...\n";
  EXPECT_EQ(console_of([&] { read(); }), warning + warning);
  EXPECT_EQ(texts(names), (words{"Gold"}));
}

TEST_F(registry, a_missing_registry_is_an_empty_one) {
  names.add("old", name_size);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(read(), 0); }), "");
  EXPECT_EQ(names.count(), 0);
  rewrite();
  EXPECT_EQ(root.registry(), "root_unix      =\nroot_windows   =\n");
}

TEST_F(registry, texts_beyond_their_room_are_cut_with_a_star) {
  root.write_registry(pair("/" + std::string(250, 'p'), std::string(50, 'n')));
  ASSERT_TRUE(read());
  EXPECT_EQ(texts(names), (words{std::string(48, 'n') + "*"}));
  EXPECT_EQ(texts(paths), (words{"/" + std::string(197, 'p') + "*"}));
}

TEST_F(registry, a_rewrite_for_another_study_cuts_nothing) {
  const std::string far = "/" + std::string(300, 'p');
  const std::string text = "root_unix      =/" + std::string(220, 'u') + "\nroot_windows   =\n" +
                           pair(far + "/A", "A") + pair(far + "/B", std::string(60, 'b')) +
                           pair("$init$/" + std::string(250, 'g'), "Gold");
  write_file(root / "study_names.def", text);
  ASSERT_TRUE(read());
  names.add("New", name_size);
  paths.add((root / "New").c_str(), root_size);
  EXPECT_TRUE(qu_study_names_write(names, paths));
  EXPECT_EQ(root.registry(), text + pair("$init$/New", "New"));
}

// A root that is given with a separator: what stands behind the prefix begins below it.
TEST_F(registry, the_end_of_a_given_root_counts) {
  store.root_has_end = 1;
  const std::string pairs = pair("$init$Gold", "Gold") + pair("$init$/Tin", "Tin");
  root.write_registry(pairs);
  ASSERT_TRUE(read());
  EXPECT_EQ(texts(paths), (words{root / "Gold", root / "Tin"}));
  for (const char* beside : {"/New", "2"}) {
    names.add(beside, name_size);
    paths.add((root.path() + beside).c_str(), root_size);
  }
  EXPECT_TRUE(qu_study_names_write(names, paths));
  EXPECT_EQ(root.registry(), "root_unix      =\nroot_windows   =\n" + pairs + pair("$init$/New", "/New") +
                                 pair(root.path() + "2", "2"));
}

TEST_F(registry, only_a_missing_one_is_empty) {
  const std::string registry_file = root / "study_names.def";
  const auto is_unreadable = [&] {
    names.add("old", name_size);
    const bool refused = !read() && names.count() == 0;
    const string_list none;
    return refused && !qu_study_names_write(none, none);
  };
  for (const std::string& damaged :
       {std::string(100, '\0'), pair("/a", "A") + std::string(5000, '\n') + '\0'}) {
    write_file(registry_file, damaged);
    EXPECT_TRUE(is_unreadable());
    EXPECT_EQ(root.registry(), damaged);
  }
  fs::remove(registry_file);
  fs::create_symlink(root / "not/mounted", registry_file);
  EXPECT_TRUE(is_unreadable());
  EXPECT_TRUE(fs::is_symlink(registry_file));
}

TEST_F(registry, a_rewrite_keeps_lines_of_another_platform) {
  make_catalogue("OLD/ARCHIVE");
  std::string pairs = pair("$root$\\Gold", "Gold") + pair("$root$2\\Tin", "Tin") +
                      pair("$init$\\OLD\\ARCHIVE", "Archive") + pair("/far/away", "Far");
  std::string text = "root_unix      =/data/db\nroot_windows   =C:\\data\\db\n" + pairs;
  write_file(root / "study_names.def", text);
  rewrite();
  EXPECT_EQ(root.registry(), text);
  EXPECT_EQ(texts(valid_names), (words{"Archive"}));
  EXPECT_EQ(texts(valid_paths), (words{root / "OLD/ARCHIVE"}));
}

TEST_F(registry, a_rewrite_keeps_one_pair_for_a_folder_and_no_default_study) {
  root.write_registry(pair("$init$/Gold", "First") + pair("$init$/Velmar-Init", "Velmar-Init") +
                      pair("$init$/Tin", "Tin") + pair("$init$\\Gold\\", "Last"));
  rewrite();
  EXPECT_EQ(root.registry(), "root_unix      =\nroot_windows   =\n" + pair("$init$/Tin", "Tin") +
                                 pair("$init$\\Gold", "Last"));
}

TEST_F(registry, what_cannot_be_read_or_written_is_not_replaced) {
  std::string damaged = "physical_name  =/a\x01\n";
  write_file(root / "study_names.def", damaged);
  std::string said = console_of([&] { rewrite(); });
  EXPECT_HAS(said, "Cannot create the study_names file...\n");
  EXPECT_EQ(root.registry(), damaged);

  fs::remove(root / "study_names.def");
  fs::create_directory(root / "study_names.def");
  said = console_of([&] { rewrite(); });
  EXPECT_EQ(said, "Cannot create the study_names file...\n");
}

}  // namespace
}  // namespace qrd::test

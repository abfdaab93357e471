// Look-ups that begin where a name was seen last, while other servers change the tree.
#include "catalogue/qd_name_hints.h"

#include "catalogue/qd_walk.h"
#include "support/catalogue_tree.h"

namespace qrd::test {
namespace {

struct name_hints_of_a_tree : testing::Test {
  // The entry that a directory is found under; empty if it is not.
  std::string found(const char* name) {
    path_text path;
    return qd_find_directory(name, path) == found::yes ? fs::path(path).filename().string() : "";
  }
  fs::path of(const char* entry) { return fs::path(tree_.path()) / entry; }

  catalogue_tree tree_;
};

TEST_F(name_hints_of_a_tree, changes_of_others_are_seen_at_once) {
  tree_.add_directory("DIRE.1", "A");
  tree_.add_directory("DIRE.2", "B");
  EXPECT_EQ(found("A") + " " + found("B"), "DIRE.1 DIRE.2");

  // Deleted; made again under another number; renamed in place; names that change places.
  fs::remove_all(of("DIRE.2"));
  EXPECT_EQ(found("B"), "");
  tree_.add_directory("DIRE.7", "B");
  EXPECT_EQ(found("B"), "DIRE.7");
  tree_.add_directory("DIRE.1", "C");
  EXPECT_EQ(found("A") + " " + found("C"), " DIRE.1");
  tree_.add_directory("DIRE.1", "B");
  tree_.add_directory("DIRE.7", "C");
  EXPECT_EQ(found("B") + " " + found("C"), "DIRE.1 DIRE.7");
  // An entry that is no more, or whose descriptor can't be understood.
  fs::rename(of("DIRE.1"), of("DIRE.3"));
  EXPECT_EQ(found("B"), "DIRE.3");
  tree_.add("DIRE.3", "damaged");
  tree_.add_directory("DIRE.4", "B");
  EXPECT_EQ(found("B"), "DIRE.4");
}

// A look-up of a known name reads no sibling: their descriptors may be anything by now.
TEST_F(name_hints_of_a_tree, the_siblings_are_not_read) {
  for (int i = 1; i <= 200; ++i) tree_.add_directory("DIRE." + std::to_string(i), "N" + std::to_string(i));
  std::string of_all[201];
  for (int i = 1; i <= 200; ++i) of_all[i] = found(("N" + std::to_string(i)).c_str());
  for (int i = 1; i <= 200; i += 2) tree_.add("DIRE." + std::to_string(i), "damaged");
  testing::internal::CaptureStdout();
  for (int i = 2; i <= 200; i += 2) EXPECT_EQ(found(("N" + std::to_string(i)).c_str()), of_all[i]);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(name_hints, forget_the_oldest_and_what_is_too_long) {
  auto hints = std::make_unique<name_hints>();
  name_hints::folder folder(*hints, "/root/S/QRD"), other(*hints, "/root/T/QRD");
  folder.remember("A", "DIRE.1");
  folder.remember("A", "DIRE.2");  // the first one is what a walk would find
  folder.remember("B", "DIRE.9999999999");
  folder.remember("C", "DIRE.99999999999");
  EXPECT_EQ(folder.where("A"), "DIRE.1");
  EXPECT_EQ(folder.where("B"), "DIRE.9999999999");
  EXPECT_EQ(folder.where("C"), "");
  EXPECT_EQ(other.where("A"), "");
  folder.forget("A");
  EXPECT_EQ(folder.where("A"), "");
  // More names than there is room for: the last ones are known.
  const auto name_of = [](int i) { return "name " + std::to_string(i); };
  for (int i = 0; i < 40000; ++i) folder.remember(name_of(i), "VARI." + std::to_string(i));
  int known = 0;
  for (int i = 39000; i < 40000; ++i) known += folder.where(name_of(i)) == "VARI." + std::to_string(i);
  EXPECT_GT(known, 990);
}

}  // namespace
}  // namespace qrd::test

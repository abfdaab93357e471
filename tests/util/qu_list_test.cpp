#include "util/qu_list.h"

#include "support/test.h"
#include "util/qu_memory.h"

namespace qrd::test {
namespace {

TEST(list, finds) {
  string_list list;
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.find("a", -5), -5);
  for (const char* text : {"a", "b", "c", "b"}) list.add(text, 50);
  EXPECT_EQ(list.find("b"), 1);
  list.clear();
  EXPECT_EQ(list.find("b"), -1);
  EXPECT_EQ(list.get(), nullptr);
}

TEST(list, sorts_in_byte_order_from_a_rank) {
  string_list list;
  for (const char* text : {"z", "\xC3\xA9", "b", "B", "a"}) list.add(text, 50);
  list.sort(1);
  strings sorted(list.get(), list.get() + 5);
  EXPECT_EQ(sorted, (strings{"z", "B", "a", "b", "\xC3\xA9"}));
  list.sort(9);
}

TEST(list, owners_keep_count_across_moves) {
  std::uint64_t start = checked_memory.in_use;
  {
    string_list list, other;
    for (int i = 0; i < 1000; i++) list.add("x", 50);
    other.add("y", 50);
    other = std::move(list);
    EXPECT_EQ(other.count(), 1000);
    EXPECT_EQ(qu_list_count(other.get()), 1000);
    string_list third(std::move(other));
    EXPECT_EQ(other.count(), 0);
    other = std::move(third);
    EXPECT_EQ(third.count(), 0);
    third.add("z", 50);
    EXPECT_STREQ(third[0], "z");
    other.add("last", 50);
    EXPECT_STREQ(other[1000], "last");
  }
  EXPECT_EQ(checked_memory.in_use, start);
}

}  // namespace
}  // namespace qrd::test

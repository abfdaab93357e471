#include "util/qu_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "util/qu_memory.h"

namespace qrd::test {
namespace {

TEST(list, finds_and_deletes) {
  string_list list;
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.find("a", -5), -5);
  for (const char* text : {"a", "b", "c", "b"}) list.add(text, 50);
  EXPECT_EQ(list.find("b"), 1);
  list.erase(1);
  EXPECT_EQ(list.count(), 3);
  EXPECT_STREQ(list[1], "c");
  EXPECT_STREQ(list[2], "b");
  list.erase(0);
  list.erase(0);
  list.erase(0);
  EXPECT_EQ(list.get(), nullptr);
}

TEST(list, sorts_in_byte_order_from_a_rank) {
  string_list list;
  for (const char* text : {"z", "\xC3\xA9", "b", "B", "a"}) list.add(text, 50);
  list.sort(1);
  std::vector<std::string> sorted(list.get(), list.get() + 5);
  EXPECT_EQ(sorted, (std::vector<std::string>{"z", "B", "a", "b", "\xC3\xA9"}));
  list.sort(9);
}

TEST(list, owners_keep_count_across_moves) {
  std::uint64_t start = UV_MEM_SIZE;
  {
    string_list list, other;
    for (int i = 0; i < 1000; i++) list.add("x", 50);
    other.add("y", 50);
    other = std::move(list);
    EXPECT_EQ(other.count(), 1000);
    EXPECT_EQ(qu_list_count(other.get()), 1000);
    string_list third(std::move(other));
    EXPECT_EQ(other.count(), 0);
    other.reset(third.release());
    EXPECT_EQ(third.count(), 0);
    third.add("z", 50);
    EXPECT_STREQ(third[0], "z");
    other.add("last", 50);
    EXPECT_STREQ(other[1000], "last");
    EXPECT_EQ(string_list(other.release()).count(), 1001);
  }
  EXPECT_EQ(UV_MEM_SIZE, start);
}

TEST(sort, moves_the_companion_along) {
  qu_sort_init(1);
  for (int count : {1, 2, 10, 11, 1000}) {
    std::vector<std::int64_t> keys, ranks(static_cast<std::size_t>(count));
    for (int i = 0; i < count; i++) keys.push_back((i * 7919) % 1009 - 500);
    std::iota(ranks.begin(), ranks.end(), 0);
    const std::vector<std::int64_t> before = keys;

    EXPECT_EQ(qu_sort(0, -1, count, keys.data(), ranks.data()), 1);
    EXPECT_EQ(keys, before);
    std::vector<std::int64_t> by_rank;
    for (std::int64_t rank : ranks) by_rank.push_back(before[static_cast<std::size_t>(rank)]);
    EXPECT_TRUE(std::is_sorted(by_rank.begin(), by_rank.end()));

    std::iota(ranks.begin(), ranks.end(), 0);
    EXPECT_EQ(qu_sort(0, 0, count, keys.data(), ranks.data()), 1);
    EXPECT_EQ(keys, by_rank);
    keys = before;
    EXPECT_EQ(qu_sort(3, 0, count, keys.data(), nullptr), 1);
    EXPECT_EQ(keys, by_rank);
  }
  EXPECT_EQ(qu_sort(0, 1, 0, nullptr, nullptr), 1);
}

}  // namespace
}  // namespace qrd::test

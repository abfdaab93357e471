#include "util/qu_memory.h"

#include "support/test.h"

namespace qrd::test {
namespace {

constexpr std::int64_t too_many = std::numeric_limits<std::int64_t>::max();
// Representable, but no system gives it.
constexpr std::int64_t too_large = std::int64_t{1} << 62;

TEST(memory, counts_every_byte_in_use) {
  std::uint64_t start = checked_memory.in_use;
  void* block = qu_mem_alloc_nn("f", 1, 8, 10);
  EXPECT_EQ(checked_memory.in_use, start + 80);
  block = qu_mem_realloc_nn("f", 1, block, 8, 10, 25);
  EXPECT_EQ(checked_memory.in_use, start + 200);
  EXPECT_EQ(qu_mem_realloc_nn("f", 1, block, 8, 25, 25), block);
  block = qu_mem_realloc_fn("f", 1, block, 8, 25, 3);
  EXPECT_EQ(checked_memory.in_use, start + 24);
  EXPECT_EQ(qu_mem_free_nn("f", 1, block, 8, 3), nullptr);
  EXPECT_EQ(checked_memory.in_use, start);
  EXPECT_EQ(console_of([] { EXPECT_EQ(qu_mem_free_nn("f", 1, nullptr, 8, 0), nullptr); }), "");
}

TEST(memory, a_failed_growth_costs_the_block) {
  std::uint64_t start = checked_memory.in_use;
  void* block = qu_mem_alloc_nn("f", 1, 1, 100);
  std::string report =
      console_of([&] { EXPECT_EQ(qu_mem_realloc_nn("grid.cpp", 12, block, 1, 100, too_large), nullptr); });
  EXPECT_EQ(checked_memory.in_use, start);
  EXPECT_TRUE(
      report.starts_with("MEMORY ALLOCATION ERROR: (grid.cpp: 12)\n=======================\n\n"
                         "Your system cannot allocate the requested memory\n\n"
                         "Unable to Allocate           :4398046511104.0 MegaBytes\n"
                         "Already Allocated            :"))
      << report;
  EXPECT_TRUE(
      report.ends_with("\n\nTHIS ERROR IS NOT DUE TO THE WORKING BUFFER SIZE\n"
                       "YOU SHOULD CHANGE OTHER CALCULATION PARAMETERS\n\n"
                       "(See: Help/Preferences/Study Environment/Miscellaneous/Memory Management)\n\n"))
      << report;
  EXPECT_EQ(qu_mem_alloc_nn("f", 1, 1, too_large), nullptr);
  EXPECT_EQ(checked_memory.in_use, start);
}

TEST(memory, an_overflow_keeps_the_block) {
  std::uint64_t start = checked_memory.in_use;
  checked_memory.capacity = 1048576;
  void* block = qu_mem_alloc_nn("f", 1, 16, 2);
  std::string report =
      console_of([&] { EXPECT_EQ(qu_mem_realloc_nn("f", 1, block, 16, 2, too_many), nullptr); });
  EXPECT_HAS(report,
             "greater than the Velmar Maximum Capacity\n\n"
             "This message only occurs in DEBUG mode and the program will still continue !\n"
             "Velmar Maximum Capacity      :    1.0 MegaBytes\n"
             "Unable to Allocate           :140737488355328.0 MegaBytes\n");
  EXPECT_EQ(checked_memory.in_use, start + 32);
  std::memset(block, 1, 32);
  qu_mem_free_nn("f", 1, block, 16, 2);
  EXPECT_EQ(qu_mem_alloc_nn("f", 1, 16, too_many), nullptr);
}

TEST(memory, what_cannot_be_is_fatal) {
  EXPECT_FATAL(qu_mem_alloc_fn("a", 3, 16, too_many), "No 1 in function qu_mem_alloc_fn");
  EXPECT_FATAL(qu_mem_alloc_fn("a", 3, 1, too_large), "No 20 in function qu_mem_alloc_fn");
  static char block[8];
  EXPECT_FATAL(qu_mem_free_fn("a", 3, block, 8, too_large / 8),
               "qu_mem_free_fn: length > UV_MEM_SIZE \\(a:3\\)");
  EXPECT_FATAL(qu_mem_realloc_fn("a", 3, block, 16, 1, too_many), "No 10 in function qu_mem_realloc_fn");
}

TEST(checked_array, holds_nothing_for_a_count_of_zero) {
  std::uint64_t start = checked_memory.in_use;
  {
    checked_array<double> values;
    EXPECT_TRUE(values.allocate(0));
    EXPECT_EQ(values.data(), nullptr);
    EXPECT_TRUE(values.allocate(3));
    checked_array<double> other = std::move(values);
    EXPECT_EQ(other.count(), 3);
    EXPECT_EQ(checked_memory.in_use, start + 24);
  }
  EXPECT_EQ(checked_memory.in_use, start);
}

}  // namespace
}  // namespace qrd::test

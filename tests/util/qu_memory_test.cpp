#include "util/qu_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "support/console.h"

namespace qrd::test {
namespace {

constexpr std::int64_t too_many = std::numeric_limits<std::int64_t>::max();
// Representable, but no system gives it.
constexpr std::int64_t too_large = std::int64_t{1} << 62;

TEST(Memory, CountsEveryByteInUse) {
  std::uint64_t start = UV_MEM_SIZE;
  void* block = qu_mem_alloc_nn("f", 1, 8, 10);
  EXPECT_EQ(UV_MEM_SIZE, start + 80);
  block = qu_mem_realloc_nn("f", 1, block, 8, 10, 25);
  EXPECT_EQ(UV_MEM_SIZE, start + 200);
  EXPECT_EQ(qu_mem_realloc_nn("f", 1, block, 8, 25, 25), block);
  block = qu_mem_realloc_fn("f", 1, block, 8, 25, 3);
  EXPECT_EQ(UV_MEM_SIZE, start + 24);
  EXPECT_EQ(qu_mem_free_nn("f", 1, block, 8, 3), nullptr);
  EXPECT_EQ(UV_MEM_SIZE, start);
  EXPECT_EQ(console_of([] { EXPECT_EQ(qu_mem_free_nn("f", 1, nullptr, 8, 0), nullptr); }), "");
}

TEST(Memory, ReallocOfNothingIsAnAllocation) {
  std::uint64_t start = UV_MEM_SIZE;
  void* block = qu_mem_realloc_nn("f", 1, nullptr, 4, 99, 5);
  EXPECT_EQ(UV_MEM_SIZE, start + 20);
  qu_mem_free_fn("f", 1, block, 4, 5);
}

TEST(Memory, AFailedGrowthCostsTheBlock) {
  std::uint64_t start = UV_MEM_SIZE;
  void* block = qu_mem_alloc_nn("f", 1, 1, 100);
  std::string report =
      console_of([&] { EXPECT_EQ(qu_mem_realloc_nn("grid.cpp", 12, block, 1, 100, too_large), nullptr); });
  EXPECT_EQ(UV_MEM_SIZE, start);
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
  EXPECT_EQ(last_resource_failure.kind, 1);
  EXPECT_EQ(qu_mem_alloc_nn("f", 1, 1, too_large), nullptr);
  EXPECT_EQ(UV_MEM_SIZE, start);
}

TEST(Memory, AnOverflowKeepsTheBlock) {
  std::uint64_t start = UV_MEM_SIZE;
  maximum_capacity = 1048576;
  void* block = qu_mem_alloc_nn("f", 1, 16, 2);
  std::string report =
      console_of([&] { EXPECT_EQ(qu_mem_realloc_nn("f", 1, block, 16, 2, too_many), nullptr); });
  EXPECT_NE(report.find("greater than the Velmar Maximum Capacity\n\n"
                        "This message only occurs in DEBUG mode and the program will still continue !\n"
                        "Velmar Maximum Capacity      :    1.0 MegaBytes\n"
                        "Unable to Allocate           :140737488355328.0 MegaBytes\n"),
            std::string::npos)
      << report;
  EXPECT_EQ(UV_MEM_SIZE, start + 32);
  std::memset(block, 1, 32);
  qu_mem_free_nn("f", 1, block, 16, 2);
  EXPECT_EQ(qu_mem_alloc_nn("f", 1, 16, too_many), nullptr);
}

TEST(Memory, ProgrammingErrorsAreFatal) {
  EXPECT_FATAL(qu_mem_alloc_nn("a.cpp", 3, 16, 0), "qu_mem_alloc_nn, length = 0 \\(a.cpp:3\\)");
  EXPECT_FATAL(qu_mem_alloc_fn("a.cpp", 3, 16, -1),
               "qu_mem_alloc_fn, number_of_elements is a negative value\n\\(a.cpp:3\\)");
  EXPECT_FATAL(qu_mem_alloc_fn("a", 3, 16, too_many), "No 1 in function qu_mem_alloc_fn");
  EXPECT_FATAL(qu_mem_alloc_fn("a", 3, 1, too_large), "No 20 in function qu_mem_alloc_fn");
  static char block[8];
  EXPECT_FATAL(qu_mem_free_nn("a", 3, block, 8, 0), "Illegal call to: qu_mem_free_nn, length =0 \\(a:3\\)");
  EXPECT_FATAL(qu_mem_free_fn("a", 3, block, 8, too_large / 8),
               "qu_mem_free_fn: length > UV_MEM_SIZE \\(a:3\\)");
  EXPECT_FATAL(qu_mem_realloc_nn("a", 3, nullptr, 8, -1, 1), "old_number_of_elements is a negative value");
  EXPECT_FATAL(qu_mem_realloc_nn("a", 3, block, 8, 1, -1), "new_number_of_elements is a negative value");
  EXPECT_FATAL(qu_mem_realloc_nn("a", 3, block, 8, 1, 0), "No 1 in function qu_mem_realloc_nn");
  EXPECT_FATAL(qu_mem_realloc_nn("a", 3, nullptr, 8, 1, 0), "qu_mem_alloc_nn, length = 0 \\(a:3\\)");
  EXPECT_FATAL(qu_mem_realloc_fn("a", 3, block, 16, 1, too_many), "No 10 in function qu_mem_realloc_fn");
  EXPECT_FATAL(qu_mem_realloc_fn("a", 3, block, 8, too_large / 8, 1),
               "qu_mem_realloc_fn: You deallocate more memory than allocated");
}

TEST(Memory, SmallFailuresAreSilent) {
  // A block whose growth by little can't be met: the report is about the difference.
  void* block = qu_mem_alloc_nn("f", 1, 1, 10);
  UV_MEM_SIZE += static_cast<std::uint64_t>(too_large);
  std::uint64_t start = UV_MEM_SIZE;
  EXPECT_EQ(console_of(
                [&] { EXPECT_EQ(qu_mem_realloc_nn("f", 1, block, 1, too_large, too_large + 100), nullptr); }),
            "");
  EXPECT_EQ(UV_MEM_SIZE, start - static_cast<std::uint64_t>(too_large));
  UV_MEM_SIZE -= 10;
}

TEST(Memory, DebugLogsLargeBlocks) {
  memory_debug = 1;
  std::string log = console_of([] {
    void* block = qu_mem_alloc_nn("f", 5, 1, 102400);
    qu_mem_free_nn("f", 6, block, 1, 102400);
    qu_mem_free_nn("f", 6, qu_mem_alloc_nn("f", 5, 1, 102399), 1, 102399);
  });
  memory_debug = 0;
  EXPECT_TRUE(log.starts_with("MEMORY DEBUG: ALLOC 102400 * 1 bytes at f:5... New_Ptr=0x")) << log;
  EXPECT_NE(log.find("MEMORY DEBUG: FREE 102400 * 1 bytes at f:6. Ptr=0x"), std::string::npos);
  EXPECT_EQ(log.find("102399"), std::string::npos);
}

TEST(CheckedArray, HoldsNothingForACountOfZero) {
  std::uint64_t start = UV_MEM_SIZE;
  {
    checked_array<double> values;
    EXPECT_TRUE(values.allocate(0));
    EXPECT_EQ(values.data(), nullptr);
    EXPECT_TRUE(values.allocate(3));
    checked_array<double> other = std::move(values);
    EXPECT_EQ(other.count(), 3);
    EXPECT_EQ(UV_MEM_SIZE, start + 24);
  }
  EXPECT_EQ(UV_MEM_SIZE, start);
}

}  // namespace
}  // namespace qrd::test

#include "util/qu_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "util/qu_message.h"

#ifdef __has_feature
#if __has_feature(address_sanitizer)
#define QRD_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(QRD_ADDRESS_SANITIZER)
// Too large a block is a null result in a checked build too, or the paths behind it would go unchecked.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
#endif

namespace qrd {

constinit memory_account checked_memory;

namespace {

// Blocks below this size are not reported.
constexpr std::uint64_t reported_size = 102400;
constexpr std::uint64_t largest_size = std::numeric_limits<std::uint64_t>::max();

// Who asks: what every message quotes.
struct caller {
  const char* operation;
  const char* file;
  std::int64_t line;
};

double megabytes(std::uint64_t size) {
  return static_cast<double>(size) / 1048576.0;
}

void report_head(const caller& from) {
  qu_message("MEMORY ALLOCATION ERROR: (%s: %" PRId64 ")", from.file, from.line);
  qu_message("=======================\n");
}

void report_tail(double requested) {
  qu_message("Unable to Allocate           :%7.1f MegaBytes", requested);
  qu_message("Already Allocated            :%7.1f MegaBytes", megabytes(checked_memory.in_use));
  qu_message("\nTHIS ERROR IS NOT DUE TO THE WORKING BUFFER SIZE");
  qu_message("YOU SHOULD CHANGE OTHER CALCULATION PARAMETERS\n");
  qu_message("(See: Help/Preferences/Study Environment/Miscellaneous/Memory Management)\n");
}

// The system refused `size` bytes.
void system_report(const caller& from, std::uint64_t size) {
  if (size < reported_size) return;
  report_head(from);
  qu_message("Your system cannot allocate the requested memory\n");
  report_tail(megabytes(size));
}

// The product of size and count can't be represented.
void size_report(const caller& from, std::uint64_t size, std::int64_t count) {
  double requested = static_cast<double>(count) / 1048576.0 * static_cast<double>(size);
  report_head(from);
  qu_message("The size of the memory to allocate is greater than the Velmar Maximum Capacity\n");
  qu_message("This message only occurs in DEBUG mode and the program will still continue !");
  qu_message("Velmar Maximum Capacity      :%7.1f MegaBytes", megabytes(checked_memory.capacity));
  report_tail(requested);
}

bool product_overflows(std::uint64_t size, std::int64_t count) {
  return size != 0 && static_cast<std::uint64_t>(count) > largest_size / size;
}

void* allocate(const caller& from, std::uint64_t size, std::int64_t count) {
  if (count < 0)
    qu_misuse("%s, number_of_elements is a negative value\n(%s:%" PRId64 ")", from.operation, from.file,
              from.line);
  if (product_overflows(size, count)) {
    size_report(from, size, count);
    return nullptr;
  }
  std::uint64_t total = size * static_cast<std::uint64_t>(count);
  if (total == 0) qu_misuse("%s, length = 0 (%s:%" PRId64 ")", from.operation, from.file, from.line);

  void* block = std::malloc(total);
  if (block == nullptr) {
    system_report(from, total);
    return nullptr;
  }
  checked_memory.in_use += total;
  qu_expect_filling(block, total);
  return block;
}

void* reallocate(const caller& from, void* block, std::uint64_t size, std::int64_t old_count,
                 std::int64_t new_count) {
  if (old_count < 0)
    qu_misuse("%s, old_number_of_elements is a negative value\n(%s:%" PRId64 ")", from.operation, from.file,
              from.line);
  if (new_count < 0)
    qu_misuse("%s, new_number_of_elements is a negative value\n(%s:%" PRId64 ")", from.operation, from.file,
              from.line);
  if (block == nullptr) return qu_mem_alloc_nn(from.file, from.line, size, new_count);
  if (old_count == new_count) return block;
  if (size == 0 || new_count < 1) qu_misuse_number(from.operation, 1);
  if (product_overflows(size, new_count)) {
    size_report(from, size, new_count);
    return nullptr;
  }
  std::uint64_t old_size = size * static_cast<std::uint64_t>(old_count);
  std::uint64_t new_size = size * static_cast<std::uint64_t>(new_count);
  std::uint64_t difference = new_size > old_size ? new_size - old_size : old_size - new_size;
  if (new_size < old_size && difference > checked_memory.in_use)
    qu_misuse("%s: You deallocate more memory than allocated", from.operation);

  void* moved = std::realloc(block, new_size);
  if (moved == nullptr) {
    system_report(from, difference);
    std::free(block);
    checked_memory.in_use -= old_size;
    return nullptr;
  }
  checked_memory.in_use += new_size - old_size;  // modulo 2^64: a shrunk block takes the difference out
  return moved;
}

void* release(const caller& from, void* block, std::uint64_t size, std::int64_t count) {
  if (block == nullptr) return nullptr;
  if (count < 0)
    qu_misuse("%s, number_of_elements is a negative value\n(%s:%" PRId64 ")", from.operation, from.file,
              from.line);
  std::uint64_t total = size * static_cast<std::uint64_t>(count);
  if (total == 0)
    qu_misuse("Illegal call to: %s, length =%" PRIu64 " (%s:%" PRId64 ")", from.operation, total, from.file,
              from.line);
  if (total > checked_memory.in_use)
    qu_misuse("%s: length > UV_MEM_SIZE (%s:%" PRId64 ")", from.operation, from.file, from.line);
  checked_memory.in_use -= total;
  std::free(block);
  return nullptr;
}

}  // namespace

void qu_expect_filling(void* block, std::uint64_t size) {
  constexpr std::uint64_t worth_it = std::uint64_t{4} << 20;
  if (size < worth_it) return;
  static const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  const std::uint64_t before = (page - reinterpret_cast<std::uintptr_t>(block) % page) % page;
  const int number = errno;
  madvise(static_cast<char*>(block) + before, (size - before) / page * page, MADV_HUGEPAGE);
  errno = number;
}

void* qu_mem_alloc_nn(const char* file, std::int64_t line, std::uint64_t size, std::int64_t count) {
  return allocate({"qu_mem_alloc_nn", file, line}, size, count);
}

void* qu_mem_alloc_fn(const char* file, std::int64_t line, std::uint64_t size, std::int64_t count) {
  constexpr char function[] = "qu_mem_alloc_fn";
  void* block = allocate({function, file, line}, size, count);
  if (block == nullptr) qu_fatal_number(function, product_overflows(size, count) ? 1 : 20);
  return block;
}

void* qu_mem_realloc_nn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                        std::int64_t old_count, std::int64_t new_count) {
  return reallocate({"qu_mem_realloc_nn", file, line}, block, size, old_count, new_count);
}

void* qu_mem_realloc_fn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                        std::int64_t old_count, std::int64_t new_count) {
  constexpr char function[] = "qu_mem_realloc_fn";
  if (block == nullptr && old_count >= 0 && new_count >= 0)
    return qu_mem_alloc_fn(file, line, size, new_count);
  void* moved = reallocate({function, file, line}, block, size, old_count, new_count);
  if (moved == nullptr) qu_fatal_number(function, product_overflows(size, new_count) ? 10 : 4);
  return moved;
}

void* qu_mem_free_nn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                     std::int64_t count) {
  return release({"qu_mem_free_nn", file, line}, block, size, count);
}

void* qu_mem_free_fn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                     std::int64_t count) {
  return release({"qu_mem_free_fn", file, line}, block, size, count);
}

}  // namespace qrd

// The checked allocator: it counts the bytes in use, names the caller in its reports, and has a
// fixed policy on failure. Last two letters of a name: "n" returns null, "f" is fatal; the second
// letter "n" is the normal count. The size is stated again on release.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace qrd {

struct memory_account {
  std::uint64_t in_use = 0;    // bytes, through these operations
  std::uint64_t capacity = 0;  // bytes; reported, never a limit
};
extern memory_account checked_memory;

// A block of count * size bytes, not cleared. REQUIRES: a count that isn't negative, a product above 0, and
// the true size of a block that is given back.
void* qu_mem_alloc_nn(const char* file, std::int64_t line, std::uint64_t size, std::int64_t count);
// May end the process, as may all that call it.
void* qu_mem_alloc_fn(const char* file, std::int64_t line, std::uint64_t size, std::int64_t count);
// A failed growth has released the block.
void* qu_mem_realloc_nn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                        std::int64_t old_count, std::int64_t new_count);
// May end the process, as may all that call it.
void* qu_mem_realloc_fn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                        std::int64_t old_count, std::int64_t new_count);
// Always null, for the caller to store back.
void* qu_mem_free_nn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                     std::int64_t count);
void* qu_mem_free_fn(const char* file, std::int64_t line, void* block, std::uint64_t size,
                     std::int64_t count);

// Asks the system for large pages where a block of that many bytes is about to be filled: of small ones, the
// first touch of each costs more than the copying. What the system can't give changes nothing.
void qu_expect_filling(void* block, std::uint64_t size);

// Owns one block of the checked allocator, with its size. T is trivial.
template <typename T>
class checked_array {
 public:
  checked_array() = default;
  checked_array(const checked_array&) = delete;
  checked_array& operator=(const checked_array&) = delete;
  checked_array(checked_array&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), count_(std::exchange(other.count_, 0)) {}
  checked_array& operator=(checked_array&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(count_, other.count_);
    return *this;
  }
  ~checked_array() { release(); }

  // Replaces what is held by `count` elements, not cleared. False if there is no memory for them.
  // A count of 0 holds nothing and succeeds. REQUIRES: count >= 0.
  bool allocate(std::int64_t count, const char* file = __builtin_FILE(),
                std::int64_t line = __builtin_LINE()) {
    release();
    if (count == 0) return true;
    data_ = static_cast<T*>(qu_mem_alloc_nn(file, line, sizeof(T), count));
    if (data_ == nullptr) return false;
    count_ = count;
    return true;
  }
  void release(const char* file = __builtin_FILE(), std::int64_t line = __builtin_LINE()) {
    if (data_ != nullptr) qu_mem_free_nn(file, line, data_, sizeof(T), count_);
    data_ = nullptr;
    count_ = 0;
  }

  T* data() { return data_; }
  const T* data() const { return data_; }
  std::int64_t count() const { return count_; }
  T& operator[](std::int64_t i) { return data_[i]; }
  const T& operator[](std::int64_t i) const { return data_[i]; }
  T* begin() { return data_; }
  T* end() { return data_ + count_; }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + count_; }

 private:
  T* data_ = nullptr;
  std::int64_t count_ = 0;
};

// Puts something in order at the end of its life, where no exception may pass: without memory it stays as it
// is.
template <typename Tidy>
void qu_tidy(const Tidy& tidy) noexcept {
  try {
    tidy();
  } catch (const std::bad_alloc&) {
    // Whoever comes next finds it as a killed process would have left it.
  }
}

}  // namespace qrd

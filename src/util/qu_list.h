// A list of strings: one array of character pointers, null behind the last string, and the integer
// 13 in the last slot of the array. An empty list is a null pointer. Arrays grow by 40 slots.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace qrd {

using qu_list = char**;

// Adds a text cut to room - 1 characters. The array may move: store the result.
// REQUIRES: count is qu_list_count(list).
qu_list qu_list_append(const char* file, std::int64_t line, qu_list list, std::int64_t count,
                       std::size_t room, const char* text);
qu_list qu_list_free(const char* file, std::int64_t line, qu_list list);
std::int64_t qu_list_count(const char* const* list);
std::int64_t qu_list_find(const char* const* list, const char* text, std::int64_t otherwise);
// Sorts the ranks from `first` on in byte order.
void qu_list_sort(std::int64_t first, qu_list list);

// Owns a qu_list. The list operations that return a new list are reached through it.
class string_list {
 public:
  string_list() = default;
  string_list(const string_list&) = delete;
  string_list& operator=(const string_list&) = delete;
  string_list(string_list&& other) noexcept
      : list_(std::exchange(other.list_, nullptr)), count_(std::exchange(other.count_, 0)) {}
  string_list& operator=(string_list&& other) noexcept {
    std::swap(list_, other.list_);
    std::swap(count_, other.count_);
    return *this;
  }
  ~string_list() { clear(); }

  void add(const char* text, std::size_t room, const char* file = __builtin_FILE(),
           std::int64_t line = __builtin_LINE()) {
    list_ = qu_list_append(file, line, list_, count_++, room, text);
  }
  void sort(std::int64_t first = 0) { qu_list_sort(first, list_); }
  std::int64_t count() const { return count_; }
  std::int64_t find(const char* text, std::int64_t otherwise = -1) const {
    return qu_list_find(list_, text, otherwise);
  }
  // REQUIRES: rank < count().
  const char* operator[](std::int64_t rank) const { return list_[rank]; }
  qu_list get() const { return list_; }
  void clear(const char* file = __builtin_FILE(), std::int64_t line = __builtin_LINE()) {
    list_ = qu_list_free(file, line, list_);
    count_ = 0;
  }

 private:
  qu_list list_ = nullptr;
  std::int64_t count_ = 0;
};

}  // namespace qrd

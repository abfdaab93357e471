// A list of strings: one array of character pointers, null behind the last string, and the integer
// 13 in the last slot of the array. An empty list is a null pointer. Arrays grow by 40 slots.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qrd {

using qu_list = char**;

// Adds a text cut to room - 1 characters. The array may move: store the result.
qu_list qu_list_add(const char* file, std::int64_t line, qu_list list, std::size_t room, const char* text);
void qu_list_modify(const char* file, std::int64_t line, qu_list list, std::int64_t rank, std::size_t room,
                    const char* text);
// Null when the list became empty.
qu_list qu_list_delete(const char* file, std::int64_t line, qu_list list, std::int64_t rank);
qu_list qu_list_free(const char* file, std::int64_t line, qu_list list);
std::int64_t qu_list_count(const char* const* list);
// The list's own string, or null.
char* qu_list_get(qu_list list, std::int64_t rank);
std::int64_t qu_list_find(const char* const* list, const char* text, std::int64_t otherwise);
// Sorts the ranks from `first` on in byte order.
void qu_list_sort(std::int64_t first, qu_list list);
qu_list qu_list_resize(const char* file, std::int64_t line, qu_list list, std::size_t room,
                       std::int64_t count, const char* filler);

// Sorts signed 64-bit keys upward and moves the companion (or null) along. Copy mode 0 sorts the
// keys in place; 1 and -1 sort a copy (fatal or not when there is no memory). 1, or 0 without memory.
void qu_sort_init(std::int64_t slots);
int qu_sort(std::int64_t slot, int copy_mode, std::int64_t count, std::int64_t* keys,
            std::int64_t* companion);

// Owns a qu_list. The list operations that return a new list are reached through it.
class string_list {
 public:
  string_list() = default;
  explicit string_list(qu_list list) : list_(list) {}
  string_list(const string_list&) = delete;
  string_list& operator=(const string_list&) = delete;
  string_list(string_list&& other) noexcept : list_(other.release()) {}
  string_list& operator=(string_list&& other) noexcept {
    qu_list taken = other.release();
    reset(taken);
    return *this;
  }
  ~string_list() { reset(nullptr); }

  void add(const char* text, std::size_t room, const char* file = __builtin_FILE(),
           std::int64_t line = __builtin_LINE()) {
    list_ = qu_list_add(file, line, list_, room, text);
  }
  void erase(std::int64_t rank, const char* file = __builtin_FILE(), std::int64_t line = __builtin_LINE()) {
    list_ = qu_list_delete(file, line, list_, rank);
  }
  void sort(std::int64_t first = 0) { qu_list_sort(first, list_); }
  std::int64_t count() const { return qu_list_count(list_); }
  std::int64_t find(const char* text, std::int64_t otherwise = -1) const {
    return qu_list_find(list_, text, otherwise);
  }
  // REQUIRES: rank < count().
  const char* operator[](std::int64_t rank) const { return list_[rank]; }
  qu_list get() const { return list_; }
  qu_list release() {
    qu_list taken = list_;
    list_ = nullptr;
    return taken;
  }
  void reset(qu_list list, const char* file = __builtin_FILE(), std::int64_t line = __builtin_LINE()) {
    qu_list_free(file, line, list_);
    list_ = list;
  }

 private:
  qu_list list_ = nullptr;
};

}  // namespace qrd

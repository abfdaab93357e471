#include "util/qu_list.h"

#include <algorithm>
#include <cstring>

#include "util/qu_memory.h"

namespace qrd {

namespace {

constexpr std::int64_t list_growth = 40;

char* end_mark() {
  return reinterpret_cast<char*>(13);
}

// Slots of the array, the mark included. The slots between the last string and the mark are null.
std::int64_t slot_count(qu_list list) {
  std::int64_t slot = qu_list_count(list);
  while (list[slot] != end_mark()) slot++;
  return slot + 1;
}

void clear_slots(qu_list list, std::int64_t first, std::int64_t count) {
  std::fill(list + first, list + count - 1, nullptr);
  list[count - 1] = end_mark();
}

}  // namespace

qu_list qu_list_append(const char* file, std::int64_t line, qu_list list, std::int64_t count,
                       std::size_t room, const char* text) {
  if (list == nullptr) {
    list = static_cast<qu_list>(qu_mem_alloc_fn(file, line, sizeof(char*), list_growth));
    clear_slots(list, 0, list_growth);
  } else if (list[count + 1] == end_mark()) {
    std::int64_t slots = count + 2;
    list =
        static_cast<qu_list>(qu_mem_realloc_fn(file, line, list, sizeof(char*), slots, slots + list_growth));
    clear_slots(list, count, slots + list_growth);
  }
  std::size_t length = room > 0 ? strnlen(text, room - 1) : 0;
  auto copy = static_cast<char*>(qu_mem_alloc_fn(file, line, 1, static_cast<std::int64_t>(length + 1)));
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  list[count] = copy;
  return list;
}

qu_list qu_list_free(const char* file, std::int64_t line, qu_list list) {
  if (list == nullptr) return nullptr;
  std::int64_t slots = slot_count(list);
  for (char** text = list; *text != nullptr; text++)
    qu_mem_free_fn(file, line, *text, 1, static_cast<std::int64_t>(std::strlen(*text) + 1));
  qu_mem_free_fn(file, line, list, sizeof(char*), slots);
  return nullptr;
}

std::int64_t qu_list_count(const char* const* list) {
  if (list == nullptr) return 0;
  std::int64_t count = 0;
  while (list[count] != nullptr) count++;
  return count;
}

std::int64_t qu_list_find(const char* const* list, const char* text, std::int64_t otherwise) {
  if (list == nullptr) return otherwise;
  for (std::int64_t rank = 0; list[rank] != nullptr; rank++)
    if (std::strcmp(list[rank], text) == 0) return rank;
  return otherwise;
}

void qu_list_sort(std::int64_t first, qu_list list) {
  std::int64_t count = qu_list_count(list);
  if (first >= count) return;
  std::sort(list + first, list + count,
            [](const char* left, const char* right) { return std::strcmp(left, right) < 0; });
}

}  // namespace qrd

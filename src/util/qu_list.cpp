#include "util/qu_list.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "util/qu_memory.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

constexpr std::int64_t growth = 40;

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

qu_list qu_list_add(const char* file, std::int64_t line, qu_list list, std::size_t room, const char* text) {
  std::int64_t count = qu_list_count(list);
  if (list == nullptr) {
    list = static_cast<qu_list>(qu_mem_alloc_fn(file, line, sizeof(char*), growth));
    clear_slots(list, 0, growth);
  } else if (list[count + 1] == end_mark()) {
    std::int64_t slots = count + 2;
    list = static_cast<qu_list>(qu_mem_realloc_fn(file, line, list, sizeof(char*), slots, slots + growth));
    clear_slots(list, count, slots + growth);
  }
  std::size_t length = room > 0 ? strnlen(text, room - 1) : 0;
  auto copy = static_cast<char*>(qu_mem_alloc_fn(file, line, 1, static_cast<std::int64_t>(length + 1)));
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  list[count] = copy;
  return list;
}

void qu_list_modify(const char* file, std::int64_t line, qu_list list, std::int64_t rank, std::size_t room,
                    const char* text) {
  if (list == nullptr) qu_fatal_number("qu_list_modify", 1);
  if (rank < 0 || rank >= qu_list_count(list)) qu_fatal_number("qu_list_modify", 2);
  // A copy, since the text may be the string that is about to move.
  std::string kept(text, room > 0 ? strnlen(text, room - 1) : 0);
  std::size_t size = kept.size() + 1;
  list[rank] = static_cast<char*>(qu_mem_realloc_fn(file, line, list[rank], 1,
                                                    static_cast<std::int64_t>(std::strlen(list[rank]) + 1),
                                                    static_cast<std::int64_t>(size)));
  std::memcpy(list[rank], kept.c_str(), size);
}

qu_list qu_list_delete(const char* file, std::int64_t line, qu_list list, std::int64_t rank) {
  if (list == nullptr) qu_fatal_number("qu_list_delete", 1);
  std::int64_t count = qu_list_count(list);
  if (rank < 0 || rank >= count) qu_fatal("The rank of the element is superior to the number of element");
  qu_mem_free_fn(file, line, list[rank], 1, static_cast<std::int64_t>(std::strlen(list[rank]) + 1));
  std::move(list + rank + 1, list + count + 1, list + rank);
  return count == 1 ? qu_list_free(file, line, list) : list;
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

char* qu_list_get(qu_list list, std::int64_t rank) {
  return rank >= 0 && rank < qu_list_count(list) ? list[rank] : nullptr;
}

std::int64_t qu_list_find(const char* const* list, const char* text, std::int64_t otherwise) {
  if (list == nullptr) return otherwise;
  for (std::int64_t rank = 0; list[rank] != nullptr; rank++)
    if (std::strcmp(list[rank], text) == 0) return rank;
  return otherwise;
}

void qu_list_sort(std::int64_t first, qu_list list) {
  std::int64_t count = qu_list_count(list);
  first = std::max<std::int64_t>(first, 0);
  if (first >= count) return;
  std::sort(list + first, list + count,
            [](const char* left, const char* right) { return std::strcmp(left, right) < 0; });
}

qu_list qu_list_resize(const char* file, std::int64_t line, qu_list list, std::size_t room,
                       std::int64_t count, const char* filler) {
  // Fillers are catalogue names, whatever room the list's own strings have.
  constexpr std::size_t filler_room = 50;
  std::int64_t old_count = qu_list_count(list);
  if (count == old_count) return list;
  qu_list resized = nullptr;
  for (std::int64_t rank = 0; rank < count; rank++) {
    resized = rank < old_count ? qu_list_add(file, line, resized, room, list[rank])
                               : qu_list_add(file, line, resized, filler_room, filler);
  }
  qu_list_free(file, line, list);
  return resized;
}

}  // namespace qrd

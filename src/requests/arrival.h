// What a request brings in a number that the request itself tells.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "wire/arrays.h"
#include "wire/connection.h"

namespace qrd {

inline constexpr char network_failure[] = "Error while reading from network";

// What became of a part of a request.
enum class [[nodiscard]] arrival{
    complete,
    broken,  // the connection is lost: nothing is answered
    refused  // it can't be taken, and what follows it in the packet is to be dropped
};

// Items of so many numbers each grow by `step` while they arrive, whatever count was announced.
// `read(first, step)` reads the numbers of so many items into their places, and gives false after a failed
// read. May throw bad_alloc.
template <typename Items, typename Read>
bool read_in_parts(Items& items, std::int64_t count, std::int64_t numbers, std::int64_t step, Read read) {
  array_in_parts whole(numbers * count);
  for (std::int64_t held = 0; held < count; held += step) {
    const std::int64_t part = std::min(step, count - held);
    items.resize(static_cast<std::size_t>(held + part));
    if (!read(held, part)) return false;
  }
  return true;
}

// The same for mere numbers.
template <typename Items, typename Read>
bool read_in_parts(Items& items, std::int64_t count, Read read) {
  constexpr std::int64_t step = 1 << 16;
  return read_in_parts(items, count, 1, step, [&](std::int64_t first, std::int64_t part) {
    return read(connection.client_socket, items.data() + first, part) != 0;
  });
}

}  // namespace qrd

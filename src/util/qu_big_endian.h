// Whole blocks of numbers between host order and the big-endian order of binary files (RFC 4506), in
// place. Applying it twice gives the block back.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace qrd {

inline std::uint16_t qu_swapped(std::uint16_t item) {
  return __builtin_bswap16(item);
}
inline std::uint32_t qu_swapped(std::uint32_t item) {
  return __builtin_bswap32(item);
}
inline std::uint64_t qu_swapped(std::uint64_t item) {
  return __builtin_bswap64(item);
}

// Item is std::uint16_t, std::uint32_t or std::uint64_t. The block needs no alignment.
template <typename Item>
void qu_big_endian_block(void* block, std::int64_t count) {
  if constexpr (std::endian::native == std::endian::big) return;
  auto* bytes = static_cast<unsigned char*>(block);
  for (std::int64_t i = 0; i < count; ++i, bytes += sizeof(Item)) {
    Item item;
    std::memcpy(&item, bytes, sizeof item);
    item = qu_swapped(item);
    std::memcpy(bytes, &item, sizeof item);
  }
}

}  // namespace qrd

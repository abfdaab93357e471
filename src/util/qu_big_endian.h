// Whole blocks of numbers between host order and the big-endian order of binary files (RFC 4506).
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

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

// Item is std::uint16_t, std::uint32_t or std::uint64_t. The blocks need no alignment; they are one and the
// same, or lie apart. Applying it twice gives the block back.
template <typename Item>
void qu_big_endian_copy(void* to, const void* from, std::int64_t count) {
  auto* target = static_cast<unsigned char*>(to);
  const auto* source = static_cast<const unsigned char*>(from);
  for (std::int64_t i = 0; i < count; ++i) {
    const auto place = static_cast<std::size_t>(i) * sizeof(Item);
    Item item;
    std::memcpy(&item, source + place, sizeof item);
    if constexpr (std::endian::native == std::endian::little) item = qu_swapped(item);
    std::memcpy(target + place, &item, sizeof item);
  }
}

// In place.
template <typename Item>
void qu_big_endian_block(void* block, std::int64_t count) {
  if constexpr (std::endian::native == std::endian::big) return;
  qu_big_endian_copy<Item>(block, block, count);
}

// The item of a number's size.
template <typename Number>
using image_of = std::conditional_t<sizeof(Number) == 8, std::uint64_t, std::uint32_t>;

// A number that is kept as it stands in files and on the wire, so that whole arrays go from one to the other
// as they are.
template <typename Number>
class big_endian {
 public:
  big_endian() = default;
  big_endian(Number value) {  // NOLINT(google-explicit-constructor)
    qu_big_endian_copy<image_of<Number>>(&image_, &value, 1);
  }
  operator Number() const {  // NOLINT(google-explicit-constructor)
    Number value;
    qu_big_endian_copy<image_of<Number>>(&value, &image_, 1);
    return value;
  }

 private:
  image_of<Number> image_;
};

}  // namespace qrd

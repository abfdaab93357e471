// Sizes of the text fields and the no-data values that every layer shares.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace qrd {

// Room of a catalogue name: 49 characters and the terminator.
inline constexpr std::size_t name_size = 50;
// Room of nearly every path.
inline constexpr std::size_t path_size = 256;
// Room of the root path and of a study's physical path.
inline constexpr std::size_t root_size = 200;
// Room of a unit symbol: 10 characters and the terminator.
inline constexpr std::size_t unit_size = 11;

using name_text = char[name_size];
using path_text = char[path_size];
using root_text = char[root_size];
using unit_text = char[unit_size];

inline constexpr char path_separator[] = "/";

// The word of a name field that holds nothing.
inline constexpr char no_name[] = "None";

// 1.2345e+308: a missing sample in memory, on the wire and in 64-bit files (IEEE 754 bits).
inline constexpr double missing_double = std::bit_cast<double>(std::uint64_t{0x7FE5F98E6BDA7FBC});
// 1.2345e+38 rounded to binary32: a missing sample in 32-bit files.
inline constexpr float missing_float = std::bit_cast<float>(std::uint32_t{0x7EB9BF36});
// A missing integer in memory, and in a 4-byte field on disk.
inline constexpr std::int64_t missing_int64 = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int32_t missing_int32 = std::numeric_limits<std::int32_t>::max();

// Clamped to 32 bits, so that the missing integer stays missing.
constexpr std::int32_t narrow_int(std::int64_t value) {
  if (value > std::numeric_limits<std::int32_t>::max()) return std::numeric_limits<std::int32_t>::max();
  if (value < std::numeric_limits<std::int32_t>::min()) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

}  // namespace qrd

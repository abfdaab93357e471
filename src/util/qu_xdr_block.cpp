#include "util/qu_xdr_block.h"

#include <algorithm>

#include "util/qu_big_endian.h"

namespace qrd {

namespace {

// Bytes of a block: a multiple of 8, so that no padding falls inside an array, and little enough to stay in
// the processor's cache between the conversion and the file.
constexpr std::int64_t block_bytes = 1 << 17;

template <typename Word, typename Value>
int move_block(XDR* xdr, Value* values, std::int64_t count) {
  static_assert(sizeof(Word) == sizeof(Value));
  char encoded[block_bytes];
  constexpr auto block_items = static_cast<std::int64_t>(block_bytes / sizeof(Value));
  for (std::int64_t done = 0; done < count; done += block_items) {
    const std::int64_t items = std::min(block_items, count - done);
    const auto bytes = static_cast<u_int>(items * static_cast<std::int64_t>(sizeof(Value)));
    if (xdr->x_op == XDR_ENCODE) {
      qu_big_endian_copy<Word>(encoded, values + done, items);
      if (!xdr_opaque(xdr, encoded, bytes)) return 0;
    } else {
      if (!xdr_opaque(xdr, reinterpret_cast<char*>(values + done), bytes)) return 0;
      qu_big_endian_block<Word>(values + done, items);
    }
  }
  return 1;
}

}  // namespace

int qu_xdr_kept(XDR* xdr, void* bytes, std::int64_t count) {
  constexpr std::int64_t most = 1 << 30;  // lengths have 32 bits there
  auto* next = static_cast<char*>(bytes);
  for (std::int64_t part = 0; count > 0; count -= part, next += part) {
    part = std::min(count, most);
    if (!xdr_opaque(xdr, next, static_cast<u_int>(part))) return 0;
  }
  return 1;
}

int qu_xdr_doubles(XDR* xdr, double* values, std::int64_t count) {
  return move_block<std::uint64_t>(xdr, values, count);
}

int qu_xdr_ints(XDR* xdr, std::int32_t* values, std::int64_t count) {
  return move_block<std::uint32_t>(xdr, values, count);
}

}  // namespace qrd

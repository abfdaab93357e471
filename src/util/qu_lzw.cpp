// LZW with growing code widths.
//
//   bytes 0, 1   1F 9D
//   byte 2       low 5 bits: largest code width; 80: block mode
//   then         codes, least significant bit first, in chunks of 8 codes of one width
//
// Codes 0 to 255 stand for themselves. In block mode 256 clears the table, and the first free code is
// 257, else 256. A chunk is as many bytes as the width has bits; the rest of a chunk is dropped when
// the width changes and after a clear.
#include "util/qu_lzw.h"

#include <algorithm>
#include <cstdint>

#include "util/qu_message.h"

namespace qrd {

namespace {

constexpr int first_width = 9;
constexpr int widest = 16;
constexpr int table_size = 1 << widest;
constexpr int clear_code = 256;

std::uint16_t prefixes[table_size];
std::uint8_t suffixes[table_size];
std::uint8_t stack[table_size];

class code_reader {
 public:
  code_reader(std::FILE* source, int largest_width) : source_(source), largest_width_(largest_width) {}

  // The next code, or -1 at the end of the input. `next_free` is the table's next free code.
  int next(int next_free) {
    if (cleared_ || bit_ + width_ > bits_ || next_free > largest_code_) {
      fetch(next_free);
      if (bit_ + width_ > bits_) return -1;
    }
    // The code lies in at most three bytes; the chunk is followed by two bytes of room.
    const std::uint8_t* at = chunk_ + bit_ / 8;
    unsigned value = at[0] | static_cast<unsigned>(at[1]) << 8 | static_cast<unsigned>(at[2]) << 16;
    value = value >> (bit_ % 8) & ((1U << width_) - 1U);
    bit_ += width_;
    return static_cast<int>(value);
  }

  void clear() { cleared_ = true; }

 private:
  void fetch(int next_free) {
    if (next_free > largest_code_) {
      width_++;
      largest_code_ = width_ == largest_width_ ? 1 << width_ : (1 << width_) - 1;
    }
    if (cleared_) {
      width_ = first_width;
      largest_code_ = (1 << width_) - 1;
      cleared_ = false;
    }
    bits_ = 8 * static_cast<int>(std::fread(chunk_, 1, static_cast<std::size_t>(width_), source_));
    bit_ = 0;
  }

  std::FILE* source_;
  int largest_width_;
  int width_ = first_width;
  int largest_code_ = (1 << first_width) - 1;
  bool cleared_ = false;
  std::uint8_t chunk_[widest + 4] = {};
  int bits_ = 0;
  int bit_ = 0;
};

// Puts the string of a code at the end of the stack, behind which `used` bytes stand already. The
// start of the string, or null if the chain of prefixes does not end.
std::uint8_t* unroll(int code, std::uint8_t* top) {
  while (code >= 256) {
    if (top == stack) return nullptr;
    *--top = suffixes[code];
    code = prefixes[code];
  }
  if (top == stack) return nullptr;
  *--top = static_cast<std::uint8_t>(code);
  return top;
}

// Where decoded bytes go to.
class byte_target {
 public:
  byte_target(std::FILE* stream, std::int64_t& length) : stream_(stream), length_(length) {}
  bool put(const std::uint8_t* bytes, std::size_t count) {
    length_ += static_cast<std::int64_t>(count);
    return stream_ == nullptr || std::fwrite(bytes, 1, count, stream_) == count;
  }

 private:
  std::FILE* stream_;
  std::int64_t& length_;
};

// A code that no encoder can have sent is damage; it is decoded all the same, as far as it can be.
lzw_end decode(std::FILE* source, byte_target& target, int largest_width, bool block_mode) {
  std::fill(prefixes, prefixes + table_size, std::uint16_t{0});
  std::fill(suffixes, suffixes + table_size, std::uint8_t{0});
  code_reader reader(source, largest_width);
  const int table_end = 1 << largest_width;
  int next_free = block_mode ? clear_code + 1 : clear_code;

  int previous = reader.next(next_free);
  if (previous < 0) return lzw_end::whole;
  auto first_byte = static_cast<std::uint8_t>(previous);
  lzw_end end = previous > 255 ? lzw_end::damaged : lzw_end::whole;
  if (!target.put(&first_byte, 1)) return lzw_end::unwritten;
  for (;;) {
    int code = reader.next(next_free);
    if (block_mode && code == clear_code) {
      std::fill(prefixes, prefixes + next_free, std::uint16_t{0});
      next_free = clear_code;
      reader.clear();
      code = reader.next(next_free);
    }
    if (code < 0) return end;

    std::uint8_t* const stack_end = stack + table_size;
    std::uint8_t* top = stack_end;
    // The string being defined by this very code: the previous one and its first byte again.
    bool is_new = code >= next_free;
    if (is_new) *--top = first_byte;
    if (code > next_free) end = lzw_end::damaged;
    top = unroll(is_new ? previous : code, top);
    if (top == nullptr) return lzw_end::damaged;
    first_byte = *top;
    if (!target.put(top, static_cast<std::size_t>(stack_end - top))) return lzw_end::unwritten;
    if (next_free < table_end) {
      prefixes[next_free] = static_cast<std::uint16_t>(previous);
      suffixes[next_free] = first_byte;
      next_free++;
    }
    previous = code;
  }
}

}  // namespace

lzw_end qu_lzw_decode(std::FILE* source, std::FILE* target, std::int64_t& length) {
  constexpr int width_bits = 0x1F;
  constexpr int block_bit = 0x80;
  length = 0;
  std::getc(source);
  std::getc(source);
  int flags = std::getc(source);
  lzw_end end = lzw_end::damaged;
  if (flags != EOF) {
    int largest_width = flags & width_bits;
    byte_target bytes(target, length);
    if (largest_width <= widest)
      end = decode(source, bytes, largest_width, (flags & block_bit) != 0);
    else
      qu_message("Unsupported compression method...\ncompressed with %d bits, can only handle %d bits",
                 largest_width, widest);
  }
  if (end == lzw_end::unwritten) return end;
  if (std::ferror(source) != 0) return lzw_end::unreadable;
  return target == nullptr || std::fflush(target) == 0 ? end : lzw_end::unwritten;
}

}  // namespace qrd

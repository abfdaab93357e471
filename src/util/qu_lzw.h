// Decoder of LZW streams with code widths from 9 to at most 16 bits, as files named ".Z" hold them.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qrd {

enum class lzw_end {
  whole,
  damaged,     // what could be decoded is there; after a message for an unsupported width
  unreadable,  // errno tells why
  unwritten    // likewise
};

// Decodes a stream from its first byte on. `length` is that of the output, which a null target leaves out.
lzw_end qu_lzw_decode(std::FILE* source, std::FILE* target, std::int64_t& length);

}  // namespace qrd

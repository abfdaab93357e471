// Decoder of LZW streams with code widths from 9 to at most 16 bits, as files named ".Z" hold them.
#pragma once

#include <cstdio>

namespace qrd {

// Decodes a stream from its first byte on. 0 for an unsupported width (after a message) or a failed
// stream, else 1. Damaged input ends the output early; it is no failure.
int qu_lzw_decode(std::FILE* source, std::FILE* target);

}  // namespace qrd

// Ranges of text samples: fixed width, no terminator. What holds for the other ranges holds for these.
#pragma once

#include <cstdint>
#include <span>

#include "samples/qd_read_write.h"

namespace qrd {

[[nodiscard]] bool qd_read_char_free(std::int64_t io, selection_mode mode, std::int64_t first,
                                     std::int64_t last, std::int64_t* count, std::span<unsigned char> texts);
// The texts that are written are blank-padded in place.
[[nodiscard]] bool qd_write_char_free(std::int64_t io, selection_mode mode, std::int64_t first,
                                      std::int64_t last, std::span<unsigned char> texts);
// Text samples as the transfers take them.
inline std::span<unsigned char> qd_text_bytes(std::span<char> texts) {
  return {reinterpret_cast<unsigned char*>(texts.data()), texts.size()};
}

}  // namespace qrd

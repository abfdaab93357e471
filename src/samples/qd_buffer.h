// One selected entry, stored bytes.
#pragma once

#include <cstdint>

namespace qrd {

// The bytes as they stand in the file; writing below 8 bits changes the ends of the block. A data file that
// ends early gives missing samples at 16 bits and less; otherwise, and after a failure of the disk, the
// result is false after a report.
[[nodiscard]] bool _qd_file_read_float_buffer(std::int64_t entry, std::int64_t first, std::int64_t last,
                                              void* destination);
[[nodiscard]] bool _qd_file_write_float_buffer(std::int64_t entry, std::int64_t first, std::int64_t last,
                                               void* stored);
[[nodiscard]] bool _qd_file_read_char_buffer(std::int64_t entry, std::int64_t first, std::int64_t last,
                                             unsigned char* destination);
[[nodiscard]] bool _qd_file_write_char_buffer(std::int64_t entry, std::int64_t first, std::int64_t last,
                                              unsigned char* texts);

// Blank-pads each text sample: from the first NUL on, all is blank.
void qd_pad_texts(unsigned char* texts, std::int64_t count, std::int64_t width);
// Writes text samples as they are. False after a report.
[[nodiscard]] bool qd_write_padded_texts(std::int64_t entry, std::int64_t first, std::int64_t last,
                                         const unsigned char* texts);

}  // namespace qrd

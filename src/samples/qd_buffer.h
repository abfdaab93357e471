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

}  // namespace qrd

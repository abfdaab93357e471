// One selected entry, stored bytes.
#pragma once

#include <cstdint>

namespace qrd {

// Host byte order at 32 and 64 bits, that of the file otherwise. Reading
// an implicit variable gives doubles. Writing changes the block. A data file that ends early gives missing
// samples at 16 bits and less, and is fatal otherwise. 0 only for the values of a file that another server
// has just deleted.
int _qd_file_read_float_buffer(std::int64_t entry, std::int64_t first, std::int64_t last, void* destination);
int _qd_file_write_float_buffer(std::int64_t entry, std::int64_t first, std::int64_t last, void* stored);
int _qd_file_read_char_buffer(std::int64_t entry, std::int64_t first, std::int64_t last,
                              unsigned char* destination);
int _qd_file_write_char_buffer(std::int64_t entry, std::int64_t first, std::int64_t last,
                               unsigned char* texts);

}  // namespace qrd

// Between stored bytes, as they stand in the data file, and doubles. The stored forms stand in
// disk/qd_data_file.h.
#pragma once

#include <cstdint>

namespace qrd {

// Without a source encoding gives missing values.
void _qd_file_decode(const void* source, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     double* destination);
void _qd_file_encode(const double* source, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     void* destination);

// Copies bits; bit numbers count from the least significant one, 7 is the top bit.
void qd_bits_shift(const unsigned char* source, unsigned char* destination, int source_bit,
                   int destination_bit, std::int64_t count);

}  // namespace qrd

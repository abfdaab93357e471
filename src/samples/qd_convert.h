// Between stored bytes, as they stand in the data file, and doubles. The stored forms stand in
// disk/qd_data_file.h.
#pragma once

#include <cstdint>

namespace qrd {

// Tests a precondition. REQUIRES: the bit length of a numeric variable.
void qd_require_numeric(std::int64_t bit_length);

// Stored samples first to last of a data file from and to values. Without a source encoding gives missing
// values. REQUIRES: the bit length of a numeric variable.
void _qd_file_decode(const void* source, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     double* destination);
void _qd_file_encode(const double* source, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     void* destination);
// Stores one value into its place of a block of stored samples that begins with the sample `first`.
void qd_encode_sample(double value, std::int64_t first, std::int64_t sample, std::int64_t bit_length,
                      void* block);

// Copies bits; bit numbers count from the least significant one, 7 is the top bit.
void qd_bits_shift(const unsigned char* source, unsigned char* destination, int source_bit,
                   int destination_bit, std::int64_t count);

}  // namespace qrd

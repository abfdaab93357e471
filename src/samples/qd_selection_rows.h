// Whole selections, and counts of what they select.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "samples/qd_variable_table.h"

namespace qrd {

// All samples of the file, 8 to a byte from the most significant bit, 1 = selected, one row of (N - 1) / 8 +
// 1 bytes for each variable of an io record. REQUIRES: variables of 1 bit. Otherwise as in qd_read_write.h.
[[nodiscard]] bool qd_read_selection_free(std::int64_t io, std::int64_t* row_bytes,
                                          std::span<unsigned char> rows);
[[nodiscard]] bool qd_write_selection_free(std::int64_t io, std::span<const unsigned char> rows);

// How many samples a selection leaves ("None": all); nothing if that can't be told.
std::optional<std::int64_t> qd_free_samples_count(const char* directory, const char* file,
                                                  const char* selection);
// How many samples of a range a selected selection selects: nothing if it can't be bound, or without memory.
// A macro selection counts at its column, or at slot 0 under its generic name.
std::optional<std::int64_t> qd_selected_samples_count(const qd_variable_handle& selection, std::int64_t first,
                                                      std::int64_t last);
// Set bits among the bits first to last (from 1, the top bit of the first byte).
std::int64_t qd_count_bits(const unsigned char* bits, std::int64_t first, std::int64_t last);

}  // namespace qrd

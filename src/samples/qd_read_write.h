// The sample engine: moves ranges of samples between data files and the caller's arrays. Sample numbers
// count from 1, a range includes both ends. Violated preconditions are fatal; the numbers stand in the
// source.
#pragma once

#include <cstdint>
#include <span>

namespace qrd {

// What a selection in the io record does to a transfer.
enum selection_mode : int {
  SEL_COMPRESSED = 0,  // the array holds the selected samples only
  SEL_MASKED = 2       // the array holds all samples; unselected ones are missing or ignored
};

// Most samples of one pass of a write.
inline constexpr std::int64_t samples_chunk = 100000;

// True on success. False without memory for a buffer, when a damaged descriptor puts the samples beyond any
// file, and when the array is too short for what the selected entries have now, whatever its caller was told
// of them before: nothing has been moved then. False too, after a report, when a
// write doesn't reach the file.
// Several variables stand one after the other. Numbers are read by samples/qd_sample_reader.h.
// All samples of the file, 8 to a byte from the most significant bit, 1 = selected, one row of
// (N - 1) / 8 + 1 bytes per variable.
[[nodiscard]] bool qd_read_selection_free(std::int64_t io, std::int64_t* row_bytes,
                                          std::span<unsigned char> rows);
// Writes have reached the file when they return. Samples that a selection leaves out keep their stored bits.
// A compressed array has exactly what the selection asks for.
[[nodiscard]] bool qd_write_float_free(std::int64_t io, selection_mode mode, std::int64_t first,
                                       std::int64_t last, std::span<const double> values);
[[nodiscard]] bool qd_write_selection_free(std::int64_t io, std::span<const unsigned char> rows);

}  // namespace qrd

// Ranges of samples between data files and the caller's arrays. Sample numbers count from 1, a range includes
// both ends. Here numbers are written; samples/qd_sample_reader.h reads them, samples/qd_read_write_char.h
// moves texts, samples/qd_selection_rows.h whole selections.
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
// file, when another server has replaced or locks the file, and when the array is too short for what the
// selected entries have now, whatever its caller was told of them before: nothing has been moved then. False
// too, after a report, when the disk fails. So all operations on ranges; all REQUIRE an io record.
//
// The values of several variables stand one after the other. They have reached the file on return. Samples
// that a selection leaves out keep their stored bits. A compressed array has exactly what the selection asks
// for. REQUIRES: numeric variables.
[[nodiscard]] bool qd_write_float_free(std::int64_t io, selection_mode mode, std::int64_t first,
                                       std::int64_t last, std::span<const double> values);

}  // namespace qrd

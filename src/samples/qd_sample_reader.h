// Numeric samples of a range, made while they are taken.
#pragma once

#include <cstdint>
#include <span>

#include "samples/qd_implicit.h"
#include "samples/qd_read_write.h"
#include "samples/qd_transfer.h"
#include "util/qu_memory.h"

namespace qrd {

// The values that qd_read_float_free gives of one variable. What is stored of them is read whole before the
// first one is taken, so that a failure can still be refused; a range of a computed variable may be larger
// than any memory.
class sample_reader {
 public:
  // `stored` has room for the stored bytes (qd_stored_room) and lives as long as the reader; a computed
  // variable needs none.
  explicit sample_reader(std::span<unsigned char> stored) : stored_(stored) {}

  // How many values the pieces have together.
  std::int64_t count() const { return count_; }
  // The next values, or none behind the last ones. They hold until the next call.
  std::span<const double> next();

 private:
  friend bool qd_read_float_free(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last,
                                 sample_reader& values);
  bool open(const range_transfer& range, selection_mode mode);
  void decode(std::int64_t count);

  std::span<unsigned char> stored_;
  computed_values computed_;
  selection_mask mask_;
  selection_mode mode_ = SEL_MASKED;
  bool is_computed_ = false;
  std::int64_t bit_length_ = 0;
  double unit_factor_ = 1.0;
  std::int64_t first_ = 1;  // in the data file, or where it would be there
  std::int64_t samples_ = 0;
  std::int64_t done_ = 0;
  std::int64_t count_ = 0;
  checked_array<double> piece_;
};

// Bytes that so many samples take at most, wherever they begin in their bytes; the largest number there is if
// they can't be told. A bit length below 1 counts as 1.
std::int64_t qd_stored_room(std::int64_t samples, std::int64_t bit_length);

// Opens the samples first to last of the variable of an io record. False after a failure of the disk, without
// memory, when a damaged descriptor puts the samples beyond any file, and when `stored` is too small for what
// the selected entry has now, whatever its caller was told of it before: nothing has been moved then.
// REQUIRES: an io record of one numeric variable; no other transfer until the last piece is taken.
[[nodiscard]] bool qd_read_float_free(std::int64_t io, selection_mode mode, std::int64_t first,
                                      std::int64_t last, sample_reader& values);

}  // namespace qrd

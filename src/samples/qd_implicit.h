// Variables whose values are computed.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "samples/qd_io.h"
#include "samples/qd_read_write.h"
#include "samples/qd_transfer.h"
#include "samples/qd_variable_table.h"
#include "util/qu_memory.h"

namespace qrd {

// Whether an implicit variable of this kind has values.
bool qd_is_computed_kind(int kind);

// What the values of a computed variable follow from.
class computed_values {
 public:
  // Reads all that is on disk of it. False if another server has deleted or changed the file, if its line
  // table is damaged, and for a kind without values.
  bool open(const qd_selected_entry& entry);
  // The values of the samples first to last, of any number that the file may have. REQUIRES: open.
  void get(std::int64_t first, std::int64_t last, double* values) const;

 private:
  const qd_selected_entry* entry_ = nullptr;
  std::vector<std::int64_t> offsets_;  // of the lines
};

// The values that qd_read_float_free gives of a computed variable, made in pieces while they are taken: a
// file of a few bytes may claim more samples than there is memory.
class computed_reader {
 public:
  // All that can fail: false, and nothing can be taken. REQUIRES: an io record of one variable that is
  // computed; no other transfer until the last piece is taken.
  bool open(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last);
  // How many values the pieces have together.
  std::int64_t count() const { return count_; }
  // The next values, or none behind the last ones. They hold until the next call.
  std::span<const double> next();

 private:
  computed_values source_;
  selection_mask mask_;
  selection_mode mode_ = SEL_MASKED;
  double unit_factor_ = 1.0;
  std::int64_t first_ = 1;  // in the data file, were there one
  std::int64_t samples_ = 0;
  std::int64_t done_ = 0;
  std::int64_t count_ = 0;
  checked_array<double> piece_;
};

}  // namespace qrd

// What the range operations of the sample engine share, below samples/qd_read_write.h.
#pragma once

#include <cstdint>
#include <optional>

#include "samples/qd_io.h"
#include "samples/qd_variable_table.h"
#include "util/qu_lock.h"

namespace qrd {

// The io record of a range operation, with what is the same for all its variables. REQUIRES: there is one of
// that id, with a variable; else a software error of `function`.
struct range_transfer {
  range_transfer(const char* function, std::int64_t io);
  // The same for a range. One outside the file isn't addressable: another server may have replaced the file
  // by a shorter one.
  range_transfer(const char* function, std::int64_t io, std::int64_t first, std::int64_t last);

  std::int64_t variable_count() const { return static_cast<std::int64_t>(io.variables.size()); }
  std::int64_t id(std::int64_t variable) const { return io.variables[static_cast<std::size_t>(variable)]; }
  const qd_selected_entry& entry(std::int64_t variable) const;
  // The sample of the data file that is sample `sample` of the variable's column.
  std::int64_t file_sample(std::int64_t variable, std::int64_t sample) const {
    return io.macro_slots[static_cast<std::size_t>(variable)] * samples + sample;
  }
  double unit_factor(std::int64_t variable) const {
    return io.unit_factors[static_cast<std::size_t>(variable)];
  }
  // False if the range isn't one of the file, and where a descriptor is damaged: a position in one of the
  // data files doesn't fit 63 bits, a sample has no width or the selection isn't one.
  bool addressable() const;

  qd_io& io;
  std::int64_t samples;  // in the file, which is also the distance of the columns of a macro
  std::int64_t first, last;
  std::int64_t count() const { return last - first + 1; }
};

// Holds the file of a range operation as it was selected while samples move: nobody who knows the lock lays
// its columns out anew meanwhile. Writing needs it, and reading where the place of a column depends on how
// many samples the file has.
class range_guard {
 public:
  enum class purpose { reading, writing };
  range_guard(const range_transfer& range, purpose what);
  // False if the lock is not to be had, or if another server has deleted or replaced what was selected.
  explicit operator bool() const { return holds_; }

 private:
  std::optional<folder_lock> lock_;
  bool holds_ = true;
};

// True when what was written to a range is as durable as it has to be.
[[nodiscard]] bool qd_sync_range(const range_transfer& range);

// Which samples of a range a selection leaves out, from the stored bits.
class selection_mask {
 public:
  // Loads the range of the record's selection into sample_tables.mask: false without memory or if the
  // disk fails. No selection leaves nothing out.
  [[nodiscard]] bool load(const range_transfer& range);
  // `i` counts from 0 at the first sample of the range.
  bool leaves_out(std::int64_t i) const {
    std::int64_t bit = skipped_ + i;
    return bits_ != nullptr && (bits_[bit / 8] >> (7 - bit % 8) & 1) != 0;
  }
  explicit operator bool() const { return bits_ != nullptr; }
  // Samples among the first `count` that it keeps.
  std::int64_t kept(std::int64_t count) const;

 private:
  const unsigned char* bits_ = nullptr;
  std::int64_t skipped_ = 0;
};

}  // namespace qrd

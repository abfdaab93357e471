#include "samples/qd_sample_reader.h"

#include <algorithm>

#include "disk/qd_data_file.h"
#include "samples/qd_buffer.h"
#include "samples/qd_convert.h"

namespace qrd {

namespace {

// Values of one piece: they stay in the processor's nearest memory until they are sent.
constexpr std::int64_t piece_samples = 2048;

}  // namespace

std::int64_t qd_stored_room(std::int64_t samples, std::int64_t bit_length) {
  constexpr std::int64_t ends = 2;  // of which the range has less than a byte
  std::int64_t bytes = 0;
  const bool is_too_much = __builtin_mul_overflow(samples, std::max<std::int64_t>(bit_length, 1), &bytes) ||
                           __builtin_add_overflow(bytes / 8, ends, &bytes);
  return is_too_much ? INT64_MAX : bytes;
}

bool qd_read_float_free(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last,
                        sample_reader& values) {
  const range_transfer range("qd_read_float_free", io, first, last);
  if (!range.addressable()) return false;
  const range_guard guard(range, range_guard::purpose::reading);
  return guard && values.open(range, mode);
}

bool sample_reader::open(const range_transfer& range, selection_mode mode) {
  const qd_selected_entry& entry = range.entry(0);
  mode_ = mode;
  unit_factor_ = range.unit_factor(0);
  bit_length_ = entry.bit_length;
  is_computed_ = entry.implicit != 0;
  first_ = range.file_sample(0, range.first);
  samples_ = range.count();
  const std::int64_t last = first_ + samples_ - 1;
  if (is_computed_) {
    if (!computed_.open(entry, first_, last)) return false;
  } else {
    qd_require_numeric(bit_length_);
    if (_qd_file_byte_count(first_, last, bit_length_) > static_cast<std::int64_t>(stored_.size()) ||
        !_qd_file_read_float_buffer(range.id(0), first_, last, stored_.data()))
      return false;
  }
  if (!mask_.load(range) || !piece_.allocate(std::min(samples_, piece_samples))) return false;
  count_ = mode == SEL_COMPRESSED ? mask_.kept(samples_) : samples_;
  return true;
}

// Puts the next values into the piece.
void sample_reader::decode(std::int64_t count) {
  const std::int64_t first = first_ + done_, last = first + count - 1;
  if (is_computed_)
    computed_.get(first, last, piece_.data());
  else
    _qd_file_decode(
        stored_.data() + (qd_sample_offset(first, bit_length_) - qd_sample_offset(first_, bit_length_)),
        first, last, bit_length_, piece_.data());
}

std::span<const double> sample_reader::next() {
  std::int64_t kept = 0;
  while (kept == 0 && done_ < samples_) {
    const std::int64_t part = std::min(samples_ - done_, piece_.count());
    decode(part);
    kept = part;
    if (mask_) {
      kept = 0;
      for (std::int64_t i = 0; i < part; ++i) {
        const bool left_out = mask_.leaves_out(done_ + i);
        if (!left_out || mode_ != SEL_COMPRESSED) piece_[kept++] = left_out ? missing_double : piece_[i];
      }
    }
    done_ += part;
  }
  if (unit_factor_ != 1.0)
    for (std::int64_t i = 0; i < kept; ++i)
      if (piece_[i] != missing_double) piece_[i] /= unit_factor_;
  return {piece_.data(), static_cast<std::size_t>(kept)};
}

}  // namespace qrd

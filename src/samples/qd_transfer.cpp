#include "samples/qd_transfer.h"

#include <algorithm>
#include <bit>

#include "disk/qd_data_file.h"
#include "disk/qd_file_descriptor.h"
#include "samples/qd_buffer.h"
#include "samples/qd_column_move.h"
#include "samples/qd_selection_rows.h"
#include "util/qu_message.h"
#include "util/qu_sync.h"

namespace qrd {

namespace {

qd_io& filled_io(const char* function, std::int64_t id) {
  qd_io& io = qd_io_of(function, id);
  if (io.variables.empty()) qu_misuse_number(function, 20);
  return io;
}

std::int64_t samples_of(const char* function, const qd_io& io) {
  const qd_selected_entry* entry = qd_entry(io.variables[0]);
  if (entry == nullptr) qu_misuse_number(function, 20);
  return entry->sample_count;
}

// Whether the sample `last` of a column can be told in 63 bits, and its address in the data file, in bits,
// too.
bool fits(const qd_selected_entry& entry, std::int64_t slot, std::int64_t samples, std::int64_t last) {
  std::int64_t sample = 0;
  std::int64_t bits = 0;
  return entry.bit_length >= 1 && slot >= 0 && !__builtin_mul_overflow(slot, samples, &sample) &&
         !__builtin_add_overflow(sample, last, &sample) &&
         (entry.implicit != 0 ||
          !__builtin_mul_overflow(sample, std::max<std::int64_t>(entry.bit_length, 64), &bits));
}

}  // namespace

range_transfer::range_transfer(const char* function, std::int64_t io_id)
    : io(filled_io(function, io_id)), samples(samples_of(function, io)), first(1), last(samples) {}

range_transfer::range_transfer(const char* function, std::int64_t io_id, std::int64_t first_sample,
                               std::int64_t last_sample)
    : range_transfer(function, io_id) {
  first = first_sample;
  last = last_sample;
}

const qd_selected_entry& range_transfer::entry(std::int64_t variable) const {
  const qd_selected_entry* entry = qd_entry(id(variable));
  if (entry == nullptr) qu_misuse_number("qd_set_io", 15);
  return *entry;
}

bool range_transfer::addressable() const {
  if (first < 1 || last < first || last > samples) return false;
  for (std::int64_t v = 0; v < variable_count(); ++v)
    if (!fits(entry(v), io.macro_slots[static_cast<std::size_t>(v)], samples, last)) return false;
  if (io.selection == 0) return true;
  const qd_selected_entry* selection = qd_entry(io.selection);
  return selection != nullptr && selection->bit_length == 1 &&
         fits(*selection, io.selection_slot, samples, last);
}

range_guard::range_guard(const range_transfer& range, purpose what) {
  const char* file_path = range.entry(0).file_path;
  bool in_columns = range.io.selection_slot > 0;
  for (std::int64_t slot : range.io.macro_slots) in_columns = in_columns || slot > 0;
  if (what == purpose::reading && !in_columns) return;

  // Samples below a byte, and those that a selection leaves out, are read and written again.
  lock_.emplace(file_path, what == purpose::writing ? lock_kind::exclusive : lock_kind::shared);
  holds_ = static_cast<bool>(*lock_);
  for (std::int64_t v = 0; v < range.variable_count() && holds_; ++v) holds_ = qd_is_in_place(range.entry(v));
  qd_file_record now;
  if (holds_ && in_columns)
    holds_ = !qd_columns_move(file_path) && qd_file_descriptor_read(file_path, now) == object_state::sound &&
             now.sample_count == range.samples;
}

bool qd_sync_range(const range_transfer& range) {
  for (std::int64_t v = 0; v < range.variable_count(); ++v)
    if (std::FILE* stream = range.entry(v).stream; stream != nullptr && !qu_sync_written(fileno(stream)))
      return false;
  return true;
}

bool selection_mask::load(const range_transfer& range) {
  if (range.io.selection == 0) return true;
  std::int64_t base = range.io.selection_slot * range.samples;
  std::int64_t first = base + range.first;
  std::int64_t last = base + range.last;
  std::int64_t bytes = _qd_file_byte_count(first, last, 1);
  if (!_qd_buffer_reserve(__builtin_FILE(), __builtin_LINE(), sample_tables.mask, bytes)) return false;
  if (!_qd_file_read_float_buffer(range.io.selection, first, last, sample_tables.mask.data)) return false;
  bits_ = static_cast<const unsigned char*>(sample_tables.mask.data);
  skipped_ = (first - 1) % 8;
  return true;
}

std::int64_t selection_mask::kept(std::int64_t count) const {
  if (bits_ == nullptr || count <= 0) return count;
  return count - qd_count_bits(bits_, skipped_ + 1, skipped_ + count);
}

std::int64_t qd_count_bits(const unsigned char* bits, std::int64_t first, std::int64_t last) {
  if (last < first) return 0;
  std::int64_t first_byte = (first - 1) / 8;
  std::int64_t last_byte = (last - 1) / 8;
  std::int64_t count = 0;
  for (std::int64_t i = first_byte; i <= last_byte; ++i) {
    unsigned byte = bits[i];
    if (i == first_byte) byte &= 0xFFU >> ((first - 1) % 8);
    if (i == last_byte) byte &= 0xFFU << (7 - (last - 1) % 8);
    count += std::popcount(byte);
  }
  return count;
}

}  // namespace qrd

// Ranges of numeric samples.
#include "samples/qd_read_write.h"

#include <algorithm>

#include "disk/qd_data_file.h"
#include "samples/qd_buffer.h"
#include "samples/qd_convert.h"
#include "samples/qd_transfer.h"

namespace qrd {

namespace {

// Whether a value for each sample of each variable fits into an array of that length.
bool fits_in(const range_transfer& range, std::size_t length) {
  return static_cast<std::size_t>(range.count()) <= length / range.io.variables.size();
}

double stored_value(double value, double unit_factor) {
  return value == missing_double ? value : value * unit_factor;
}

// Writes a whole range from an array with a value for each sample. The array stays as it is.
bool write_all(const range_transfer& range, std::int64_t v, const double* values) {
  const qd_selected_entry& entry = range.entry(v);
  double factor = range.unit_factor(v);
  for (std::int64_t done = 0; done < range.count(); done += samples_chunk) {
    std::int64_t count = std::min(samples_chunk, range.count() - done);
    std::int64_t first = range.file_sample(v, range.first + done);
    std::int64_t last = first + count - 1;
    const double* source = values + done;
    std::int64_t room = factor == 1.0 ? _qd_file_byte_count(first, last, entry.bit_length)
                                      : count * static_cast<std::int64_t>(sizeof(double));
    if (!_qd_buffer_reserve(__builtin_FILE(), __builtin_LINE(), sample_tables.work, room)) return false;
    if (factor != 1.0) {
      auto* scaled = static_cast<double*>(sample_tables.work.data);
      for (std::int64_t i = 0; i < count; ++i) scaled[i] = stored_value(source[i], factor);
      source = scaled;
    }
    _qd_file_encode(source, first, last, entry.bit_length, sample_tables.work.data);
    if (!_qd_file_write_float_buffer(range.id(v), first, last, sample_tables.work.data)) return false;
  }
  return true;
}

// Writes the samples that the mask keeps; `values` moves on as values are taken. The others keep their
// stored bits.
bool write_kept(const range_transfer& range, std::int64_t v, const selection_mask& mask, bool compressed,
                const double*& values) {
  const qd_selected_entry& entry = range.entry(v);
  std::int64_t id = range.id(v);
  double factor = range.unit_factor(v);
  for (std::int64_t done = 0; done < range.count(); done += samples_chunk) {
    std::int64_t count = std::min(samples_chunk, range.count() - done);
    std::int64_t first = range.file_sample(v, range.first + done);
    std::int64_t last = first + count - 1;
    std::int64_t bytes = _qd_file_byte_count(first, last, entry.bit_length);
    if (!_qd_buffer_reserve(__builtin_FILE(), __builtin_LINE(), sample_tables.work, bytes)) return false;
    if (!_qd_file_read_float_buffer(id, first, last, sample_tables.work.data)) return false;
    for (std::int64_t i = 0; i < count; ++i) {
      bool keep = !mask.leaves_out(done + i);
      if (keep)
        qd_encode_sample(stored_value(*values, factor), first, first + i, entry.bit_length,
                         sample_tables.work.data);
      if (keep || !compressed) ++values;
    }
    if (!_qd_file_write_float_buffer(id, first, last, sample_tables.work.data)) return false;
  }
  return true;
}

}  // namespace

bool qd_write_float_free(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last,
                         std::span<const double> values) {
  range_transfer range("qd_write_float_free", io, first, last);
  if (!range.addressable()) return false;
  for (std::int64_t v = 0; v < range.variable_count(); ++v) qd_require_numeric(range.entry(v).bit_length);
  const range_guard guard(range, range_guard::purpose::writing);
  if (!guard) return false;
  if (range.io.selection == 0) {
    if (!fits_in(range, values.size())) return false;
    for (std::int64_t v = 0; v < range.variable_count(); ++v)
      if (!write_all(range, v, values.data() + v * range.count())) return false;
    return qd_sync_range(range);
  }

  selection_mask mask;
  if (!mask.load(range)) return false;
  bool compressed = mode == SEL_COMPRESSED;
  // Another server may have changed the selection since the caller counted it.
  const auto available = static_cast<std::int64_t>(values.size());
  if (compressed ? mask.kept(range.count()) * range.variable_count() != available
                 : !fits_in(range, values.size()))
    return false;
  const double* next = values.data();
  for (std::int64_t v = 0; v < range.variable_count(); ++v)
    if (!write_kept(range, v, mask, compressed, next)) return false;
  return qd_sync_range(range);
}

}  // namespace qrd

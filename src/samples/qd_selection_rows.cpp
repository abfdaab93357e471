// Whole selections, 8 samples to a byte. On disk a set bit leaves a sample out; in the rows of the
// callers it selects it.
#include "samples/qd_selection_rows.h"

#include <cstring>

#include "catalogue/qd_info.h"
#include "disk/qd_data_file.h"
#include "samples/qd_buffer.h"
#include "samples/qd_convert.h"
#include "samples/qd_io.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_transfer.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

std::int64_t row_length(std::int64_t samples) {
  return samples < 1 ? 0 : (samples - 1) / 8 + 1;
}

bool rows_fit(const range_transfer& range, std::size_t bytes) {
  return static_cast<std::size_t>(row_length(range.samples)) <= bytes / range.io.variables.size();
}

bool reserve(scratch_buffer& buffer, std::int64_t bytes) {
  return _qd_buffer_reserve(__builtin_FILE(), __builtin_LINE(), buffer, bytes);
}

// Place of a column's first sample in its byte, counted from the top.
int first_bit(std::int64_t column_start) {
  return static_cast<int>((column_start - 1) % 8);
}

// The stored bits of the whole column that begins at a sample of the file, sample 1 on the top bit of
// the row. Uses sample_tables.work. False without memory or if the disk fails.
bool load_column(std::int64_t entry, std::int64_t start, std::int64_t samples, unsigned char* row) {
  std::int64_t end = start + samples - 1;
  int bit = first_bit(start);
  if (bit == 0) return _qd_file_read_float_buffer(entry, start, end, row);
  if (!reserve(sample_tables.work, _qd_file_byte_count(start, end, 1))) return false;
  if (!_qd_file_read_float_buffer(entry, start, end, sample_tables.work.data)) return false;
  qd_bits_shift(static_cast<unsigned char*>(sample_tables.work.data), row, 7 - bit, 7, samples);
  return true;
}

// The mask of the record's selection in sample_tables.mask, sample 1 on the top bit; null without one. False
// if the columns can't be transferred.
bool load_mask(const range_transfer& range, const unsigned char*& mask) {
  mask = nullptr;
  if (!range.addressable()) return false;
  if (range.io.selection == 0) return true;
  if (!reserve(sample_tables.mask, row_length(range.samples))) return false;
  auto* bits = static_cast<unsigned char*>(sample_tables.mask.data);
  mask = bits;
  return load_column(range.io.selection, range.io.selection_slot * range.samples + 1, range.samples, bits);
}

// The whole columns of a record that holds selections only.
range_transfer whole_columns(const char* function, std::int64_t io) {
  range_transfer range(function, io);
  for (std::int64_t v = 0; v < range.variable_count(); ++v)
    if (range.entry(v).bit_length != 1) qu_misuse_number(function, 30);
  return range;
}

}  // namespace

bool qd_read_selection_free(std::int64_t io, std::int64_t* row_bytes, std::span<unsigned char> rows) {
  const range_transfer range = whole_columns("qd_read_selection_free", io);
  std::int64_t length = row_length(range.samples);
  *row_bytes = length;
  const unsigned char* mask = nullptr;
  if (length == 0) return true;
  const range_guard guard(range, range_guard::purpose::reading);
  if (!guard || !rows_fit(range, rows.size()) || !load_mask(range, mask)) return false;
  unsigned char* row = rows.data();
  for (std::int64_t v = 0; v < range.variable_count(); ++v, row += length) {
    if (!load_column(range.id(v), range.file_sample(v, 1), range.samples, row)) return false;
    for (std::int64_t i = 0; i < length; ++i)
      row[i] = static_cast<unsigned char>(~(mask == nullptr ? row[i] : row[i] | mask[i]));
  }
  return true;
}

bool qd_write_selection_free(std::int64_t io, std::span<const unsigned char> rows) {
  const range_transfer range = whole_columns("qd_write_selection_free", io);
  std::int64_t length = row_length(range.samples);
  const unsigned char* mask = nullptr;
  if (length == 0) return true;
  const range_guard guard(range, range_guard::purpose::writing);
  if (!guard || !rows_fit(range, rows.size()) || !load_mask(range, mask)) return false;
  const unsigned char* row = rows.data();
  for (std::int64_t v = 0; v < range.variable_count(); ++v, row += length) {
    std::int64_t id = range.id(v);
    std::int64_t start = range.file_sample(v, 1);
    std::int64_t end = start + range.samples - 1;
    if (!reserve(sample_tables.work2, length)) return false;
    auto* column = static_cast<unsigned char*>(sample_tables.work2.data);
    // A sample that the mask leaves out keeps its stored bit.
    if (mask != nullptr && !load_column(id, start, range.samples, column)) return false;
    for (std::int64_t i = 0; i < length; ++i) {
      int kept = mask == nullptr ? 0 : mask[i];
      column[i] = static_cast<unsigned char>((~row[i] & ~kept) | (kept == 0 ? 0 : column[i] & kept));
    }
    int bit = first_bit(start);
    if (bit != 0) {
      if (!reserve(sample_tables.work, _qd_file_byte_count(start, end, 1))) return false;
      qd_bits_shift(column, static_cast<unsigned char*>(sample_tables.work.data), 7, 7 - bit, range.samples);
      column = static_cast<unsigned char*>(sample_tables.work.data);
    }
    if (!_qd_file_write_float_buffer(id, start, end, column)) return false;
  }
  return qd_sync_range(range);
}

std::optional<std::int64_t> qd_free_samples_count(const char* directory, const char* file,
                                                  const char* selection) {
  if (std::strcmp(directory, no_name) == 0 || std::strcmp(file, no_name) == 0) return std::nullopt;
  qd_file_info info;
  if (!qd_info_file(directory, file, info, nullptr)) return std::nullopt;
  if (info.sample_count <= 0) return 0;
  if (std::strcmp(selection, no_name) == 0) return info.sample_count;
  selected_variable selected;
  if (qd_free_entries() < 1 || !qd_selection_select(directory, file, selection, selected.handle))
    return std::nullopt;
  return qd_selected_samples_count(selected.handle, 1, info.sample_count);
}

std::optional<std::int64_t> qd_selected_samples_count(const qd_variable_handle& selection, std::int64_t first,
                                                      std::int64_t last) {
  const qd_selected_entry* entry = qd_entry(selection.entry);
  // As a bound variable it needs a slot that can be bound, and a column that can be told.
  if (entry == nullptr || !qd_can_be_bound(selection) || entry->bit_length != 1 || last > entry->sample_count)
    return std::nullopt;
  io_record io;
  io.id = qd_set_io({}, 1, &selection);
  checked_array<unsigned char> bits;
  std::int64_t row_bytes = 0;
  if (!bits.allocate(row_length(entry->sample_count))) return std::nullopt;
  if (!qd_read_selection_free(io.id, &row_bytes, bits)) return std::nullopt;
  return qd_count_bits(bits.data(), first, last);
}

}  // namespace qrd

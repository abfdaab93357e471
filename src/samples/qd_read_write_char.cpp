#include "samples/qd_read_write_char.h"

#include <algorithm>
#include <cstring>

#include "samples/qd_buffer.h"
#include "samples/qd_read_write.h"
#include "samples/qd_transfer.h"

namespace qrd {

namespace {

// Bytes of one pass of a write under a selection, whatever the width.
constexpr std::int64_t pass_bytes = samples_chunk * 8;

bool write_kept(const range_transfer& range, std::int64_t v, const selection_mask& mask, bool compressed,
                unsigned char*& texts) {
  std::int64_t id = range.id(v);
  std::int64_t width = range.entry(v).bytes_per_sample;
  std::int64_t pass = std::max<std::int64_t>(1, pass_bytes / width);
  for (std::int64_t done = 0; done < range.count(); done += pass) {
    std::int64_t count = std::min(pass, range.count() - done);
    std::int64_t first = range.file_sample(v, range.first + done);
    std::int64_t last = first + count - 1;
    if (!_qd_buffer_reserve(__builtin_FILE(), __builtin_LINE(), sample_tables.work, count * width))
      return false;
    auto* stored = static_cast<unsigned char*>(sample_tables.work.data);
    if (!_qd_file_read_char_buffer(id, first, last, stored)) return false;
    for (std::int64_t i = 0; i < count; ++i, stored += width) {
      bool keep = !mask.leaves_out(done + i);
      if (keep) {
        // Only what is taken is padded: the other samples keep their stored bytes.
        qd_pad_texts(texts, 1, width);
        std::memcpy(stored, texts, static_cast<std::size_t>(width));
      }
      if (keep || !compressed) texts += width;
    }
    if (!qd_write_padded_texts(id, first, last, static_cast<unsigned char*>(sample_tables.work.data)))
      return false;
  }
  return true;
}

// Texts have a width of at least one byte, unless a descriptor is damaged.
bool have_width(const range_transfer& range) {
  for (std::int64_t v = 0; v < range.variable_count(); ++v)
    if (range.entry(v).bytes_per_sample < 1) return false;
  return range.addressable();
}

// Whether so many texts of each variable fit into an array of that many bytes; with `exactly`, they fill it.
bool fits_in(const range_transfer& range, std::int64_t count, std::size_t bytes, bool exactly = false) {
  auto left = static_cast<std::int64_t>(bytes);
  for (std::int64_t v = 0; v < range.variable_count(); ++v) {
    const std::int64_t width = range.entry(v).bytes_per_sample;
    if (count > left / width) return false;
    left -= count * width;
  }
  return !exactly || left == 0;
}

}  // namespace

bool qd_read_char_free(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last,
                       std::int64_t* count, std::span<unsigned char> texts) {
  range_transfer range("qd_read_char_free", io, first, last);
  std::int64_t n = range.count();
  if (!have_width(range) || !fits_in(range, n, texts.size())) return false;
  const range_guard guard(range, range_guard::purpose::reading);
  if (!guard) return false;
  std::int64_t widths = 0;
  unsigned char* place = texts.data();
  for (std::int64_t v = 0; v < range.variable_count(); ++v) {
    std::int64_t width = range.entry(v).bytes_per_sample;
    if (!_qd_file_read_char_buffer(range.id(v), range.file_sample(v, first), range.file_sample(v, last),
                                   place))
      return false;
    place += n * width;
    widths += width;
  }

  *count = n;
  selection_mask mask;
  if (!mask.load(range)) return false;
  if (!mask) return true;
  const unsigned char* sample = texts.data();
  unsigned char* kept = texts.data();
  for (std::int64_t v = 0; v < range.variable_count(); ++v) {
    auto width = static_cast<std::size_t>(range.entry(v).bytes_per_sample);
    for (std::int64_t i = 0; i < n; ++i, sample += width) {
      bool left_out = mask.leaves_out(i);
      if (left_out && mode == SEL_COMPRESSED) continue;
      if (left_out)
        std::memset(kept, ' ', width);
      else if (kept != sample)
        std::memmove(kept, sample, width);
      kept += width;
    }
  }
  *count = (kept - texts.data()) / widths;
  return true;
}

bool qd_write_char_free(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last,
                        std::span<unsigned char> texts) {
  range_transfer range("qd_write_char_free", io, first, last);
  const range_guard guard(range, range_guard::purpose::writing);
  if (!guard || !have_width(range)) return false;
  selection_mask mask;
  if (!mask.load(range)) return false;
  bool compressed = mask && mode == SEL_COMPRESSED;
  // Another server may have changed the selection since the caller counted it.
  std::int64_t taken = compressed ? mask.kept(range.count()) : range.count();
  if (!fits_in(range, taken, texts.size(), compressed)) return false;
  unsigned char* next = texts.data();
  for (std::int64_t v = 0; v < range.variable_count(); ++v) {
    if (!mask) {
      if (!_qd_file_write_char_buffer(range.id(v), range.file_sample(v, first), range.file_sample(v, last),
                                      next))
        return false;
      next += range.count() * range.entry(v).bytes_per_sample;
    } else if (!write_kept(range, v, mask, compressed, next)) {
      return false;
    }
  }
  return qd_sync_range(range);
}

}  // namespace qrd

// Stored bytes of one selected entry: the only place where samples meet the disk.
#include "samples/qd_buffer.h"

#include <cstring>

#include "disk/qd_data_file.h"
#include "samples/qd_convert.h"
#include "samples/qd_variable_table.h"
#include "util/qu_file.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

// What a data file that ends too early gives at 16 bits and less: missing, not selected.
constexpr int absent_byte = 0xFF;

// The result of a transfer that met the end of the file or a failure of the disk: told on the console, and
// for the callers to refuse. Another program may have cut the file, and a damaged one is still there to be
// saved.
bool failed(const qd_selected_entry& entry, const char* action) {
  const bool ends = std::feof(entry.stream) != 0;
  qu_message("Cannot %s %s/%s: %s", action, entry.variable_path, data_file_name,
             ends ? "The file is too short" : qu_strerror(1));
  std::clearerr(entry.stream);
  return false;
}

bool seek(const qd_selected_entry& entry, std::int64_t first) {
  return qu_file_seek(entry.stream, qd_sample_offset(first, entry.bit_length), 0) == 0;
}

// Bytes that the file didn't take, or that its flush loses, must not be answered as written.
bool write(std::FILE* stream, const void* bytes, std::int64_t count) {
  const auto size = static_cast<std::size_t>(count);
  return std::fwrite(bytes, 1, size, stream) == size && std::fflush(stream) == 0;
}

bool read_byte(std::FILE* stream, std::int64_t offset, unsigned char& byte) {
  return qu_file_seek(stream, offset, 0) == 0 && std::fread(&byte, 1, 1, stream) == 1;
}

// Puts the file's bits of the neighbouring samples into the first and the last byte of a packed block. False
// if they can't be read.
bool keep_neighbours(std::FILE* stream, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     unsigned char* block) {
  std::int64_t bytes = _qd_file_byte_count(first, last, bit_length);
  std::int64_t offset = qd_sample_offset(first, bit_length);
  unsigned char before = 0, behind = 0;
  if (!read_byte(stream, offset, before) || !read_byte(stream, offset + bytes - 1, behind)) return false;
  auto p = static_cast<int>((first - 1) * bit_length % 8);
  auto q = static_cast<int>(7 - (last * bit_length - 1) % 8);
  unsigned low = 0xFFU >> p;
  block[0] = static_cast<unsigned char>((block[0] & low) | (before & ~low));
  unsigned high = 0xFFU << q;
  block[bytes - 1] = static_cast<unsigned char>((block[bytes - 1] & high) | (behind & ~high));
  return true;
}

}  // namespace

bool _qd_file_read_float_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                                void* destination) {
  constexpr char function[] = "_qd_file_read_float_buffer";
  const qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr) qu_misuse_number(function, 20);
  // Nothing is stored; a damaged descriptor may say both.
  if (entry->implicit != 0) return false;
  if (entry->stream == nullptr) qu_misuse_number(function, 20);
  std::int64_t bit_length = entry->bit_length;
  qd_require_numeric(bit_length);

  if (!seek(*entry, first)) return failed(*entry, "read");
  auto wanted = static_cast<std::size_t>(_qd_file_byte_count(first, last, bit_length));
  std::size_t got = std::fread(destination, 1, wanted, entry->stream);
  // An early end is missing samples; an error of the disk is not.
  const bool ends_early = bit_length <= 16 && got != 0 && std::ferror(entry->stream) == 0;
  if (got != wanted && !ends_early) return failed(*entry, "read");
  std::memset(static_cast<unsigned char*>(destination) + got, absent_byte, wanted - got);
  return true;
}

bool _qd_file_read_char_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                               unsigned char* destination) {
  constexpr char function[] = "_qd_file_read_char_buffer";
  const qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr) qu_misuse_number(function, 10);
  if (entry->implicit != 0) qu_misuse_number(function, 15);
  if (entry->stream == nullptr) qu_misuse_number(function, 20);
  auto wanted = static_cast<std::size_t>(_qd_file_byte_count(first, last, entry->bit_length));
  if (!seek(*entry, first) || std::fread(destination, 1, wanted, entry->stream) != wanted)
    return failed(*entry, "read");
  return true;
}

bool _qd_file_write_float_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last, void* stored) {
  constexpr char function[] = "_qd_file_write_float_buffer";
  qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr || entry->implicit != 0 || entry->stream == nullptr) qu_misuse_number(function, 5);
  std::int64_t bit_length = entry->bit_length;
  qd_require_numeric(bit_length);

  if (bit_length < 8 &&
      !keep_neighbours(entry->stream, first, last, bit_length, static_cast<unsigned char*>(stored)))
    return failed(*entry, "read");
  if (!seek(*entry, first) || !write(entry->stream, stored, _qd_file_byte_count(first, last, bit_length)))
    return failed(*entry, "write");
  return true;
}

void qd_pad_texts(unsigned char* texts, std::int64_t count, std::int64_t width) {
  auto size = static_cast<std::size_t>(width);
  for (std::int64_t i = 0; i < count; ++i, texts += width)
    if (void* end = std::memchr(texts, '\0', size))
      std::memset(end, ' ', size - static_cast<std::size_t>(static_cast<unsigned char*>(end) - texts));
}

bool qd_write_padded_texts(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                           const unsigned char* texts) {
  qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr || entry->implicit != 0 || entry->stream == nullptr)
    qu_misuse_number("_qd_file_write_char_buffer", 5);
  if (!seek(*entry, first) ||
      !write(entry->stream, texts, _qd_file_byte_count(first, last, entry->bit_length)))
    return failed(*entry, "write");
  return true;
}

bool _qd_file_write_char_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                                unsigned char* texts) {
  if (const qd_selected_entry* entry = qd_entry(entry_id))
    qd_pad_texts(texts, last - first + 1, entry->bytes_per_sample);
  return qd_write_padded_texts(entry_id, first, last, texts);
}

}  // namespace qrd

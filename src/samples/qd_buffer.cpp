// Stored bytes of one selected entry: the only place where samples meet the disk.
#include <algorithm>
#include <cstring>

#include "samples/qd_data_file.h"
#include "samples/qd_implicit.h"
#include "samples/qd_interrupt.h"
#include "samples/qd_read_write.h"
#include "samples/qd_transfer.h"
#include "util/qu_big_endian.h"
#include "util/qu_file.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

// What a data file that ends too early gives at 16 bits and less: missing, not selected.
constexpr int absent_byte = 0xFF;

void note_write(qd_selected_entry& entry) {
  if (entry.modified != 0) return;
  entry.modified = 1;
  qd_interrupt_add_modif(entry.directory_name, entry.file_name, entry.variable_name, nullptr, CHANGE_DATA);
}

void seek_or_end(std::FILE* stream, std::int64_t offset, const char* function, int number) {
  if (qu_file_seek(stream, offset, 0) != 0) qu_fatal_number(function, number);
}

// Bytes that the file didn't take, or that its flush loses, must not be answered as written.
void write_or_end(std::FILE* stream, const void* bytes, std::int64_t count, const char* function,
                  int number) {
  auto size = static_cast<std::size_t>(count);
  if (std::fwrite(bytes, 1, size, stream) != size || std::fflush(stream) != 0)
    qu_fatal_number(function, number);
}

unsigned char byte_at(std::FILE* stream, std::int64_t offset, int seek_number, int read_number) {
  constexpr char function[] = "_qd_file_write_float_buffer";
  seek_or_end(stream, offset, function, seek_number);
  int byte = std::getc(stream);
  if (byte == EOF) qu_fatal_number(function, read_number);
  return static_cast<unsigned char>(byte);
}

// Puts the file's bits of the neighbouring samples into the first and the last byte of a packed block.
void keep_neighbours(std::FILE* stream, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     unsigned char* block) {
  std::int64_t bytes = _qd_file_byte_count(first, last, bit_length);
  std::int64_t offset = qd_sample_offset(first, bit_length);
  unsigned char before = byte_at(stream, offset, 15, 17);
  unsigned char behind = byte_at(stream, offset + bytes - 1, 20, 22);
  auto p = static_cast<int>((first - 1) * bit_length % 8);
  auto q = static_cast<int>(7 - (last * bit_length - 1) % 8);
  unsigned low = 0xFFU >> p;
  block[0] = static_cast<unsigned char>((block[0] & low) | (before & ~low));
  unsigned high = 0xFFU << q;
  block[bytes - 1] = static_cast<unsigned char>((block[bytes - 1] & high) | (behind & ~high));
}

}  // namespace

int _qd_file_read_float_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                               void* destination) {
  constexpr char function[] = "_qd_file_read_float_buffer";
  const qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr) qu_fatal_number(function, 20);
  if (entry->implicit != 0)
    return qd_implicit_values(*entry, first, last, static_cast<double*>(destination)) ? 1 : 0;
  if (entry->stream == nullptr) qu_fatal_number(function, 20);
  std::int64_t bit_length = entry->bit_length;
  qd_require_numeric(bit_length);

  seek_or_end(entry->stream, qd_sample_offset(first, bit_length), function, 30);
  auto wanted = static_cast<std::size_t>(_qd_file_byte_count(first, last, bit_length));
  std::size_t got = std::fread(destination, 1, wanted, entry->stream);
  if (bit_length <= 16) {
    if (got == 0) qu_fatal_number(function, 46);
    std::memset(static_cast<unsigned char*>(destination) + got, absent_byte, wanted - got);
    return 1;
  }
  if (got != wanted) qu_fatal_number(function, 40);
  if (bit_length == 32)
    qu_big_endian_block<std::uint32_t>(destination, last - first + 1);
  else
    qu_big_endian_block<std::uint64_t>(destination, last - first + 1);
  return 1;
}

int _qd_file_read_char_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                              unsigned char* destination) {
  constexpr char function[] = "_qd_file_read_char_buffer";
  const qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr) qu_fatal_number(function, 10);
  if (entry->implicit != 0) qu_fatal_number(function, 15);
  if (entry->stream == nullptr) qu_fatal_number(function, 20);
  seek_or_end(entry->stream, qd_sample_offset(first, entry->bit_length), function, 30);
  auto wanted = static_cast<std::size_t>(_qd_file_byte_count(first, last, entry->bit_length));
  if (std::fread(destination, 1, wanted, entry->stream) != wanted) qu_fatal_number(function, 46);
  return 1;
}

int _qd_file_write_float_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last, void* stored) {
  constexpr char function[] = "_qd_file_write_float_buffer";
  qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr || entry->implicit != 0 || entry->stream == nullptr) qu_fatal_number(function, 5);
  std::int64_t bit_length = entry->bit_length;
  qd_require_numeric(bit_length);
  note_write(*entry);

  std::int64_t offset = qd_sample_offset(first, bit_length);
  std::int64_t bytes = _qd_file_byte_count(first, last, bit_length);
  int write_number = 49;
  if (bit_length < 8) {
    keep_neighbours(entry->stream, first, last, bit_length, static_cast<unsigned char*>(stored));
    seek_or_end(entry->stream, offset, function, 30);
    write_number = 35;
  } else {
    seek_or_end(entry->stream, offset, function, 40);
  }
  if (bit_length == 32) {
    qu_big_endian_block<std::uint32_t>(stored, last - first + 1);
    write_number = 46;
  } else if (bit_length == 64) {
    qu_big_endian_block<std::uint64_t>(stored, last - first + 1);
    write_number = 43;
  }
  write_or_end(entry->stream, stored, bytes, function, write_number);
  return 1;
}

void qd_pad_texts(unsigned char* texts, std::int64_t count, std::int64_t width) {
  auto size = static_cast<std::size_t>(width);
  for (std::int64_t i = 0; i < count; ++i, texts += width)
    if (void* end = std::memchr(texts, '\0', size))
      std::memset(end, ' ', size - static_cast<std::size_t>(static_cast<unsigned char*>(end) - texts));
}

void qd_write_padded_texts(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                           const unsigned char* texts) {
  constexpr char function[] = "_qd_file_write_char_buffer";
  qd_selected_entry* entry = qd_entry(entry_id);
  if (entry == nullptr || entry->implicit != 0 || entry->stream == nullptr) qu_fatal_number(function, 5);
  note_write(*entry);
  seek_or_end(entry->stream, qd_sample_offset(first, entry->bit_length), function, 40);
  write_or_end(entry->stream, texts, _qd_file_byte_count(first, last, entry->bit_length), function, 49);
}

int _qd_file_write_char_buffer(std::int64_t entry_id, std::int64_t first, std::int64_t last,
                               unsigned char* texts) {
  if (const qd_selected_entry* entry = qd_entry(entry_id))
    qd_pad_texts(texts, last - first + 1, entry->bytes_per_sample);
  qd_write_padded_texts(entry_id, first, last, texts);
  return 1;
}

}  // namespace qrd

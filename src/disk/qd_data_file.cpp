#include "disk/qd_data_file.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "disk/qd_descriptor.h"
#include "disk/qd_records.h"
#include "util/qu_big_endian.h"
#include "util/qu_compress.h"
#include "util/qu_file.h"
#include "util/qu_message.h"
#include "util/qu_sync.h"

namespace qrd {

namespace {

// Fill of 512 samples: one byte repeated. Fresh 2-bit variables show the pattern 2, 1, missing, missing;
// other programs that share the tree make and know it.
constexpr unsigned char text_fill = 0x20;
constexpr unsigned char missing_fill = 0xFF;
constexpr unsigned char two_bit_fill = 0x9F;

// Blocks are joined to writes of about this size.
constexpr std::int64_t write_size = std::int64_t{1} << 20;

constexpr char cannot_shorten[] = "Cannot make \"%s\" as short again as it was";

template <typename Item>
void fill_items(unsigned char* block, Item item) {
  for (std::int64_t i = 0; i < block_samples; ++i, block += sizeof item)
    std::memcpy(block, &item, sizeof item);
}

// Writes the block so often from a position on. `piece` holds as many repeats as it has room for.
bool write_blocks(int file, std::int64_t position, const checked_array<unsigned char>& block,
                  std::int64_t repeats, checked_array<unsigned char>& piece) {
  const std::int64_t in_piece = std::min(repeats, piece.count() / block.count());
  for (std::int64_t i = 0; i < in_piece; ++i)
    std::memcpy(piece.data() + i * block.count(), block.data(), static_cast<std::size_t>(block.count()));
  for (std::int64_t left = repeats; left > 0; left -= in_piece) {
    const std::int64_t bytes = std::min(left, in_piece) * block.count();
    if (!qd_write_at(file, position, piece.data(), bytes)) return false;
    position += bytes;
  }
  return true;
}

void to_file_order(void* block, std::int64_t length, std::int64_t bit_length) {
  if (bit_length == 16) qu_big_endian_block<std::uint16_t>(block, length / 2);
  if (bit_length == 32) qu_big_endian_block<std::uint32_t>(block, length / 4);
  if (bit_length == 64) qu_big_endian_block<std::uint64_t>(block, length / 8);
}

}  // namespace

bool is_numeric_bit_length(std::int64_t bit_length) {
  return bit_length == 1 || bit_length == 2 || bit_length == 4 || bit_length == 8 || bit_length == 16 ||
         bit_length == 32 || bit_length == 64;
}

std::int64_t _qd_file_byte_count(std::int64_t first, std::int64_t last, std::int64_t bit_length) {
  if (bit_length >= 8) return (last - first + 1) * (bit_length / 8);
  std::int64_t per_byte = 8 / bit_length;
  return (last - 1) / per_byte - (first - 1) / per_byte + 1;
}

std::int64_t qd_sample_offset(std::int64_t sample, std::int64_t bit_length) {
  if (bit_length >= 8) return (sample - 1) * (bit_length / 8);
  return (sample - 1) / (8 / bit_length);
}

bool qd_fill_block(std::int64_t bit_length, bool text, checked_array<unsigned char>& block) {
  std::int64_t length = block_samples / 8 * bit_length;
  if (!block.allocate(length)) return false;
  if (text) {
    std::memset(block.data(), text_fill, static_cast<std::size_t>(length));
  } else if (bit_length == 32) {
    fill_items(block.data(), missing_float);
  } else if (bit_length == 64) {
    fill_items(block.data(), missing_double);
  } else {
    std::memset(block.data(), bit_length == 2 ? two_bit_fill : missing_fill,
                static_cast<std::size_t>(length));
  }
  return true;
}

bool qd_write_at(int file, std::int64_t position, const unsigned char* bytes, std::int64_t count) {
  while (count > 0) {
    const ssize_t written = pwrite(file, bytes, static_cast<std::size_t>(count), position);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    position += written;
    bytes += written;
    count -= written;
  }
  return true;
}

std::int64_t qd_piece_bytes(std::int64_t length, std::int64_t repeats) {
  return length * std::min(repeats, std::max<std::int64_t>(1, write_size / length));
}

bool qd_file_system_has_room(const char* path, std::int64_t bytes) {
  struct statvfs status;
  if (statvfs(path, &status) != 0 || status.f_blocks == 0) return true;
  return static_cast<double>(bytes) <=
         static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize);
}

bool qd_stored_fill_block(std::int64_t bit_length, bool text, checked_array<unsigned char>& block) {
  if (!qd_fill_block(bit_length, text, block)) return false;
  if (!text) to_file_order(block.data(), block.count(), bit_length);
  return true;
}

bool st_file_concat(const char* path, const void* block, std::int64_t length, std::int64_t repeats,
                    std::int64_t bit_length) {
  if (!qu_file_restore(path)) return false;
  if (repeats <= 0 || length <= 0) return true;

  file_stream stream = qd_object_file_open(path, append_binary);
  if (!stream) return false;
  const std::int64_t start = qu_file_seek(stream.get(), 0, 2) == 0 ? qu_file_tell(stream.get()) : 0;
  std::int64_t added = 0;
  if (__builtin_mul_overflow(length, repeats, &added) || !qd_file_system_has_room(path, added)) return false;

  checked_array<unsigned char> stored, piece;
  if (!stored.allocate(length) || !piece.allocate(qd_piece_bytes(length, repeats))) return false;
  std::memcpy(stored.data(), block, static_cast<std::size_t>(length));
  to_file_order(stored.data(), length, bit_length);
  if (write_blocks(fileno(stream.get()), start, stored, repeats, piece) && stream.close()) return true;
  if (truncate(path, start) != 0) qu_message(cannot_shorten, path);
  return false;
}

bool growing_data_file::extend(const char* path, std::int64_t capacity,
                               const checked_array<unsigned char>& block, std::int64_t repeats,
                               checked_array<unsigned char>& piece) {
  const file_stream stream(qu_file_open_n(path, update_binary));
  struct stat status;
  if (!stream || fstat(fileno(stream.get()), &status) != 0) return false;
  path_ = path;
  length_ = status.st_size;
  device_ = status.st_dev;
  inode_ = status.st_ino;

  if (write_blocks(fileno(stream.get()), std::min(length_, capacity), block, repeats, piece) &&
      qu_sync_whole_file(fileno(stream.get())))
    return true;
  undo();
  return false;
}

void growing_data_file::undo() const {
  const file_stream stream(qu_file_open_n(path_.c_str(), update_binary));
  struct stat status;
  if (stream && fstat(fileno(stream.get()), &status) == 0 && status.st_dev == device_ &&
      status.st_ino == inode_ && ftruncate(fileno(stream.get()), length_) == 0)
    return;
  if (errno != ENOENT) qu_message(cannot_shorten, path_.c_str());
}

bool qd_capacity_is_damaged(const qd_file_record& record) {
  if (record.sample_count < 0) return true;
  // A growth adds the fewest blocks that do.
  return record.allocated_samples < record.sample_count ||
         record.allocated_samples - record.sample_count >= block_samples;
}

void qd_name_file(const char* directory, const char* file) {
  qu_message("         DIRECTORY NAME: >>>%s<<<\n", directory);
  qu_message("              FILE NAME: >>>%s<<<\n\n", file);
}

void qd_report_damaged_capacity(const char* directory, const char* file) {
  qu_message("WARNING: THE CAPACITY IN THE DESCRIPTOR OF THE FILE IS DAMAGED\n");
  qd_name_file(directory, file);
}

}  // namespace qrd

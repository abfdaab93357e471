// The sample data file "DATAVAR": a bare sequence of stored samples.
//
//   bits  stored form           missing          decoded
//   1     bit                   none             bit 0 is 1.0 (selected), bit 1 is 0.0
//   2, 4  unsigned field        3, 15            the number
//   8     unsigned byte         255              the number
//   16    unsigned, big-endian  65535            the number
//   32    binary32, big-endian  missing_float    the number (IEEE 754, RFC 4506)
//   64    binary64, big-endian  missing_double   the number (IEEE 754, RFC 4506)
//   8 w   w text bytes, blank padded, no terminator
//
// Fields below 8 bits are packed from the most significant bit of each byte.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "disk/qd_records.h"
#include "util/qu_constants.h"
#include "util/qu_memory.h"

namespace qrd {

inline constexpr char data_file_name[] = "DATAVAR";

// One of 1, 2, 4, 8, 16, 32, 64.
bool is_numeric_bit_length(std::int64_t bit_length);

// REQUIRES of the next two: a bit length of the table, and positions that fit 63 bits.
// Stored length in bytes of the samples first to last (from 1, both included).
std::int64_t _qd_file_byte_count(std::int64_t first, std::int64_t last, std::int64_t bit_length);
// Offset in bytes of the first stored byte of a sample.
std::int64_t qd_sample_offset(std::int64_t sample, std::int64_t bit_length);

// The fill of 512 samples for a numeric bit length or, with `text`, for text of that many bits. False
// without memory. REQUIRES: a bit length of the table.
[[nodiscard]] bool qd_fill_block(std::int64_t bit_length, bool text, checked_array<unsigned char>& block);
// The same as its bytes stand in the file.
[[nodiscard]] bool qd_stored_fill_block(std::int64_t bit_length, bool text,
                                        checked_array<unsigned char>& block);

// False only if the file system of a path says that it can't take so many bytes more.
bool qd_file_system_has_room(const char* path, std::int64_t bytes);

// Appends the block `repeats` times to a data file (undoing a compressed form first). False when a write
// failed, when the file system has too little room or when another server has deleted the variable; the file
// is as long as before then. `bit_length` is -1 for bytes as they stand in the file, texts too; of 16, 32 and
// 64 bits the block holds items in host order. May end the process.
[[nodiscard]] bool st_file_concat(const char* path, const void* block, std::int64_t length,
                                  std::int64_t repeats, std::int64_t bit_length);

// Writes bytes at an offset of an open file. False unless all of them are written.
[[nodiscard]] bool qd_write_at(int file, std::int64_t position, const unsigned char* bytes,
                               std::int64_t count);
// Room for as many repeats of a block as make a good size for one write.
std::int64_t qd_piece_bytes(std::int64_t length, std::int64_t repeats);

// A data file that gets longer, and shorter again unless it is kept.
class growing_data_file {
 public:
  // `block` is filled into `piece`, which has room for at least one, and `repeats` of it go to the file from
  // the byte `capacity` on: what a killed growth has left there belongs to nobody. A file that is shorter
  // goes on at its end. False after a failure; what was there is left as it was.
  [[nodiscard]] bool extend(const char* path, std::int64_t capacity,
                            const checked_array<unsigned char>& block, std::int64_t repeats,
                            checked_array<unsigned char>& piece);
  // Cuts the file back to its old length, if it is still the same one.
  void undo() const;

 private:
  std::string path_;
  std::int64_t length_ = 0;  // before
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

// A capacity that a file of so many samples can't have got by its creation and its growth. Where one makes a
// request fail, that is told, and not that the disk is full.
bool qd_capacity_is_damaged(const qd_file_record& record);
void qd_report_damaged_capacity(const char* directory, const char* file);
// The lines that name the file of a failed operation.
void qd_name_file(const char* directory, const char* file);

}  // namespace qrd

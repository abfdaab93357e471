#include "edit/qd_file_content.h"

#include <sys/stat.h>

#include <algorithm>
#include <string>

#include "catalogue/qd_placement.h"
#include "disk/qd_data_file.h"
#include "edit/qd_variable_files.h"
#include "samples/qd_convert.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr std::int64_t number_bits = 64;
constexpr std::int64_t character_bits = 8;
// Numbers that are scaled and written at a time.
constexpr std::size_t piece_numbers = 1 << 16;

bool append_numbers(const char* data_path, const initial_samples& initial) {
  std::vector<double> piece;
  for (std::size_t done = 0; done < initial.numbers.size(); done += piece.size()) {
    const auto numbers =
        initial.numbers.subspan(done, std::min(piece_numbers, initial.numbers.size() - done));
    piece.assign(numbers.begin(), numbers.end());
    for (double& number : piece)
      if (number != missing_double) number *= initial.factor;
    const auto count = static_cast<std::int64_t>(piece.size());
    const auto bytes = static_cast<std::int64_t>(numbers.size_bytes());
    _qd_file_encode(piece.data(), 1, count, number_bits, piece.data());
    if (!st_file_concat(data_path, piece.data(), bytes, 1, -1)) return false;
  }
  return true;
}

// The samples that the last block has room for are missing.
bool append_missing(const char* data_path, std::int64_t samples, std::int64_t bit_length, bool text) {
  if (samples == 0) return true;
  checked_array<unsigned char> block;
  return qd_fill_block(bit_length, text, block) &&
         st_file_concat(data_path, block.data(), samples * bit_length / character_bits, 1,
                        text ? -1 : bit_length);
}

}  // namespace

bool qd_set_sample_count(std::int64_t sample_count, qd_file_record& record) {
  const std::int64_t blocks = sample_count / block_samples + (sample_count % block_samples != 0 ? 1 : 0);
  record.sample_count = sample_count;
  return sample_count >= 0 && sample_count != missing_int64 &&
         !__builtin_mul_overflow(blocks, block_samples, &record.allocated_samples);
}

bool qd_write_initial_samples(const char* file_path, const qd_file_record& record, std::size_t number,
                              const initial_samples& initial) {
  const bool text = initial.width != 0;
  const std::int64_t bit_length = text ? initial.width * character_bits : number_bits;
  path_text path, data_path;
  qu_path_join(path, {file_path, path_separator, variable_numbering.prefix, std::to_string(number)});
  qu_path_join(data_path, {path, path_separator, data_file_name});
  const qd_variable_record variable =
      qd_new_variable_record(record.organisation, initial.variable.name, text ? VAR_CHAR : VAR_FLOAT,
                             initial.variable.kind, bit_length, initial.format);
  if (mkdir(path, 0777) != 0 || !qd_write_variable_files(path, variable, 0)) return false;
  const bool appended = text ? st_file_concat(data_path, initial.texts.data(),
                                              static_cast<std::int64_t>(initial.texts.size()), 1, -1)
                             : append_numbers(data_path, initial);
  return appended &&
         append_missing(data_path, record.allocated_samples - record.sample_count, bit_length, text);
}

}  // namespace qrd

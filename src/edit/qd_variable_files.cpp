#include "edit/qd_variable_files.h"

#include <algorithm>
#include <string>

#include "disk/qd_comment_file.h"
#include "disk/qd_data_file.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_macro_table.h"
#include "disk/qd_variable_descriptor.h"
#include "disk/store_state.h"
#include "units/qu_units.h"
#include "util/qu_file.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr std::int64_t number_width = 10;

bool is_numbering_kind(std::int32_t kind) {
  return kind >= KIND_SAMPLE_NUMBER && kind <= KIND_IZ;
}
bool is_coordinate_kind(std::int32_t kind) {
  return kind >= KIND_X && kind <= KIND_Z_END;
}

qd_format_record integer_format(std::int64_t width) {
  qd_format_record format;
  format.format = FORMAT_INTEGER;
  format.width = width;
  format.digits = 0;
  return format;
}

// Room for the largest number of that bit length, its sign and a blank.
std::int64_t integer_width(std::int64_t bit_length) {
  return bit_length > 8 ? 7 : bit_length > 4 ? 5 : bit_length > 2 ? 4 : 3;
}

qd_format_record checked_format(const qd_format_record& wanted) {
  if (wanted.width < smallest_width || wanted.width > largest_width || wanted.digits < 0 ||
      wanted.digits > largest_digits)
    return float_default;
  qd_format_record format = wanted;
  if (format.format == FORMAT_DECIMAL) format.digits = std::min(format.digits, format.width - 3);
  return format;
}

qd_format_record usual_format(const qd_variable_record& record) {
  if (is_numbering_kind(record.kind)) return integer_format(number_width);
  if (is_coordinate_kind(record.kind)) return units.distance;
  bool is_number = record.type == VAR_FLOAT || record.type == VAR_MACRO;
  if (!is_number || record.bit_length > 16) return float_default;
  return integer_format(integer_width(record.bit_length));
}

std::string creation_comment() {
  if (store.running_test != 0) return "Created during Test";
  char now[time_text_size];
  qu_time_text(now, 0);
  return std::string("Creation Date: ") + now;
}

bool write_macro(const char* path) {
  macro_descriptor descriptor(qd_macro_descr_new(1));
  return descriptor && qd_macro_descr_write(path, *descriptor) == object_state::sound;
}

bool make_data_file(const char* path) {
  path_text data_path;
  qu_path_join(data_path, {path, path_separator, data_file_name});
  file_stream stream(qu_file_open_n(data_path, write_read_binary));
  return stream && stream.close();
}

bool fill_data_file(const char* path, const qd_variable_record& record, std::int64_t samples) {
  bool is_text = record.type == VAR_CHAR;
  checked_array<unsigned char> block;
  if (!qd_fill_block(record.bit_length, is_text, block)) return false;
  path_text data_path;
  qu_path_join(data_path, {path, path_separator, data_file_name});
  return st_file_concat(data_path, block.data(), block.count(), samples / block_samples,
                        is_text ? -1 : record.bit_length);
}

}  // namespace

bool qd_is_computed(std::int64_t organisation, std::int32_t kind) {
  bool counts_samples = kind >= KIND_SAMPLE_NUMBER && kind <= KIND_LINE_NUMBER;
  bool places_nodes = organisation == ORG_GRID && kind >= KIND_IX && kind <= KIND_Z;
  return counts_samples || places_nodes;
}

qd_variable_record qd_new_variable_record(std::int64_t organisation, const char* name, std::int32_t type,
                                          std::int32_t kind, std::int64_t bit_length,
                                          const qd_format_record* format) {
  qd_variable_record record;
  qu_path_join(record.name, {name});
  record.type = kind == KIND_PLAIN ? type : kind == KIND_LINE_NAME ? VAR_CHAR : VAR_FLOAT;
  record.kind = kind;
  record.bit_length = bit_length;
  record.implicit = qd_is_computed(organisation, kind) || is_numbering_kind(kind) ? 1 : 0;
  record.format = format != nullptr ? checked_format(*format) : usual_format(record);
  return record;
}

bool qd_write_variable_files(const char* path, const qd_variable_record& record,
                             std::int64_t filled_samples) {
  return (record.type != VAR_MACRO || write_macro(path)) &&
         qd_variable_descriptor_write(path, record) == object_state::sound &&
         qd_comment_replace(path, creation_comment().c_str()) == object_state::sound &&
         make_data_file(path) && (filled_samples == 0 || fill_data_file(path, record, filled_samples));
}

}  // namespace qrd

// The descriptor of a variable, VARI.<k>/DESCR, version 1100.
//
//   xint         version
//   xstring(50)  name
//   xint         type, kind, bit length, implicit, format, width, digits
//   xstring(11)  unit
//   xdouble      factor, cm per unit; 0.0 says that the variable is no length
//
// Old versions:
//   below 900    type and kind are one code, and implicit is a code that may set the kind (tables below)
//   below 411    the unit is an xstring(6) with trailing blanks, and there is no factor
//   320 to 509   an xstring(500) behind the last field: the comment, which is a file today
#include "disk/qd_variable_descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "disk/qd_comment_file.h"
#include "disk/qd_descriptor.h"
#include "units/qu_units.h"
#include "util/qu_directory.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr std::int64_t separate_kind_version = 900;
constexpr std::int64_t factor_version = 411;
constexpr std::int64_t first_comment_version = 320;
constexpr std::int64_t last_comment_version = 509;
constexpr std::uint32_t comment_limit = 500;
constexpr std::uint32_t short_unit_limit = 6;

constexpr char variable_corrupted[] = "Variable descriptor corrupted:\n%s\n";

// A unit that the study's distance unit stands in for.
constexpr char automatic_unit[] = "_auto";

// Type and kind by the one code of old versions.
constexpr struct {
  std::int64_t code;
  variable_type type;
  variable_kind kind;
} old_types[] = {{4, VAR_FLOAT, KIND_PLAIN}, {5, VAR_CHAR, KIND_PLAIN}, {13, VAR_MACRO, KIND_PLAIN},
                 {1, VAR_FLOAT, KIND_X},     {2, VAR_FLOAT, KIND_Y},    {3, VAR_FLOAT, KIND_Z}};

bool read_old_type(XDR* xdr, qd_variable_record& record) {
  std::int64_t code = 0;
  if (!qu_xdr_int(xdr, &code)) return false;
  for (const auto& old : old_types) {
    if (old.code != code) continue;
    record.type = old.type;
    record.kind = old.kind;
    return true;
  }
  return false;
}

// 0 says stored, all else implicit; the codes 2 to 7 are the kinds from sample number to grid index IZ.
bool read_old_implicit(XDR* xdr, qd_variable_record& record) {
  std::int64_t code = 0;
  if (!qu_xdr_int(xdr, &code)) return false;
  record.implicit = code != 0;
  if (code >= 2 && code <= 7) record.kind = static_cast<std::int32_t>(code - 1);
  return true;
}

bool move_type(XDR* xdr, std::int64_t version, qd_variable_record& record) {
  if (version < separate_kind_version) return read_old_type(xdr, record);
  return qu_xdr_enum(xdr, &record.type) && qu_xdr_enum(xdr, &record.kind);
}

bool move_implicit(XDR* xdr, std::int64_t version, qd_variable_record& record) {
  if (version < separate_kind_version) return read_old_implicit(xdr, record);
  return qu_xdr_int(xdr, &record.implicit);
}

bool move_unit(XDR* xdr, std::int64_t version, qd_format_record& format) {
  if (version >= factor_version) {
    return qu_xdr_text(xdr, format.unit, unit_size) && xdr_double(xdr, &format.factor);
  }
  if (!qu_xdr_text(xdr, format.unit, short_unit_limit)) return false;
  for (std::size_t end = std::strlen(format.unit); end > 0 && format.unit[end - 1] == ' '; --end) {
    format.unit[end - 1] = '\0';
  }
  format.factor = 0.0;
  return true;
}

bool move_variable_fields(XDR* xdr, std::int64_t* version, qd_variable_record& record) {
  qd_format_record& format = record.format;
  return qu_xdr_int(xdr, version) && *version >= oldest_descriptor_version &&
         qu_xdr_text(xdr, record.name, descriptor_name_limit) && move_type(xdr, *version, record) &&
         qu_xdr_int(xdr, &record.bit_length) && move_implicit(xdr, *version, record) &&
         qu_xdr_int(xdr, &format.format) && qu_xdr_int(xdr, &format.width) &&
         qu_xdr_int(xdr, &format.digits) && move_unit(xdr, *version, format);
}

// Sizes are worked out from the bit length, which no program makes less than 1. Any other oddity passes: an
// unknown type or kind, a bit length in which nothing can be stored.
bool is_sound(const qd_variable_record& record) {
  return record.bit_length >= 1 && record.bit_length != missing_int64;
}

// What the factor on disk means: the flag of a length isn't stored, and counts in studies with units only.
void settle_unit(qd_format_record& format) {
  const bool is_length = format.factor != 0.0;
  if (!is_length) format.factor = 1.0;
  format.length_flag = is_length && units.kept;
  if (std::strcmp(format.unit, automatic_unit) != 0) return;
  qu_path_join(format.unit, {units.distance.unit});
  format.factor = units.distance.factor;
  format.length_flag = units.kept;
}

// Some old descriptors hold the comment, which has a file of its own today.
bool holds_comment(std::int64_t version) {
  return version >= first_comment_version && version <= last_comment_version;
}

using comment_text = char[comment_limit + 1];

// The fields as they stand on disk.
object_state read_fields(const char* path, std::int64_t& version, qd_variable_record& record,
                         comment_text& comment) {
  record = qd_variable_record();
  descriptor_reader descriptor(path);
  if (descriptor.state() != object_state::sound) return descriptor.state();
  XDR* xdr = descriptor.get();
  if (move_variable_fields(xdr, &version, record) && is_sound(record) &&
      (!holds_comment(version) || qu_xdr_text(xdr, comment, comment_limit))) {
    settle_unit(record.format);
    return object_state::sound;
  }
  const object_state state = qd_misread_state(path);
  if (qd_needs_report(state)) qu_message(variable_corrupted, path);
  return state;
}

object_state move_comment_out(const char* path, const comment_text& comment) {
  const object_state state = qd_comment_replace(path, comment);
  if (state == object_state::sound) return state;
  qu_message("Cannot convert variable comment from previous version");
  qu_message("Please check rights and disk space and run Velmar again");
  return state;
}

// Only a length has a factor on disk.
qd_variable_record stored_form(const qd_variable_record& record) {
  qd_variable_record fields = record;
  if (fields.format.length_flag == 0) fields.format.factor = 0.0;
  return fields;
}

}  // namespace

bool qd_variable_descriptor_put(std::FILE* stream, const qd_variable_record& record) {
  qd_variable_record fields = stored_form(record);
  return qd_descriptor_put(stream, move_variable_fields, fields);
}

bool qd_data_length_fits(const qd_file_record& file, const qd_variable_record& variable) {
  if (variable.implicit != 0 || variable.bit_length < 8) return true;
  std::int64_t bytes = 0;
  return !__builtin_mul_overflow(std::max(file.sample_count, file.allocated_samples), variable.bit_length / 8,
                                 &bytes);
}

object_state qd_variable_descriptor_read(const char* path, qd_variable_record& record) {
  std::int64_t version = 0;
  comment_text comment;
  object_state state = read_fields(path, version, record, comment);
  if (state != object_state::sound || !is_old_descriptor(version)) return state;

  // Another server may upgrade it at this moment, and have it changed before we look again.
  path_text file_path;
  qu_path_join(file_path, {path});
  const folder_lock lock(qu_file_dirname(file_path, file_path));
  if (!lock) return qd_unread_state(errno);
  state = read_fields(path, version, record, comment);
  if (state != object_state::sound || !is_old_descriptor(version)) return state;
  if (holds_comment(version)) state = move_comment_out(path, comment);
  if (state == object_state::sound) state = qd_variable_descriptor_write(path, record);
  if (qd_needs_report(state)) qu_message(variable_corrupted, path);
  return state;
}

object_state qd_variable_descriptor_write(const char* path, const qd_variable_record& record) {
  qd_variable_record fields = stored_form(record);
  return qd_descriptor_write(path, move_variable_fields, fields);
}

}  // namespace qrd

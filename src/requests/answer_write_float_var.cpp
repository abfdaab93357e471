// CWRITVARF, CWRITLINF, CWRITVARS, CWRITVARC. The whole array is read before any check, so that a refused
// request leaves nothing of itself on the socket.
#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "requests/context.h"
#include "requests/data_request.h"
#include "requests/handlers.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_read_write.h"
#include "samples/qd_read_write_char.h"
#include "samples/qd_selection_rows.h"
#include "wire/arguments.h"
#include "wire/arrays.h"
#include "wire/buffer.h"
#include "wire/connection.h"

namespace qrd {

namespace {

bool read_doubles(checked_array<double>& values) {
  return _qrd_read_double_array(connection.client_socket, values.data(), values.count()) != 0;
}

// The client's own value for a missing sample becomes the database's.
void replace_test_value(checked_array<double>& values, double test_value) {
  if (test_value != missing_double) std::replace(values.begin(), values.end(), test_value, missing_double);
}

bool check_count(data_request& data, std::int32_t compress, std::int64_t count) {
  std::int64_t expected = data.count();
  if (compress != 0 && is_set(current_context.selection)) {
    const std::optional<std::int64_t> selected = data.count_selected();
    if (!selected) return refuse("Cannot get statitics on current selection %s", current_context.selection);
    expected = *selected;
  }
  if (count == expected) return true;
  return refuse("Array size does not match %scompressed selection (%" PRId64 "/%" PRId64 " samples)",
                compress != 0 ? "" : "non-", count, expected);
}

// One bit a sample, from the top bit of the first byte; any non-zero byte is a set bit.
void pack(const checked_array<unsigned char>& bytes, checked_array<unsigned char>& bits) {
  std::fill(bits.begin(), bits.end(), static_cast<unsigned char>(0));
  for (std::int64_t i = 0; i < bytes.count(); ++i)
    if (bytes[i] != 0) bits[i / 8] = static_cast<unsigned char>(bits[i / 8] | 0x80 >> (i % 8));
}

}  // namespace

request_status server_answer_write_float_var(const char* /*request*/) {
  data_request data(data_request::writing);
  std::int32_t compress = 0;
  double test_value = 0;
  std::int64_t count = 0;
  if (!data.read_float_range() || !read_arguments(compress, test_value, count)) return not_served;
  checked_array<double> values;
  if (!allocate_or_clean(values, count) || !read_doubles(values)) return not_served;
  if (!data.find_variable() || !data.check_index() || !data.check_range()) return not_served;
  replace_test_value(values, test_value);
  if (!check_count(data, compress, count)) return not_served;

  if (!data.open() || !data.set_index()) return not_served;
  if (!data.is_numeric()) return data.refuse_transfer();
  if (count > 0 && !qd_write_float_free(data.io(), compress != 0 ? SEL_COMPRESSED : SEL_MASKED, data.first,
                                        data.last, values))
    return data.refuse_transfer();
  return answer();
}

request_status server_answer_write_line_float_var(const char* /*request*/) {
  std::int64_t line = 0;
  std::int64_t count = 0;
  double test_value = 0;
  if (!read_arguments(line, count, test_value)) return not_served;
  // Refused before the array is read: clients know that it stays on the socket.
  if (line < 1) return refuse("Wrong line index");
  checked_array<double> values;
  if (!allocate_or_clean(values, count) || !read_doubles(values)) return not_served;
  replace_test_value(values, test_value);

  data_request data(data_request::writing);
  if (!data.find_lines_file()) return not_served;
  if (line > data.file.line_count) return refuse("Wrong line index");
  if (!data.set_line(line)) return not_served;
  if (data.count() != count)
    return refuse("Wrong number of sample (%" PRId64 ") where line %" PRId64 " has %" PRId64 " samples",
                  count, line, data.count());

  data.keep_selection();
  if (!data.open()) return not_served;
  if (!data.is_numeric()) return data.refuse_transfer();
  if (count > 0 && !qd_write_float_free(data.io(), SEL_MASKED, data.first, data.last, values))
    return data.refuse_transfer();
  return answer();
}

request_status server_answer_write_selection_var(const char* /*request*/) {
  data_request data(data_request::writing);
  std::int64_t count = 0;
  if (!data.read_range() || !read_arguments(count)) return not_served;
  checked_array<unsigned char> bytes;
  if (!allocate_or_clean(bytes, count, " for byte array")) return not_served;
  if (_qrd_read_bytes(connection.client_socket, bytes.data(), count) == 0) return not_served;
  if (!data.find_variable() || !data.check_index()) return not_served;
  if (data.variable.bit_length != 1) return refuse("Bit length different than 1");
  if (!data.check_range() || !check_count(data, 0, count)) return not_served;

  if (!data.open() || !data.set_index()) return not_served;
  if (!data.is_numeric() || data.entry().bit_length != 1) return data.refuse_transfer();
  bool written = false;
  if (data.first == 1 && data.last == data.file.sample_count) {
    checked_array<unsigned char> bits;
    if (!allocate_or_refuse(bits, (count - 1) / 8 + 1, " for bit array")) return not_served;
    pack(bytes, bits);
    written = qd_write_selection_free(data.io(), bits);
  } else {
    // A byte above 1 selects nothing here, other than for a whole variable: clients know both ways.
    checked_array<double> values;
    if (!allocate_or_refuse(values, count, " for double array")) return not_served;
    std::copy(bytes.begin(), bytes.end(), values.begin());
    written = qd_write_float_free(data.io(), SEL_MASKED, data.first, data.last, values);
  }
  return written ? answer() : data.refuse_transfer();
}

request_status server_answer_write_char_var(const char* /*request*/) {
  data_request data(data_request::writing);
  std::int32_t compress = 0;
  request_text test_value;
  std::int64_t count = 0;
  if (!data.read_char_range() || !read_arguments(compress, test_value, count)) return not_served;
  request_texts texts;
  if (count < 0 || !texts.allocate(count)) return clean_and_refuse_memory("", count, sizeof(char*));
  if (!texts.read()) return not_served;
  if (!data.find_variable()) return not_served;
  const std::int64_t width = data.variable.bit_length / 8;
  if (data.variable.type != VAR_CHAR || width < 1)
    return refuse("Variable %s is not a character variable", current_context.variable);
  if (!data.check_range() || !check_count(data, compress, count)) return not_served;

  checked_array<char> samples;
  if (!allocate_or_refuse(samples, limited_product(count, width))) return not_served;
  std::fill(samples.begin(), samples.end(), ' ');
  for (std::int64_t i = 0; i < count; ++i) {
    const char* text = texts[i];
    if (std::strcmp(text, test_value.c_str()) == 0) continue;
    std::memcpy(samples.data() + i * width, text, strnlen(text, static_cast<std::size_t>(width)));
  }
  if (!data.open(UNIT_VARIABLE)) return not_served;
  if (data.entry().implicit != 0 || data.entry().bytes_per_sample != width) return data.refuse_transfer();
  if (count > 0 && !qd_write_char_free(data.io(), compress != 0 ? SEL_COMPRESSED : SEL_MASKED, data.first,
                                       data.last, qd_text_bytes(samples)))
    return data.refuse_transfer();
  return answer();
}

}  // namespace qrd

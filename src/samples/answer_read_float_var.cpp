// CREADVARF, CREADLINF, CREADVARS: samples of a numeric variable, and selections as one byte a sample.
#include <cinttypes>
#include <limits>

#include "samples/answer_data.h"
#include "samples/answers.h"
#include "samples/qd_lines.h"
#include "server/context.h"

namespace qrd {

int server_answer_read_float_var(const char* /*request*/) {
  data_request data(data_request::reading);
  std::int32_t compress = 0;
  if (!data.read_float_range() || !read_arguments(compress)) return -1;
  if (!data.find_variable() || !data.check_index() || !data.check_range()) return -1;

  checked_array<double> values;
  if (!allocate_or_refuse(values, data.count())) return -1;
  if (!data.open() || !data.set_index()) return -1;
  std::int64_t count = 0;
  if (!data.is_numeric() || qd_read_float_free(data.io(), compress != 0 ? SEL_COMPRESSED : SEL_MASKED,
                                               data.first, data.last, &count, values) == 0)
    return data.refuse_transfer();
  return answer("SDATAF", wire_long{count}, wire_double{missing_double}, wire_doubles{values.data(), count});
}

int server_answer_read_line_float_var(const char* /*request*/) {
  std::int32_t line = 0;
  if (!read_arguments(line)) return -1;
  if (line < 1) return refuse("Wrong line index");
  data_request data(data_request::reading);
  if (!data.find_lines_file()) return -1;
  std::vector<std::int64_t> lengths;
  if (!data.measure_lines(lengths)) return -1;
  const auto line_count = static_cast<std::int64_t>(lengths.size());
  if (line > line_count)
    return refuse("Wrong line index (%d) where file only contains %" PRId64 " lines", line, line_count);
  data.set_line(lengths, line);

  checked_array<double> values;
  if (!allocate_or_refuse(values, data.count())) return -1;
  if (!data.open()) return -1;
  std::int64_t count = 0;
  if (!data.is_numeric() || data.count() > std::numeric_limits<std::int32_t>::max())
    return data.refuse_transfer();
  if (data.count() > 0 &&
      qd_read_float_free(data.io(), SEL_MASKED, data.first, data.last, &count, values) == 0)
    return data.refuse_transfer();
  return answer("SDATAF", wire_int{static_cast<std::int32_t>(count)}, wire_double{missing_double},
                wire_doubles{values.data(), count});
}

int server_answer_read_selection_var(const char* /*request*/) {
  data_request data(data_request::reading);
  if (!data.read_range()) return -1;
  if (!data.find_variable() || !data.check_index() || !data.check_range()) return -1;

  // The transfer always covers the whole variable.
  const std::int64_t samples = data.file.sample_count;
  checked_array<unsigned char> bytes, bits;
  if (!allocate_or_refuse(bytes, samples, " for byte array") ||
      !allocate_or_refuse(bits, (samples - 1) / 8 + 1, " for bit array"))
    return -1;
  if (!data.open() || !data.set_index()) return -1;
  std::int64_t row_bytes = 0;
  if (qd_read_selection_free(data.io(), &row_bytes, bits) == 0) return data.refuse_transfer();
  for (std::int64_t i = 0; i < data.count(); ++i) {
    std::int64_t bit = data.first - 1 + i;
    bytes[i] = bits[bit / 8] >> (7 - bit % 8) & 1;
  }
  return answer("SDATAS", wire_long{data.count()}, wire_bytes{bytes.data(), data.count()});
}

}  // namespace qrd

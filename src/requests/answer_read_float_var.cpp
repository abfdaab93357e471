// CREADVARF, CREADLINF, CREADVARS: samples of a numeric variable, and selections as one byte a sample.
#include <cinttypes>
#include <cstring>
#include <limits>

#include "catalogue/qd_lines.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_line_table.h"
#include "edit/qd_append.h"
#include "edit/qd_line_name.h"
#include "edit/qd_link.h"
#include "requests/context.h"
#include "requests/data_request.h"
#include "requests/handlers.h"
#include "samples/qd_implicit.h"
#include "wire/arguments.h"

namespace qrd {

namespace {

// The values of the opened variable. Those of a computed one are made while they are sent; `values` has room
// for the range of a stored one. Sample counts have 64 bits, or 32 where lines are read.
template <typename Count>
request_status answer_values(data_request& data, selection_mode mode, checked_array<double>& values) {
  using number = decltype(Count::value);
  std::int64_t count = 0;
  if (!data.is_numeric()) return data.refuse_transfer();
  if (data.entry().implicit != 0) {
    computed_reader reader;
    if (!reader.open(data.io(), mode, data.first, data.last)) return data.refuse_transfer();
    count = reader.count();
    return answer(Count{static_cast<number>(count)}, wire_double{missing_double},
                  wire_double_pieces{count, [&reader] { return reader.next(); }});
  }
  if (qd_read_float_free(data.io(), mode, data.first, data.last, &count, values) == 0)
    return data.refuse_transfer();
  return answer(Count{static_cast<number>(count)}, wire_double{missing_double},
                wire_doubles{values.data(), count});
}

// The values of a range.
request_status read_samples() {
  data_request data(data_request::reading);
  std::int32_t compress = 0;
  if (!data.read_float_range() || !read_arguments(compress)) return not_served;
  if (!data.find_variable() || !data.check_index() || !data.check_range()) return not_served;

  checked_array<double> values;
  if (data.variable.implicit == 0 && !allocate_or_refuse(values, data.count())) return not_served;
  if (!data.open() || !data.set_index()) return not_served;
  return answer_values<wire_long>(data, compress != 0 ? SEL_COMPRESSED : SEL_MASKED, values);
}

// The values of a line.
request_status read_line() {
  std::int32_t line = 0;
  if (!read_arguments(line)) return not_served;
  if (line < 1) return refuse("Wrong line index");
  data_request data(data_request::reading);
  if (!data.find_lines_file()) return not_served;
  std::vector<std::int64_t> lengths;
  if (!data.measure_lines(lengths)) return not_served;
  const auto line_count = static_cast<std::int64_t>(lengths.size());
  if (line > line_count)
    return refuse("Wrong line index (%d) where file only contains %" PRId64 " lines", line, line_count);
  data.set_line(lengths, line);

  checked_array<double> values;
  if (!data.open()) return not_served;
  if (data.count() > std::numeric_limits<std::int32_t>::max()) return data.refuse_transfer();
  if (data.entry().implicit == 0 && !allocate_or_refuse(values, data.count())) return not_served;
  if (data.count() > 0) return answer_values<wire_int>(data, SEL_MASKED, values);
  if (!data.is_numeric()) return data.refuse_transfer();
  return answer(wire_int{0}, wire_double{missing_double});
}

}  // namespace

request_status server_answer_read_float_var(const char* request) {
  return std::strcmp(request, "CREADLINF") == 0 ? read_line() : read_samples();
}

request_status server_answer_read_selection_var(const char* /*request*/) {
  data_request data(data_request::reading);
  if (!data.read_range()) return not_served;
  if (!data.find_variable() || !data.check_index() || !data.check_range()) return not_served;

  // The transfer always covers the whole variable.
  const std::int64_t samples = data.file.sample_count;
  checked_array<unsigned char> bytes, bits;
  if (!allocate_or_refuse(bytes, samples, " for byte array") ||
      !allocate_or_refuse(bits, (samples - 1) / 8 + 1, " for bit array"))
    return not_served;
  if (!data.open() || !data.set_index()) return not_served;
  std::int64_t row_bytes = 0;
  if (qd_read_selection_free(data.io(), &row_bytes, bits) == 0) return data.refuse_transfer();
  for (std::int64_t i = 0; i < data.count(); ++i) {
    std::int64_t bit = data.first - 1 + i;
    bytes[i] = bits[bit / 8] >> (7 - bit % 8) & 1;
  }
  return answer(wire_long{data.count()}, wire_bytes{bytes.data(), data.count()});
}

}  // namespace qrd

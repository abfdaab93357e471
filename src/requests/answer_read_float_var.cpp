// CREADVARF, CREADLINF, CREADVARS: samples of a numeric variable, and selections as one byte a sample.
#include <cinttypes>
#include <cstring>
#include <limits>

#include "requests/data_request.h"
#include "requests/handlers.h"
#include "samples/qd_sample_reader.h"
#include "samples/qd_selection_rows.h"
#include "wire/arguments.h"

namespace qrd {

namespace {

// Memory for what is stored of a range; a computed variable needs none. The refusal tells how many bytes the
// values would take: clients know that.
bool allocate_stored(const data_request& data, std::int64_t bit_length, bool is_computed,
                     checked_array<unsigned char>& stored) {
  if (is_computed || stored.allocate(qd_stored_room(data.count(), bit_length))) return true;
  return refuse_memory("", data.count(), sizeof(double));
}

// The values of the opened variable. Sample counts have 64 bits, or 32 where lines are read.
template <typename Count>
request_status answer_values(data_request& data, selection_mode mode, checked_array<unsigned char>& stored) {
  sample_reader values(stored);
  if (!data.is_numeric() || !qd_read_float_free(data.io(), mode, data.first, data.last, values))
    return data.refuse_transfer();
  return answer(Count{static_cast<decltype(Count::value)>(values.count())}, wire_double{missing_double},
                wire_double_pieces{values.count(), [&values] { return values.next(); }});
}

// The values of a range.
request_status read_samples() {
  data_request data(data_request::reading);
  std::int32_t compress = 0;
  if (!data.read_float_range() || !read_arguments(compress)) return not_served;
  if (!data.find_variable() || !data.check_index() || !data.check_range()) return not_served;

  checked_array<unsigned char> stored;
  if (!allocate_stored(data, data.variable.bit_length, data.variable.implicit != 0, stored))
    return not_served;
  if (!data.open() || !data.set_index()) return not_served;
  return answer_values<wire_long>(data, compress != 0 ? SEL_COMPRESSED : SEL_MASKED, stored);
}

// The values of a line.
request_status read_line() {
  std::int32_t line = 0;
  if (!read_arguments(line)) return not_served;
  if (line < 1) return refuse("Wrong line index");
  data_request data(data_request::reading);
  if (!data.find_lines_file()) return not_served;
  if (line > data.file.line_count)
    return refuse("Wrong line index (%d) where file only contains %" PRId64 " lines", line,
                  data.file.line_count);
  if (!data.set_line(line)) return not_served;

  checked_array<unsigned char> stored;
  if (!data.open()) return not_served;
  if (data.count() > std::numeric_limits<std::int32_t>::max()) return data.refuse_transfer();
  if (!allocate_stored(data, data.entry().bit_length, data.entry().implicit != 0, stored)) return not_served;
  if (data.count() > 0) return answer_values<wire_int>(data, SEL_MASKED, stored);
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

  // The transfer always covers the whole variable. Its bytes are made while they are sent; clients know how
  // the refusal counts them.
  const std::int64_t samples = data.file.sample_count;
  checked_array<unsigned char> bits;
  if (!bits.allocate((samples - 1) / 8 + 1)) return refuse_memory(" for byte array", samples, 1);
  if (!data.open() || !data.set_index()) return not_served;
  std::int64_t row_bytes = 0;
  if (!qd_read_selection_free(data.io(), &row_bytes, bits)) return data.refuse_transfer();
  unsigned char piece[4096];
  std::int64_t next = data.first - 1;
  const auto next_piece = [&]() -> std::span<const unsigned char> {
    std::size_t size = 0;
    for (; size < sizeof piece && next < data.last; ++next)
      piece[size++] = bits[next / 8] >> (7 - next % 8) & 1;
    return {piece, size};
  };
  return answer(wire_long{data.count()}, wire_byte_pieces{data.count(), next_piece});
}

}  // namespace qrd

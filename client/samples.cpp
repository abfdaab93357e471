// Requests that read and write samples, choose what masks them, and list or add the columns of a macro
// variable.
#include "qrd/connection.h"

namespace qrd::client {

namespace {

constexpr std::int64_t whole_file = -1;

}  // namespace

bool connection::sends_float_range() const {
  return (version_ >= 407 && version_ <= 409) || version_ >= 411;
}

bool connection::sends_text_range() const {
  return version_ >= 700000;
}

void connection::add_range(packet& request, const std::optional<sample_range>& range) const {
  request.add_long(range ? range->first : whole_file).add_long(range ? range->last : whole_file);
}

void connection::set_selection(const std::string& name) {
  named("CSELSET", name);
}

void connection::set_index(std::int32_t index) {
  call(request("CINDSET").add_int(index), "SDONE");
}

void connection::set_index(const std::string& name) {
  named("CINDASET", name);
}

std::vector<std::int32_t> connection::macro_index_numbers() {
  call(request("CMACROIND"), "SMACROIND");
  return wire_.read_ints(wire_.read_int());
}

macro_indices connection::macro_indices() {
  call(request("CMACROALP"), "SMACROALP");
  client::macro_indices result;
  const std::int32_t count = wire_.read_int();
  result.numbers = wire_.read_ints(count);
  if (wire_.read_bool()) result.names = wire_.read_strings(count);
  return result;
}

void connection::add_macro_indices(std::span<const std::int32_t> numbers,
                                   const std::optional<std::vector<std::string>>& names) {
  if (names && names->size() != numbers.size()) throw bad_argument("each macro index needs one name");
  packet full = request("CMACROADD");
  full.add_int(static_cast<std::int32_t>(numbers.size())).add_bool(true).add_ints(numbers);
  full.add_bool(names.has_value());
  if (names) full.add_strings(*names);
  call(full, "SDONE");
}

std::int64_t connection::ask_for_floats(const std::optional<sample_range>& range, selection_use use) {
  packet full = request("CREADVARF");
  if (sends_float_range()) add_range(full, range);
  call(full.add_int(static_cast<std::int32_t>(use)), "SDATAF");
  return wire_.read_long();
}

float_samples connection::read_floats(std::optional<sample_range> range, selection_use use) {
  float_samples result;
  const std::int64_t count = ask_for_floats(range, use);
  result.missing = wire_.read_double();
  result.values = wire_.read_doubles(count);
  return result;
}

std::vector<double> connection::read_numbers(std::optional<sample_range> range, selection_use use) {
  const std::int64_t count = ask_for_floats(range, use);
  const double missing = wire_.read_double();
  return wire_.read_doubles(count, missing, range ? range->last - range->first + 1 : 0);
}

float_samples connection::read_line(std::int32_t line) {
  call(request("CREADLINF").add_int(line), "SDATAF");
  float_samples result;
  const std::int32_t count = wire_.read_int();
  result.missing = wire_.read_double();
  result.values = wire_.read_doubles(count);
  return result;
}

std::vector<std::uint8_t> connection::read_selection(std::optional<sample_range> range) {
  packet full = request("CREADVARS");
  add_range(full, range);
  call(full, "SDATAS");
  return wire_.read_bytes(wire_.read_long());
}

text_samples connection::read_texts(std::optional<sample_range> range, selection_use use) {
  packet full = request("CREADVARC");
  if (sends_text_range()) add_range(full, range);
  call(full.add_int(static_cast<std::int32_t>(use)), "SDATAC");
  text_samples result;
  const std::int64_t count = wire_.read_long();
  result.missing = wire_.read_string(unlimited);
  result.values = wire_.read_strings(count, unlimited);
  return result;
}

packet connection::head_of_floats(std::size_t count, const std::optional<sample_range>& range,
                                  selection_use use, double missing) const {
  packet head = request("CWRITVARF");
  if (sends_float_range()) add_range(head, range);
  head.add_int(static_cast<std::int32_t>(use)).add_double(missing);
  head.add_long(static_cast<std::int64_t>(count));
  return head;
}

void connection::write_floats(std::span<const double> values, std::optional<sample_range> range,
                              selection_use use, double missing) {
  send_values(head_of_floats(values.size(), range, use, missing), values);
}

void connection::write_numbers(std::span<const double> values, std::optional<sample_range> range,
                               selection_use use) {
  wire_.write(head_of_floats(values.size(), range, use, missing_value));
  wire_.write_doubles(values, missing_value);
  wire_.flush();
  expect("SDONE");
}

void connection::write_line(std::int64_t line, std::span<const double> values, double missing) {
  packet head = request("CWRITLINF");
  head.add_long(line).add_long(static_cast<std::int64_t>(values.size())).add_double(missing);
  send_values(head, values);
}

void connection::write_selection(std::span<const std::uint8_t> values, std::optional<sample_range> range) {
  packet head = request("CWRITVARS");
  add_range(head, range);
  head.add_long(static_cast<std::int64_t>(values.size()));
  wire_.write(head);
  wire_.write_bytes(values);
  wire_.flush();
  expect("SDONE");
}

void connection::write_texts(std::span<const std::string> values, std::optional<sample_range> range,
                             selection_use use, const std::string& missing) {
  packet head = request("CWRITVARC");
  if (sends_text_range()) add_range(head, range);
  head.add_int(static_cast<std::int32_t>(use)).add_string(missing);
  head.add_long(static_cast<std::int64_t>(values.size()));
  wire_.write(head);
  wire_.write_strings(values);
  wire_.flush();
  expect("SDONE");
}

}  // namespace qrd::client

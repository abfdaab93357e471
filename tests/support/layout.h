// Packets by the layouts of the request table.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wire/request_table.h"

namespace qrd::test {

enum class value_type { whole, wide, real, byte, text };

// A value, where it stands in a packet.
struct layout_value {
  value_type type;  // whole: int and bool; wide: long
  std::string name;
  std::int64_t limit;  // of a text
  std::int64_t place;  // in its array; 0 for a single one
  bool decides;        // what follows depends on it
};

// Shows the values of a packet to `visit`, one by one, which gives the numbers of those that decide. Throws
// std::invalid_argument for what isn't a layout.
void walk_layout(std::string_view layout, std::int32_t client_version,
                 const std::function<std::int64_t(const layout_value& value)>& visit);

const request_row& row_of(std::string_view request);

// Chooses values.
class value_source {
 public:
  virtual ~value_source() = default;
  // What follows fits this number.
  virtual std::int64_t number(const layout_value& /*value*/) { return 1; }
  // What travels instead.
  virtual std::int64_t sent(const layout_value& /*value*/, std::int64_t number) { return number; }
  virtual double real(const layout_value& /*value*/) { return 1.5; }
  virtual std::string text(const layout_value& /*value*/) { return "x"; }
};
// The bytes of a packet, with longs of 8 bytes.
std::string packed(std::string_view layout, value_source& source, std::int32_t client_version);
// With the request's name in front.
std::string packed_request(const request_row& row, value_source& source, std::int32_t client_version);

// The values of a packet in the words of a trace, such as "Int(5)", of each array the first ten; nothing if
// the bytes are no such packet, or more than one.
std::optional<std::vector<std::string>> unpacked(std::string_view layout, std::string_view data,
                                                 std::int32_t client_version);

}  // namespace qrd::test

// Expected bytes, built without the code under test, and whole files.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

namespace qrd::test {

// A growing text of big-endian values; each call appends one or more of them and returns the builder.
class bytes {
 public:
  bytes& u8(std::uint8_t value) { return unsigned_number(value, 1); }
  template <typename... Rest>
  bytes& u8(std::uint8_t value, Rest... rest) {
    return u8(value).u8(rest...);
  }
  bytes& u16(std::uint16_t value) { return unsigned_number(value, 2); }
  bytes& i32(std::int32_t value) { return unsigned_number(static_cast<std::uint32_t>(value), 4); }
  template <typename... Rest>
  bytes& i32(std::int32_t value, Rest... rest) {
    return i32(value).i32(rest...);
  }
  bytes& i64(std::int64_t value) { return unsigned_number(static_cast<std::uint64_t>(value), 8); }
  template <typename... Rest>
  bytes& i64(std::int64_t value, Rest... rest) {
    return i64(value).i64(rest...);
  }
  bytes& f32(float value) { return unsigned_number(std::bit_cast<std::uint32_t>(value), 4); }
  bytes& f64(double value) { return unsigned_number(std::bit_cast<std::uint64_t>(value), 8); }
  template <typename... Rest>
  bytes& f64(double value, Rest... rest) {
    return f64(value).f64(rest...);
  }
  // Length, characters, zero bytes up to a multiple of 4.
  bytes& text(std::string_view value) {
    i32(static_cast<std::int32_t>(value.size()));
    data_ += value;
    data_.append((4 - value.size() % 4) % 4, '\0');
    return *this;
  }
  bytes& raw(std::string_view value) {
    data_ += value;
    return *this;
  }
  bytes& repeat(std::size_t count, char value) {
    data_.append(count, value);
    return *this;
  }
  const std::string& str() const { return data_; }

 private:
  bytes& unsigned_number(std::uint64_t value, int size) {
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) data_ += static_cast<char>(value >> shift);
    return *this;
  }
  std::string data_;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, std::string_view content);

}  // namespace qrd::test

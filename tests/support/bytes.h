// Expected bytes, built without the code under test, and whole files.
#pragma once

#include <bit>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qrd::test {

namespace fs = std::filesystem;
using strings = std::vector<std::string>;

// A growing text of big-endian values; each call appends one or more of them, or all of an array, and returns
// the builder.
class bytes {
 public:
  bytes() = default;
  // Begins with a text, as packets do.
  bytes(const char* first) { text(first); }
  explicit bytes(std::string_view first) { text(first); }

  bytes& u8(int value) { return unsigned_number(static_cast<std::uint8_t>(value), 1); }
  template <typename... Rest>
  bytes& u8(int value, Rest... rest) {
    return u8(value).u8(rest...);
  }
  bytes& u8(const std::vector<int>& values) {
    for (int value : values) u8(value);
    return *this;
  }
  bytes& u16(std::uint16_t value) { return unsigned_number(value, 2); }
  bytes& i32(std::int32_t value) { return unsigned_number(static_cast<std::uint32_t>(value), 4); }
  template <typename... Rest>
  bytes& i32(std::int32_t value, Rest... rest) {
    return i32(value).i32(rest...);
  }
  bytes& i32(const std::vector<int>& values) {
    for (int value : values) i32(value);
    return *this;
  }
  bytes& i64(std::int64_t value) { return unsigned_number(static_cast<std::uint64_t>(value), 8); }
  template <typename... Rest>
  bytes& i64(std::int64_t value, Rest... rest) {
    return i64(value).i64(rest...);
  }
  bytes& i64(const std::vector<std::int64_t>& values) {
    for (std::int64_t value : values) i64(value);
    return *this;
  }
  bytes& f64(double value) { return unsigned_number(std::bit_cast<std::uint64_t>(value), 8); }
  template <typename... Rest>
  bytes& f64(double value, Rest... rest) {
    return f64(value).f64(rest...);
  }
  bytes& f64(const std::vector<double>& values) {
    for (double value : values) f64(value);
    return *this;
  }
  // Length, characters, zero bytes up to a multiple of 4.
  bytes& text(std::string_view value) {
    i32(static_cast<std::int32_t>(value.size()));
    data_ += value;
    data_.append((4 - value.size() % 4) % 4, '\0');
    return *this;
  }
  bytes& text(const strings& values) {
    for (const std::string& value : values) text(value);
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
  operator const std::string&() const { return data_; }
  operator std::string_view() const { return data_; }
  friend bool operator==(const bytes& built, const std::string& found) { return built.data_ == found; }

 private:
  bytes& unsigned_number(std::uint64_t value, int size) {
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) data_ += static_cast<char>(value >> shift);
    return *this;
  }
  std::string data_;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, std::string_view content);
// As `compress` leaves them: the plain file goes.
void gzip_file(const std::string& path, const std::string& content);

// The names in a folder, in their order.
strings names_in(const std::string& folder);

// Every file below a folder by its relative path, with its content; a folder has the content "/".
using tree_image = std::map<std::string, std::string>;
tree_image image_of(const fs::path& folder);
// Paths whose content differs, was added or is gone.
strings changes(const tree_image& before, const tree_image& after);

}  // namespace qrd::test

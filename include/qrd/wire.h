// The values of the protocol as bytes, and a connection that carries them.
//
// Every number is big-endian. An int has 4 bytes, a bool is an int of 0 or 1, a double is IEEE 754 binary64,
// a long has 8 bytes after both sides declared to be 64-bit programs and 4 bytes before, a string is an int
// with its length, the characters, and zero bytes up to a multiple of 4. An array has no count of its own.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qrd/export.h"
#include "qrd/types.h"

namespace qrd::client {

class started_program;

// What a long takes on the wire.
enum class long_size { four_bytes, eight_bytes };

// Longest texts of the protocol, in characters.
constexpr std::size_t max_request_name = 9;
constexpr std::size_t max_answer_name = 10;
constexpr std::size_t max_unit = 10;
constexpr std::size_t max_name = 49;
constexpr std::size_t max_text = 9999;
constexpr std::size_t max_error_text = 1024;
constexpr std::size_t unlimited = 0x7fffffff;

// A request, or a part of one, being built. Each call appends and returns the packet.
class QRD_EXPORT packet {
 public:
  packet() = default;
  // Starts with a request name.
  explicit packet(std::string_view name, long_size longs = long_size::eight_bytes);

  packet& add_int(std::int32_t value);
  packet& add_bool(bool value);
  // A value that 4 bytes cannot hold is a bad_argument where longs have 4 bytes.
  packet& add_long(std::int64_t value);
  packet& add_double(double value);
  // A text of more than `most` characters is a bad_argument.
  packet& add_string(std::string_view value, std::size_t most = max_text);
  packet& add_bytes(std::span<const std::uint8_t> values);
  packet& add_ints(std::span<const std::int32_t> values);
  packet& add_doubles(std::span<const double> values);
  packet& add_strings(std::span<const std::string> values);

  const std::string& bytes() const { return bytes_; }
  // Of the request; empty for a part of one.
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  std::string bytes_;
  long_size longs_ = long_size::eight_bytes;
};

// Told while an array travels: bytes done and bytes in all.
using progress_function = std::function<void(std::uint64_t done, std::uint64_t total)>;
// Told ten times a second while a request lasts, whether the server is silent or values travel.
using wait_function = std::function<void()>;

// A connected socket with buffers in both directions. Owns the descriptor. Any failure closes it and is a
// protocol_error, which tells what the server was asked; so is the use of a closed stream. What the two
// functions throw comes out too, and closes it as well: that is how a wait is given up.
class QRD_EXPORT stream {
 public:
  explicit stream(int descriptor);
  // Connects to an IPv4 host, by name or address.
  static stream connect(const std::string& host, std::uint16_t port);
  // To a socket in the file system.
  static stream connect_local(const std::string& path);
  // Starts a program whose standard input and output are the connection.
  static stream through(const std::vector<std::string>& arguments);
  stream(stream&& other) noexcept;
  stream& operator=(stream&& other) noexcept;
  ~stream();

  bool is_open() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  void close();
  // Longest silence of the other side within a read; 0 waits for ever.
  // The request that was sent last.
  const std::string& asked() const { return asked_; }
  void set_timeout(std::chrono::milliseconds timeout);
  void set_progress(progress_function progress) { progress_ = std::move(progress); }
  void set_wait(wait_function wait);
  void set_long_size(long_size longs) { longs_ = longs; }
  long_size longs() const { return longs_; }

  // Sends. Nothing is sure to leave before flush().
  void write(const packet& part);
  void write_bytes(std::span<const std::uint8_t> values);
  void write_doubles(std::span<const double> values);
  // The same with `missing` in the place of each NaN.
  void write_doubles(std::span<const double> values, double missing);
  void write_strings(std::span<const std::string> values);
  void flush();

  // Receives.
  std::int32_t read_int();
  bool read_bool();
  std::int64_t read_long();
  double read_double();
  point3 read_point();
  // More than `most` characters are a protocol_error. The length -1 of an absent text gives the empty text.
  std::string read_string(std::size_t most = max_text);
  std::vector<std::uint8_t> read_bytes(std::int64_t count);
  std::vector<std::int32_t> read_ints(std::int64_t count);
  std::vector<double> read_doubles(std::int64_t count);
  // The same with NaN in the place of each `missing`. Memory for `expected` values is taken at once.
  std::vector<double> read_doubles(std::int64_t count, double missing, std::int64_t expected = 0);
  std::vector<std::string> read_strings(std::int64_t count, std::size_t most = max_text);
  // Whether something can be read within the time.
  bool wait_readable(std::chrono::milliseconds time);

 private:
  [[noreturn]] void fail(const std::string& text);
  void send_all(const char* data, std::size_t size);
  void put(const char* data, std::size_t size);
  std::size_t receive_some(char* data, std::size_t size);
  void get(char* data, std::size_t size);
  template <typename T, typename Change>
  std::vector<T> read_array(std::int64_t count, const Change& change, std::int64_t expected = 0);
  template <typename Change>
  void write_changed(std::span<const double> values, const Change& change);
  void tell_progress(std::uint64_t done, std::uint64_t total);
  // Tells of the waiting; the second only if it is time to.
  void tell_wait();
  void tell_wait_in_time();
  // Until something can be sent.
  void await_room();
  void limit_receiving();

  int descriptor_ = -1;
  std::unique_ptr<started_program> program_;
  // What the server was asked last.
  std::string asked_;
  long_size longs_ = long_size::four_bytes;
  progress_function progress_;
  wait_function wait_;
  std::chrono::steady_clock::time_point told_wait_{};
  std::chrono::milliseconds timeout_{0};
  std::string outgoing_;
  std::unique_ptr<char[]> incoming_;
  std::size_t incoming_begin_ = 0;
  std::size_t incoming_end_ = 0;
};

}  // namespace qrd::client

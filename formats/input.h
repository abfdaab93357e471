// The bytes of a file, from the first one as often as wanted.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct gzFile_s;

namespace qrd::formats {

class input {
 public:
  // "-" is the standard input. What can be read only once, such as a pipe, is kept in a file without a name.
  // What gzip has packed is unpacked. An `error` if it can't be read.
  explicit input(const std::string& path);
  // The bytes of a text that is at hand.
  static input of_text(std::string_view text);
  input(input&&) noexcept;
  input& operator=(input&&) noexcept;
  ~input();

  // 0 at the end. A file that breaks off is an `error`.
  std::size_t read(char* data, std::size_t size);
  void rewind();

  bool is_packed() const { return packed_; }
  // Empty for the standard input.
  const std::string& name() const { return name_; }
  // What of the file has been read since its beginning, and its size, in bytes on the disk.
  std::uint64_t position() const;
  std::uint64_t size() const { return size_; }

 private:
  input() = default;
  void open(int descriptor);
  [[noreturn]] void fail(const std::string& reason) const;

  std::string name_;
  gzFile_s* file_ = nullptr;
  std::uint64_t size_ = 0;
  bool packed_ = false;
};

// All bytes of a file, for formats that are small. More than the bound is an `error`.
std::string read_all(input& from, std::size_t most = std::size_t{1} << 30);

}  // namespace qrd::formats

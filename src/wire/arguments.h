// What a handler reads off the socket before it looks at anything.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "util/qu_constants.h"

namespace qrd {

// A string that came off the socket. An absent one (length -1) is the empty text.
class request_text {
 public:
  request_text() = default;
  request_text(const request_text&) = delete;
  request_text& operator=(const request_text&) = delete;
  ~request_text() { std::free(text_); }
  const char* c_str() const { return text_ == nullptr ? "" : text_; }
  char** address() { return &text_; }

 private:
  char* text_ = nullptr;
};

// Owns `count` strings that came off the socket as an array.
class request_texts {
 public:
  request_texts() = default;
  request_texts(const request_texts&) = delete;
  request_texts& operator=(const request_texts&) = delete;
  ~request_texts();
  // States how many shall be read. False without memory. REQUIRES: count >= 0.
  bool allocate(std::int64_t count);
  bool read();
  // Once they have been read.
  const char* operator[](std::int64_t i) const { return texts_[i] == nullptr ? "" : texts_[i]; }
  std::int64_t count() const { return count_; }
  // Null where a string was absent.
  const char* const* data() const { return texts_; }

 private:
  bool grow(std::int64_t room);

  char** texts_ = nullptr;
  std::int64_t count_ = 0;
  std::int64_t room_ = 0;
};

// One argument each: an int, a long, a double, a string(10000), and fixed texts whose room is the limit
// (string(50), string(11)).
bool read_argument(std::int32_t& value);
bool read_argument(std::int64_t& value);
bool read_argument(double& value);
bool read_argument(request_text& text);
bool read_fixed_text(char* text, std::uint32_t room);
template <std::uint32_t Room>
bool read_argument(char (&text)[Room]) {
  return read_fixed_text(text, Room);
}
bool read_unlimited(request_text& text);

template <typename... Arguments>
bool read_arguments(Arguments&... arguments) {
  return (read_argument(arguments) && ...);
}

}  // namespace qrd

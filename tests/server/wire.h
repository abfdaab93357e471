// A socket pair whose one end the wire operations use, and what the far end sees.
#pragma once

#include "server/trace_text.h"
#include "support/test.h"
#include "wire/buffer.h"
#include "wire/console.h"
#include "wire/trace.h"
#include "wire/values.h"

namespace qrd::test {

class wire : unmovable {
 public:
  // With SOCK_SEQPACKET every send stays a packet of its own.
  explicit wire(int type = SOCK_SEQPACKET) {
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends_) != 0) throw std::runtime_error("socketpair");
    connection.client_is_64bits = 0;
    _qrd_empty_read();
    _qrd_empty_write();
  }
  ~wire() {
    ::close(ends_[0]);
    hang_up();
  }

  socket_handle near() const { return ends_[0]; }
  int far() const { return ends_[1]; }
  void hang_up() {
    if (ends_[1] >= 0) ::close(ends_[1]);
    ends_[1] = -1;
  }
  void arrive(std::string_view data) {
    if (::send(ends_[1], data.data(), data.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(data.size()))
      throw std::runtime_error("send");
  }
  std::int32_t next_int() {
    std::int32_t value = 0;
    EXPECT_TRUE(_qrd_read_int(near(), &value));
    return value;
  }
  // What each send since the last call has carried.
  strings sends() {
    strings result;
    char packet[4096];
    for (;;) {
      ssize_t size = recv(ends_[1], packet, sizeof packet, MSG_DONTWAIT);
      if (size <= 0) return result;
      result.emplace_back(packet, static_cast<std::size_t>(size));
    }
  }
  // The same, with what the write side still holds.
  strings all_sends() {
    _qrd_flush_write(near());
    return sends();
  }

 private:
  int ends_[2] = {-1, -1};
};

// Traces into memory for a scope.
class captured_trace : unmovable {
 public:
  explicit captured_trace(int level) { tracing = {.level = level, .file = open_memstream(&text_, &size_)}; }
  ~captured_trace() {
    std::fclose(tracing.file);
    tracing = {};
    std::free(text_);
  }
  // Without the time of day that begins a line.
  std::string text() const { return without_times({text_, size_}); }

 private:
  char* text_ = nullptr;
  std::size_t size_ = 0;
};

// Collects what the network layer reports as errors.
class captured_errors : unmovable {
 public:
  captured_errors() {
    texts().clear();
    console.error_sink = [](const char* text) { texts().emplace_back(text); };
  }
  ~captured_errors() { console.error_sink = _qrd_print_error; }
  static strings& texts() {
    static strings collected;
    return collected;
  }
};

}  // namespace qrd::test

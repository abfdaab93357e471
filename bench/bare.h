// Bare programs: forked processes at the other end of a loopback connection that do the least that a
// request's work can take.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

namespace qrd::bench {

// Byte streams over a connected socket; a failure ends the bench.
void send_all(int socket, const void* data, std::size_t size);
// Reads exactly `size` bytes, in pieces as large as they come, and gives the first 12 of them at most: an
// answer's name.
std::string drain(int socket, std::size_t size);

// A forked process that serves one connection until it closes.
class bare_program {
 public:
  // `serve` runs in the process, with its end of the connection, once for each byte that this end sends.
  explicit bare_program(const std::function<void(int socket)>& serve);
  bare_program(const bare_program&) = delete;
  bare_program& operator=(const bare_program&) = delete;
  ~bare_program();
  int socket() const { return socket_; }
  // Sends the byte that makes it serve once.
  void ask() const;

 private:
  int socket_;
  pid_t process_;
};

// The most that the protocol sends at a time.
inline constexpr std::size_t protocol_step = 1024;

// Reads the file with one read, then pushes `answer_size` bytes in sends of `step` bytes with `flags`.
void push_file(int socket, const std::string& path, std::size_t answer_size, std::size_t step, int flags);
// Receives `request_size` bytes by as few calls as it takes, writes the first `file_size` of them in writes
// of 1 MiB, and answers one byte.
void take_file(int socket, const std::string& path, std::size_t request_size, std::size_t file_size);
// Answers one byte.
void pong(int socket);
// Write a new file, or over one that is there: `size` bytes in writes of 1 MiB, or a content.
void write_file(const std::string& path, std::size_t size);
void write_file(const std::string& path, const std::string& content);

}  // namespace qrd::bench

// Connections that are there before their server is.
#pragma once

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "support/server_process.h"

namespace qrd::test {

// `far` is the server's.
struct socket_pair {
  explicit socket_pair(int type = SOCK_STREAM) {
    int ends[2];
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("socketpair");
    near = ends[0];
    far = ends[1];
  }
  socket_pair(const socket_pair&) = delete;
  socket_pair& operator=(const socket_pair&) = delete;
  ~socket_pair() {
    close(near);
    close(far);
  }
  // To be taken when the server has its end, which is closed here.
  raw_connection take_near() {
    close(std::exchange(far, -1));
    return raw_connection(std::exchange(near, -1));
  }

  int near = -1, far = -1;
};

struct pipe_pair {
  pipe_pair() {
    if (pipe2(requests, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
  }
  pipe_pair(const pipe_pair&) = delete;
  pipe_pair& operator=(const pipe_pair&) = delete;
  ~pipe_pair() {
    for (int end : {requests[0], requests[1], answers[0], answers[1]}) close(end);
  }
  raw_connection take_near() {
    close(std::exchange(requests[0], -1));
    close(std::exchange(answers[1], -1));
    return raw_connection(std::exchange(answers[0], -1), std::exchange(requests[1], -1));
  }

  int requests[2], answers[2];
};

}  // namespace qrd::test

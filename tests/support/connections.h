// Connections that are there before their server is.
#pragma once

#include "support/server_process.h"

namespace qrd::test {

// `far` is the server's.
struct socket_pair : unmovable {
  explicit socket_pair(int type = SOCK_STREAM) {
    int ends[2];
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("socketpair");
    near = ends[0];
    far = ends[1];
  }
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

struct pipe_pair : unmovable {
  pipe_pair() {
    if (pipe2(requests, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
  }
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

// A server with these as its standard streams; a shell may come before it.
inline server_settings started_on(int input, int output = -1, strings arguments = {"-inetd"}) {
  return {.arguments = std::move(arguments), .controlled = false, .streams = {input, output, -1}};
}
inline server_settings started_by_shell(const std::string& script, int input) {
  server_settings settings = started_on(input, -1, {"-c", script});
  settings.program = "/bin/sh";
  return settings;
}

}  // namespace qrd::test

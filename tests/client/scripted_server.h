// The other end of a socket pair: takes the requests it expects, byte for byte, and gives each its answer.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "qrd/connection.h"

namespace qrd::test {

class scripted_server {
 public:
  // Each exchange is a request and its answer.
  explicit scripted_server(std::vector<std::pair<std::string, std::string>> exchanges)
      : exchanges_(std::move(exchanges)) {
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_) != 0)
      throw std::runtime_error("socketpair");
    thread_ = std::thread([this] { run(); });
  }
  scripted_server(const scripted_server&) = delete;
  scripted_server& operator=(const scripted_server&) = delete;
  // The client has to be closed first.
  ~scripted_server() {
    thread_.join();
    close(ends_[1]);
    EXPECT_EQ(received_.size(), exchanges_.size());
    for (std::size_t i = 0; i < received_.size(); ++i)
      EXPECT_EQ(received_[i], exchanges_[i].first) << "request " << i;
    EXPECT_EQ(rest_, "") << "sent behind the last request";
  }

  int client_end() const { return ends_[0]; }

 private:
  void run() {
    for (const auto& [request, answer] : exchanges_) {
      std::string got(request.size(), '\0');
      if (!got.empty() &&
          recv(ends_[1], got.data(), got.size(), MSG_WAITALL) != static_cast<ssize_t>(got.size()))
        break;
      received_.push_back(got);
      for (std::size_t sent = 0; sent < answer.size();) {
        const ssize_t step = send(ends_[1], answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
        if (step <= 0) return;
        sent += static_cast<std::size_t>(step);
      }
    }
    shutdown(ends_[1], SHUT_WR);
    char buffer[256];
    for (ssize_t got; (got = recv(ends_[1], buffer, sizeof buffer, 0)) > 0;)
      rest_.append(buffer, static_cast<std::size_t>(got));
  }

  std::vector<std::pair<std::string, std::string>> exchanges_;
  std::vector<std::string> received_;
  std::string rest_;
  int ends_[2] = {-1, -1};
  std::thread thread_;
};

// A client of the given version, with longs of 8 bytes, on the other end of the script.
inline client::connection client_of(const scripted_server& server,
                                    std::int32_t version = client::newest_version,
                                    client::long_size longs = client::long_size::eight_bytes) {
  client::connection connection(client::stream(server.client_end()), version);
  connection.wire().set_long_size(longs);
  connection.set_timeout(std::chrono::seconds(20));
  return connection;
}

}  // namespace qrd::test

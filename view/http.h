// The web server of the page, on 127.0.0.1 only.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "view/source.h"

namespace qrd::view {

class http_server {
 public:
  // At this port, or at a free one for 0. A port that can't be had is an `error`.
  http_server(source& from, std::uint16_t port);
  ~http_server();

  std::uint16_t port() const;
  // What the browser has to be given once: with the secret.
  std::string url() const;
  const std::string& secret() const;

  // Serves until stop(), which another thread calls once this has been called or is about to be.
  void run();
  void stop();

 private:
  class server;
  std::unique_ptr<server> server_;
  std::atomic<bool> ended_ = false;
};

}  // namespace qrd::view

#include "view/http.h"

#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "view/answers.h"
#include "view/guard.h"
#include "view/page.h"

namespace qrd::view {

namespace {

constexpr int waiting_step = 100;  // milliseconds between two looks whether the server ends

// A connection of a browser. What comes of one request is bounded, whatever it consists of.
class bounded_stream final : public httplib::Stream {
 public:
  bounded_stream(int socket, const std::atomic<bool>& ends) : socket_(socket), ends_(ends) {}

  void begin_request() {
    constexpr std::size_t most = 64 << 10;
    left_ = most;
  }
  // Whether something comes within the time.
  bool await(short events, std::chrono::milliseconds time) const {
    if (events == POLLIN && begin_ < end_) return true;
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!ends_ && std::chrono::steady_clock::now() < deadline) {
      pollfd one{socket_, events, 0};
      if (poll(&one, 1, waiting_step) > 0) return true;
    }
    return false;
  }

  bool is_readable() const override { return await(POLLIN, patience); }
  bool is_writable() const override { return await(POLLOUT, patience); }
  ssize_t read(char* data, std::size_t size) override {
    if (left_ == 0) return -1;
    if (begin_ == end_) {
      if (!is_readable()) return -1;
      const ssize_t got = recv(socket_, buffer_, sizeof buffer_, 0);
      if (got <= 0) return got;
      begin_ = 0;
      end_ = static_cast<std::size_t>(got);
    }
    const std::size_t given = std::min({size, end_ - begin_, left_});
    std::copy_n(buffer_ + begin_, given, data);
    begin_ += given;
    left_ -= given;
    return static_cast<ssize_t>(given);
  }
  ssize_t write(const char* data, std::size_t size) override {
    if (!is_writable()) return -1;
    return send(socket_, data, size, MSG_NOSIGNAL);
  }
  void get_remote_ip_and_port(std::string& ip, int& port) const override {
    ip.clear();
    port = 0;
  }
  void get_local_ip_and_port(std::string& ip, int& port) const override { get_remote_ip_and_port(ip, port); }
  socket_t socket() const override { return socket_; }

 private:
  static constexpr std::chrono::seconds patience{20};

  int socket_;
  const std::atomic<bool>& ends_;
  std::size_t left_ = 0;
  char buffer_[4096];
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

std::vector<std::string> values_of(const httplib::Request& request, const char* header) {
  std::vector<std::string> values;
  const auto [begin, end] = request.headers.equal_range(header);
  for (auto one = begin; one != end; ++one) values.push_back(one->second);
  return values;
}

void refuse(httplib::Response& response, int status, const std::string& text) {
  response.status = status;
  response.set_content(command::json_text({{"error", text}}, -1), "application/json");
}

void give(httplib::Response& response, answer given) {
  response.status = 200;
  if (!given.next) {
    response.set_content(given.body, given.type);
    return;
  }
  // The first piece is made before the head of the answer leaves, so that what goes wrong at once can be
  // told.
  const auto piece = std::make_shared<std::string>(given.next());
  response.set_chunked_content_provider(given.type,
                                        [piece, next = given.next](std::size_t, httplib::DataSink& sink) {
                                          try {
                                            if (piece->empty())
                                              sink.done();
                                            else if (!sink.write(piece->data(), piece->size()))
                                              return false;
                                            else
                                              *piece = next();
                                            return true;
                                          } catch (const std::exception&) {
                                            // The answer ends in the middle, and the page sees that it does.
                                            return false;
                                          }
                                        });
}

}  // namespace

class http_server::server final : public httplib::Server {
 public:
  server(source& from, std::uint16_t port) : from_(from), port_(bound(port)), guard_(port_) {
    set_default_headers({
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
         "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cache-Control", "no-store"},
    });
    set_tcp_nodelay(true);
    // A browser has six connections open to one address.
    constexpr std::size_t threads = 16;
    new_task_queue = [] { return new httplib::ThreadPool(threads); };
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
      handle(request, response);
      return HandlerResponse::Handled;
    });
  }

  std::uint16_t port() const { return port_; }
  const view::guard& guard() const { return guard_; }

 private:
  std::uint16_t bound(std::uint16_t port) {
    const char* address = "127.0.0.1";
    // Not shared with another server at this port, which the library would allow.
    set_socket_options([](socket_t socket) {
      const int yes = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    const int got = port == 0 ? bind_to_any_port(address) : bind_to_port(address, port) ? port : -1;
    if (got <= 0) throw client::error("port " + std::to_string(port) + " of " + address + " can't be had");
    return static_cast<std::uint16_t>(got);
  }

  bool process_and_close_socket(socket_t socket) override {
    constexpr std::chrono::seconds between_requests{5};
    constexpr int most_requests = 1000;
    bounded_stream stream(socket, from_.ending());
    bool closed = !is_of_this_user(socket);
    for (int served = 1; !closed && stream.await(POLLIN, between_requests); ++served) {
      stream.begin_request();
      const auto prepare = [](httplib::Request& request) {
        // Nothing here is worth compressing, and nothing has parts.
        request.headers.erase("Accept-Encoding");
        request.ranges.clear();
      };
      if (!process_request(stream, served == most_requests, closed, prepare)) break;
    }
    shutdown(socket, SHUT_RDWR);
    close(socket);
    return true;
  }

  void handle(const httplib::Request& request, httplib::Response& response) {
    const request_head head{request.method,
                            request.path,
                            request.get_param_value("secret"),
                            values_of(request, "Host"),
                            values_of(request, "Origin"),
                            values_of(request, "Cookie")};
    switch (guard_.judge(head)) {
      case verdict::wrong_host:
        return refuse(response, 403, "this is the page of 127.0.0.1 and of no other host");
      case verdict::wrong_method:
        // What may come behind the head is not read.
        response.set_header("Connection", "close");
        return refuse(response, 405, "nothing can be changed here");
      case verdict::stranger:
        return refuse(response, 403, "open the link that qrd view has printed");
      case verdict::enters:
        response.set_header("Set-Cookie", guard_.cookie());
        return response.set_redirect("/", 303);
      case verdict::welcome:
        break;
    }
    const std::string_view path = request.path;
    constexpr std::string_view data = "/api/";
    if (path.starts_with(data)) {
      const auto found = answers.find(std::string(path.substr(data.size())));
      if (found == answers.end()) return refuse(response, 404, "there is no such answer");
      return answer_with(found->second, request, response);
    }
    for (const page_file& file : page_files())
      if (file.path == path) {
        response.status = 200;
        return response.set_content(file.content.data(), file.content.size(), std::string(file.type));
      }
    refuse(response, 404, "there is no such page");
  }

  void answer_with(answer_function make, const httplib::Request& request, httplib::Response& response) {
    try {
      give(response, make(from_, query(request.params)));
    } catch (const bad_query& problem) {
      refuse(response, 400, problem.what());
    } catch (const client::bad_argument& problem) {
      refuse(response, 400, problem.what());
    } catch (const client::not_found& problem) {
      refuse(response, 404, problem.what());
    } catch (const client::refusal& problem) {
      refuse(response, 409, problem.what());
    } catch (const client::protocol_error& problem) {
      // The page asks again: the database is opened anew then.
      refuse(response, 503, problem.what());
    } catch (const client::error& problem) {
      refuse(response, 409, problem.what());
    } catch (const std::exception& problem) {
      refuse(response, 500, problem.what());
    }
  }

  source& from_;
  std::uint16_t port_;
  view::guard guard_;
};

http_server::http_server(source& from, std::uint16_t port) : server_(std::make_unique<server>(from, port)) {}

http_server::~http_server() = default;

std::uint16_t http_server::port() const {
  return server_->port();
}

std::string http_server::url() const {
  return "http://127.0.0.1:" + std::to_string(port()) + "/?secret=" + secret();
}

const std::string& http_server::secret() const {
  return server_->guard().secret();
}

void http_server::run() {
  server_->listen_after_bind();
  ended_ = true;
}

void http_server::stop() {
  // One that is about to run would not hear it.
  while (!server_->is_running() && !ended_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  server_->stop();
}

}  // namespace qrd::view

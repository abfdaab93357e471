#include "bench/bare.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace qrd::bench {

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

[[noreturn]] void give_up(const char* what) {
  std::perror(what);
  std::exit(1);
}

void set_no_delay(int socket) {
  const int on = 1;
  if (setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) give_up("TCP_NODELAY");
}

void write_whole(int file, const char* data, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t written = write(file, data + done, std::min(mebibyte, size - done));
    if (written <= 0) give_up("write");
    done += static_cast<std::size_t>(written);
  }
}

int new_file(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) give_up(path.c_str());
  return file;
}

}  // namespace

void send_all(int socket, const void* data, std::size_t size) {
  const char* bytes = static_cast<const char*>(data);
  for (std::size_t done = 0; done < size;) {
    const ssize_t sent = send(socket, bytes + done, size - done, MSG_NOSIGNAL);
    if (sent <= 0) give_up("send");
    done += static_cast<std::size_t>(sent);
  }
}

std::string drain(int socket, std::size_t size) {
  static char buffer[std::size_t{1} << 16];
  std::string head;
  while (size > 0) {
    const ssize_t received = recv(socket, buffer, std::min(size, sizeof buffer), 0);
    if (received <= 0) give_up("recv");
    const auto count = static_cast<std::size_t>(received);
    if (head.size() < 12) head.append(buffer, std::min(count, 12 - head.size()));
    size -= count;
  }
  return head;
}

bare_program::bare_program(const std::function<void(int)>& serve) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(listener, 1) != 0 || getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    give_up("listen");
  process_ = fork();
  if (process_ < 0) give_up("fork");
  if (process_ == 0) {
    const int peer = accept(listener, nullptr, nullptr);
    if (peer < 0) give_up("accept");
    set_no_delay(peer);
    char asked;
    while (recv(peer, &asked, 1, 0) == 1) serve(peer);
    _exit(0);
  }
  socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket_ < 0 || connect(socket_, reinterpret_cast<sockaddr*>(&address), size) != 0) give_up("connect");
  set_no_delay(socket_);
  close(listener);
}

bare_program::~bare_program() {
  close(socket_);
  waitpid(process_, nullptr, 0);
}

void bare_program::ask() const {
  send_all(socket_, "?", 1);
}

void push_file(int socket, const std::string& path, std::size_t answer_size, std::size_t step, int flags) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) give_up(path.c_str());
  const auto size = static_cast<std::size_t>(status.st_size);
  // Not cleared: the memory is touched by the read alone.
  const std::size_t capacity = std::max(size, step);
  const std::unique_ptr<char[]> content(new char[capacity]);
  if (read(file, content.get(), size) != status.st_size) give_up("read");
  close(file);
  std::size_t from = 0;
  for (std::size_t done = 0; done < answer_size; done += step) {
    const std::size_t count = std::min(step, answer_size - done);
    if (from + count > size) from = 0;
    if (send(socket, content.get() + from, count, flags | MSG_NOSIGNAL) != static_cast<ssize_t>(count))
      give_up("send");
    from += count;
  }
  set_no_delay(socket);  // pushes what MSG_MORE holds back
}

void take_file(int socket, const std::string& path, std::size_t request_size, std::size_t file_size) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0) give_up(path.c_str());
  const std::unique_ptr<char[]> content(new char[request_size]);
  for (std::size_t done = 0; done < request_size;) {
    const ssize_t received = recv(socket, content.get() + done, request_size - done, 0);
    if (received <= 0) give_up("recv");
    done += static_cast<std::size_t>(received);
  }
  write_whole(file, content.get(), file_size);
  close(file);
  pong(socket);
}

void pong(int socket) {
  send_all(socket, "!", 1);
}

void write_file(const std::string& path, const std::string& content) {
  const int file = new_file(path);
  write_whole(file, content.data(), content.size());
  close(file);
}

void write_file(const std::string& path, std::size_t size) {
  const std::vector<char> block(mebibyte, '\x7f');
  const int file = new_file(path);
  for (std::size_t done = 0; done < size; done += mebibyte)
    write_whole(file, block.data(), std::min(mebibyte, size - done));
  close(file);
}

}  // namespace qrd::bench

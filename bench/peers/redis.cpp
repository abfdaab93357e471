#include "bench/peers/redis.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>

#include "bench/bare.h"
#include "qrd/error.h"

namespace qrd::bench {

namespace fs = std::filesystem;

namespace {

void receive(int socket, char* data, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = recv(socket, data + done, size - done, 0);
    if (count <= 0) throw client::error("Redis has closed the connection");
    done += static_cast<std::size_t>(count);
  }
}

// Up to CR and LF, without them.
std::string receive_line(int socket) {
  std::string line;
  for (char one; !line.ends_with("\r\n"); line += one) receive(socket, &one, 1);
  return line.substr(0, line.size() - 2);
}

std::vector<std::string> command_line(const fs::path& program) {
  return {program, "--port",       "0",  "--unixsocket",       "socket", "--save",
          "",      "--appendonly", "no", "--always-show-logo", "no"};
}

}  // namespace

std::optional<fs::path> find_redis() {
  return find_program("redis-server");
}

redis_store::redis_store(const fs::path& program, const fs::path& parent)
    : folder_(parent, "qrd_redis"), process_(command_line(program), folder_.path()) {
  process_.wait_until([&] { return connects(); });
}

redis_store::~redis_store() {
  close(socket_);
}

bool redis_store::connects() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = (folder_.path() / "socket").string();
  if (path.size() >= sizeof address.sun_path)
    throw client::error("the path of a socket is too long: " + path);
  path.copy(address.sun_path, path.size());
  const int connected = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connected >= 0 &&
      connect(connected, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    socket_ = connected;
    return true;
  }
  close(connected);
  return false;
}

void redis_store::write(const std::string& bytes) const {
  const std::string head = "*3\r\n$3\r\nSET\r\n$1\r\nk\r\n$" + std::to_string(bytes.size()) + "\r\n";
  send_all(socket_, head.data(), head.size());
  send_all(socket_, bytes.data(), bytes.size());
  send_all(socket_, "\r\n", 2);
  if (const std::string answer = receive_line(socket_); answer != "+OK")
    throw client::error("Redis answers a SET with " + answer);
}

received_bytes redis_store::read() const {
  const std::string request = "*2\r\n$3\r\nGET\r\n$1\r\nk\r\n";
  send_all(socket_, request.data(), request.size());
  const std::string answer = receive_line(socket_);
  if (!answer.starts_with("$") || answer.starts_with("$-"))
    throw client::error("Redis answers a GET with " + answer);
  received_bytes result;
  result.size = std::stoul(answer.substr(1));
  // Not cleared: the memory is touched by what is received alone.
  result.data.reset(new char[result.size]);
  receive(socket_, result.data.get(), result.size);
  receive_line(socket_);
  return result;
}

}  // namespace qrd::bench

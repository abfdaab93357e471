#include "wire/network.h"

#include <sys/syscall.h>

#include <deque>

#include "server/wire.h"
#include "support/server_process.h"
#include "wire/values.h"

namespace {

std::deque<int> accept_errors;

}  // namespace

// In place of the system's: fails with these errors first.
extern "C" int accept4(int listening, sockaddr* peer, socklen_t* size, int flags) {
  if (accept_errors.empty()) return static_cast<int>(syscall(SYS_accept4, listening, peer, size, flags));
  errno = accept_errors.front();
  accept_errors.pop_front();
  return -1;
}

namespace qrd::test {
namespace {

TEST(wait_connect, a_connections_error_is_not_the_listeners) {
  captured_errors errors;
  open_socket listening;
  std::uint16_t port = 0;
  ASSERT_EQ(_qrd_listen_port(&port, 1, listening.address(), listen_for::own_children), 0);
  for (int error : {EINTR, ECONNABORTED, EPROTO, ENETDOWN, EHOSTUNREACH, EPERM, ENFILE, ENOBUFS, ENOMEM}) {
    raw_connection client = raw_connection::to_port(port);
    accept_errors = {error, error};
    open_socket accepted;
    ASSERT_EQ(_qrd_wait_connect(listening.get(), accepted.address(), 1, 0), 0) << error;
    EXPECT_TRUE(accept_errors.empty());
  }
  EXPECT_EQ(captured_errors::texts().size(), 4U) << "those that are waited out are told once each";

  accept_errors = {EINVAL};
  socket_handle accepted = no_socket;
  EXPECT_EQ(_qrd_wait_connect(listening.get(), &accepted, 1, 0), -1);
  listening.forget();
  EXPECT_EQ(captured_errors::texts().back().substr(0, 24), "Call to accept() failed.");
}

TEST(wait_connect, a_new_connection_finds_an_empty_buffer) {
  wire before;
  before.arrive(bytes().i32(1, 2));
  std::int32_t word = 0;
  ASSERT_TRUE(_qrd_read_int(before.near(), &word));
  ASSERT_TRUE(_qrd_write_int(before.near(), &word));

  open_socket listening, accepted;
  std::uint16_t port = 0;
  ASSERT_EQ(_qrd_listen_port(&port, 1, listening.address(), listen_for::own_children), 0);
  raw_connection client = raw_connection::to_port(port);
  ASSERT_EQ(_qrd_wait_connect(listening.get(), accepted.address(), 1, 0), 0);
  client.send(bytes().i32(3));
  ASSERT_TRUE(_qrd_read_int(accepted.get(), &word));
  EXPECT_EQ(word, 3);
  ASSERT_TRUE(_qrd_write_int(accepted.get(), &word) && _qrd_flush_write(accepted.get()));
  EXPECT_EQ(client.receive(4), bytes().i32(3));
}

}  // namespace
}  // namespace qrd::test

#include "wire/buffer.h"

#include <sys/time.h>

#include "server/wire.h"
#include "support/test.h"
#include "wire/arrays.h"
#include "wire/values.h"

namespace qrd::test {
namespace {

using texts = strings;

texts write_all(wire& line, const std::vector<std::int32_t>& values) {
  for (std::int32_t value : values) EXPECT_NE(_qrd_write_int(line.near(), &value), 0);
  return line.sends();
}

TEST(write, a_full_buffer_is_sent_at_once) {
  wire line;
  std::vector<std::int32_t> values(256);
  std::iota(values.begin(), values.end(), 0);
  values.pop_back();
  EXPECT_EQ(write_all(line, values), texts{});
  texts sent = write_all(line, {255});
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent[0].size(), 1024U);
  EXPECT_EQ(sent[0].substr(0, 8), bytes().i32(0, 1));
  EXPECT_EQ(sent[0].substr(1020), bytes().i32(255));
  EXPECT_EQ(line.all_sends(), texts{});
}

TEST(write, a_double_straddles_two_sends_and_a_long_does_not) {
  wire line;
  connection.client_is_64bits = 1;
  write_all(line, std::vector<std::int32_t>(255, 9));
  const double value = 1.5;
  ASSERT_TRUE(_qrd_write_double(line.near(), &value));
  texts sent = line.sends();
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent[0].substr(1020), bytes().f64(1.5).str().substr(0, 4));
  EXPECT_EQ(line.all_sends(), texts{bytes().f64(1.5).str().substr(4)});

  write_all(line, std::vector<std::int32_t>(255, 9));
  const std::int64_t large = 5;
  ASSERT_TRUE(_qrd_write_long(line.near(), &large));
  sent = line.all_sends();
  ASSERT_EQ(sent.size(), 2U);
  EXPECT_EQ(sent[0].size(), 1020U);
  EXPECT_EQ(sent[1], bytes().i64(5));
}

TEST(write, a_large_block_goes_out_in_full_buffers) {
  wire line;
  std::string block;
  for (int i = 0; i < 2500; ++i) block += static_cast<char>(i * 7);
  write_all(line, {1, 2});
  ASSERT_TRUE(_qrd_write_bytes(line.near(), block.data(), 2500));
  EXPECT_EQ(line.all_sends(), (texts{bytes().i32(1, 2).str(), block.substr(0, 1024), block.substr(1024, 1024),
                                     block.substr(2048)}));
  write_all(line, {1});
  ASSERT_TRUE(_qrd_write_bytes(line.near(), block.data(), 1020)) << "fits behind what is there";
  EXPECT_EQ(line.sends(), texts{bytes().i32(1).str() + block.substr(0, 1020)});
}

TEST(write, without_a_socket_nothing_is_touched) {
  wire line;
  write_all(line, {1});
  const std::int32_t number = 2;
  const std::int64_t large = 2;
  const double value = 2;
  EXPECT_FALSE(_qrd_write_int(no_socket, &number));
  EXPECT_FALSE(_qrd_write_long(no_socket, &large));
  EXPECT_FALSE(_qrd_write_double(no_socket, &value));
  EXPECT_FALSE(_qrd_write_double_array(no_socket, &value, 1));
  EXPECT_FALSE(_qrd_write_bytes(no_socket, "a", 1));
  EXPECT_TRUE(_qrd_write_bytes(no_socket, "a", 0));
  EXPECT_EQ(line.all_sends(), texts{bytes().i32(1).str()});
}

TEST(write, a_closed_peer_is_a_failure_and_the_bytes_are_dropped) {
  wire line;
  line.hang_up();
  const std::int32_t number = 2;
  ASSERT_TRUE(_qrd_write_int(line.near(), &number));
  EXPECT_FALSE(_qrd_flush_write(line.near()));
  EXPECT_TRUE(_qrd_flush_write(line.near())) << "nothing is left to send";
}

TEST(read, an_end_in_the_middle_of_a_value_fails) {
  wire line(SOCK_STREAM);
  line.arrive(bytes().i32(1).raw("\1\2"));
  line.hang_up();
  std::int32_t number = 0;
  EXPECT_TRUE(_qrd_read_int(line.near(), &number));
  EXPECT_FALSE(_qrd_read_int(line.near(), &number));
  EXPECT_EQ(number, 1);
  char raw[3];
  EXPECT_FALSE(_qrd_read_bytes(line.near(), raw, 3));
}

// Clients of one process share the buffer of both directions: an answer overwrites what came too early.
TEST(buffer, an_answer_overwrites_unread_bytes) {
  wire line;
  line.arrive(bytes().i32(1, 2, 3));
  EXPECT_EQ(line.next_int(), 1);
  write_all(line, {10, 20});
  EXPECT_EQ(line.next_int(), 20);
  EXPECT_EQ(line.next_int(), 3);
}

// A signal that cuts a send short must not cut the data short.
TEST(write, signals_lose_no_bytes) {
  wire line(SOCK_STREAM);
  const int small = 2048;
  setsockopt(static_cast<int>(line.near()), SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  constexpr std::size_t count = 100'000;
  std::vector<double> values(count);
  std::iota(values.begin(), values.end(), 0.5);
  std::string received;
  sigset_t alarm_only;
  sigemptyset(&alarm_only);
  sigaddset(&alarm_only, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm_only, nullptr);
  std::thread reader([&] {
    char part[700];
    for (ssize_t size = 1; (size = recv(line.far(), part, sizeof part, 0)) > 0;)
      received.append(part, static_cast<std::size_t>(size));
  });
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  pthread_sigmask(SIG_UNBLOCK, &alarm_only, nullptr);
  const itimerval often = {{0, 200}, {0, 200}};
  setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_TRUE(_qrd_write_double_array(line.near(), values.data(), count));
  EXPECT_TRUE(_qrd_flush_write(line.near()));
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  shutdown(static_cast<int>(line.near()), SHUT_WR);
  reader.join();

  bytes expected;
  expected.f64(values);
  EXPECT_TRUE(received == expected.str()) << received.size();
}

}  // namespace
}  // namespace qrd::test

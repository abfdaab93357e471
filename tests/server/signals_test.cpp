// SIGTERM and SIGINT end the server from every state: status 1 within two seconds, no lock left.
#include <list>

#include "server/wire.h"
#include "support/packets.h"
#include "util/qu_critical.h"
#include "wire/signals.h"
#include "wire/values.h"

namespace qrd::test {
namespace {

struct state {
  const char* name;
  // Brings the server there over a connection that is kept open.
  std::function<void(raw_connection&)> reach;
  strings arguments = {};
};

void expect_end(server_process& server, int signal) {
  auto start = clock::now();
  server.send_signal(signal);
  EXPECT_EQ(server.wait(5s), 1);
  EXPECT_LT(clock::now() - start, 2s);
}

TEST(signals, end_from_every_state) {
  const state states[] = {
      {"waiting for a client", nullptr},
      {"waiting for a request", [](raw_connection&) {}},
      {"in a packet", [](raw_connection& c) { c.send(bytes("CARCH").raw("\1\2")); }},
      {"after an unknown request", [](raw_connection& c) { c.send(bytes("CNOTHING")); }},
      {"closing", expect_goodbye},
      {"waiting for the next client",
       [](raw_connection& c) { expect_goodbye(c), c.receive_rest(); },
       {"-multi"}},
  };
  struct reached {
    explicit reached(const state& wanted) : at(wanted), server({.arguments = wanted.arguments}) {}
    const state& at;
    server_process server;
    raw_connection client;
  };
  for (int signal : {SIGTERM, SIGINT}) {
    std::list<reached> all;
    for (const state& at : states) all.emplace_back(at);
    for (reached& one : all)
      if (one.at.reach) one.at.reach(one.client = one.server.connect());
    std::this_thread::sleep_for(50ms);
    auto start = clock::now();
    for (reached& one : all) one.server.send_signal(signal);
    for (reached& one : all) {
      EXPECT_EQ(one.server.wait(5s), 1) << one.at.name << " " << signal;
      EXPECT_LT(clock::now() - start, 2s) << one.at.name << " " << signal;
      EXPECT_EQ(one.server.errors(), "") << one.at.name << " " << signal;
    }
  }
}

// A signal at any moment of the start, also between two system calls.
TEST(signals, end_at_any_moment_of_the_start) {
  for (int microseconds = 0; microseconds < 40'000; microseconds += 2500) {
    listening_port control;
    server_process server(
        {.arguments = {"-multi", "-control", std::to_string(control.port())}, .controlled = false});
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
    server.send_signal(SIGTERM);
    std::optional<int> status = server.wait(3s);
    ASSERT_TRUE(status == 1 || status == 128 + SIGTERM) << microseconds << " " << status.value_or(-1);
  }
}

TEST(signals, end_where_the_process_cannot_leave_in_good_order) {
  temporary_directory directory;
  ASSERT_EQ(mkfifo((directory / "trace").c_str(), 0600), 0);
  server_process server({.environment = traced("1", directory / "trace"), .controlled = false});
  std::this_thread::sleep_for(200ms);
  ASSERT_TRUE(server.is_running()) << "it waits for a reader of the pipe";
  expect_end(server, SIGTERM);
}

// Exits with 7 if the signal has ended a send that nobody takes, and each later wait.
[[noreturn]] void block_until_signal() {
  install_signal_handlers();
  wire line(SOCK_STREAM);
  watch_socket(line.near());
  std::thread killer([] {
    std::this_thread::sleep_for(200ms);
    kill(getpid(), SIGTERM);
  });
  const std::string much(10'000'000, 'x');
  bool is_written = _qrd_write_bytes(line.near(), much.data(), static_cast<std::int64_t>(much.size())) != 0;
  killer.join();
  // What is watched from now on is shut down at once.
  wire later(SOCK_STREAM);
  watch_socket(later.near());
  std::int32_t word = 0;
  bool is_read = _qrd_read_int(later.near(), &word) != 0;
  std::_Exit(is_written ? 1 : is_read ? 2 : 7);
}

TEST(signals, release_a_blocked_send) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(block_until_signal(), testing::ExitedWithCode(7), "");
}

void spend(std::chrono::milliseconds time) {
  for (auto end = clock::now() + time; clock::now() < end;) std::this_thread::sleep_for(5ms);
}

// A process that is asked to end and never comes to its end in good order; it prints how far it came.
[[noreturn]] void be_busy(std::chrono::milliseconds in_step, std::chrono::milliseconds behind_it) {
  install_signal_handlers({.longest_end = {0, 300'000'000}, .longest_wait = 2});
  {
    critical_step outer;
    { critical_step inner; }
    kill(getpid(), SIGTERM);
    spend(in_step);
    std::fprintf(stderr, "step done, ");
  }
  spend(behind_it);
  std::fprintf(stderr, "ended itself");
  std::_Exit(7);
}

TEST(signals, let_a_critical_step_finish) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(be_busy(700ms, 150ms), testing::ExitedWithCode(7), "^step done, ended itself$")
      << "there is time for an end in good order behind the step";
  EXPECT_EXIT(be_busy(700ms, 10s), testing::ExitedWithCode(1), "^step done, $");
  EXPECT_EXIT(be_busy(10s, 0s), testing::ExitedWithCode(1), "^$") << "a step that hangs is cut";
}

bool has_lock(const fs::path& root) {
  for (const auto& entry : fs::recursive_directory_iterator(root))
    if (entry.path().filename() == "LOCK") return true;
  return false;
}

TEST(signals, remove_the_lock) {
  for (int signal : {SIGTERM, SIGINT}) {
    temporary_directory home;
    server_process server({.environment = {{"XDG_DATA_HOME", home.path().string()}}});
    raw_connection client = server.connect();
    ASSERT_EQ(client.exchange(bytes("CQRDDATA").text(""), 8), bytes("SOK"));
    ASSERT_TRUE(has_lock(home.path()));
    expect_end(server, signal);
    EXPECT_FALSE(has_lock(home.path()));
  }
}

}  // namespace
}  // namespace qrd::test

#include "sharing/sharing.h"

#include <barrier>

#include "support/database.h"
#include "support/program_run.h"

namespace qrd::test {

namespace {

std::chrono::duration<double> longest_case() {
  const char* wanted = std::getenv("QRD_SHARING_SECONDS");
  return wanted != nullptr ? std::chrono::duration<double>(std::atof(wanted))
                           : std::chrono::duration<double>(1.2);
}

// What to put before a program so that it runs in a process namespace of its own; empty if that can't be had.
const strings& in_own_namespace() {
  static const strings found = [] {
    const std::string program = "/usr/bin/unshare";
    if (!fs::exists(program)) return strings{};
    for (strings arguments : {strings{"--pid", "--fork", "--kill-child"},
                              {"--user", "--map-root-user", "--pid", "--fork", "--kill-child"}}) {
      strings tried = arguments;
      tried.emplace_back("/bin/true");
      if (run_program(program, tried).status != 0) continue;
      arguments.insert(arguments.begin(), program);
      return arguments;
    }
    return strings{};
  }();
  return found;
}

server_settings settings_for(process_numbers numbers) {
  server_settings settings;
  settings.environment["QRD_SYNC"] = "0";
  if (numbers == process_numbers::equal) {
    settings.arguments.assign(in_own_namespace().begin() + 1, in_own_namespace().end());
    settings.arguments.emplace_back(server_program);
    settings.program = in_own_namespace().front();
  }
  return settings;
}

// A server and its client, which has the root open.
struct party {
  party(const std::string& root, process_numbers numbers, unsigned seed)
      : server(root, settings_for(numbers)), visits{server.connection, std::minstd_rand(seed)} {}

  served server;
  visitor visits;
};

}  // namespace

sharing::sharing() {
  root_.make_study("S", study_descriptor(1));
  root_.make_study("T", study_descriptor(1));
  root_.write_registry(pair("$init$/S", "S") + pair("$init$/T", "T"));
  alone([](client::connection& to) {
    to.set_study("S");
    to.new_directory("D");
  });
}

void sharing::alone(const std::function<void(client::connection&)>& only) {
  party one(root_.path(), process_numbers::different, 1);
  only(one.visits.to);
  one.visits.to.abandon();
}

std::string sharing::in_file(int number, const std::string& name) const {
  return root_ / ("S/QRD/DIRE.1/FILE." + std::to_string(number) + "/" + name);
}

void sharing::together(const play& played) {
  if (played.numbers == process_numbers::equal && in_own_namespace().empty())
    GTEST_SKIP() << "this machine gives no process namespaces";
  std::vector<std::unique_ptr<party>> parties;
  for (unsigned i = 0; i < played.turns.size(); ++i)
    parties.push_back(std::make_unique<party>(root_.path(), played.numbers, i + 1));

  const auto end = std::chrono::steady_clock::now() + longest_case();
  int round = 0;
  std::atomic<bool> broken = false;
  bool going = true;
  // While the others wait at a barrier, one of them runs this.
  bool between = false;
  const auto change_over = [&]() noexcept {
    try {
      between = !between;
      if (!between) {
        played.after();
        ++round;
        going = !broken && !testing::Test::HasFailure() && round < played.most_rounds &&
                std::chrono::steady_clock::now() < end;
      } else if (going) {
        played.before();
      }
    } catch (const std::exception& problem) {
      ADD_FAILURE() << problem.what();
      broken = true;
      going = false;
    }
  };
  std::barrier meeting(static_cast<std::ptrdiff_t>(parties.size()), change_over);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < parties.size(); ++i)
      threads.emplace_back([&, i] {
        party& self = *parties[i];
        do {
          meeting.arrive_and_wait();
          self.visits.round = round;
          try {
            if (!broken) played.turns[i](self.visits);
          } catch (const std::exception& problem) {
            broken = true;
            ADD_FAILURE() << "server " << i << ", round " << round << ": " << problem.what() << "\n"
                          << self.server.said();
          }
          meeting.arrive_and_wait();
        } while (going);
      });
  }
  std::printf("%d rounds\n", round);
  for (const auto& each : parties) each->visits.to.abandon();
}

bool attempt(const std::function<void()>& ask) {
  return refusal_of(ask).empty();
}

}  // namespace qrd::test

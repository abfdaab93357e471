#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "bench/sessions/parent.h"
#include "bench/sessions/sections.h"

namespace qrd::bench {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr char study[] = "Load";
constexpr char shared_directory[] = "Shared";
constexpr char number_variable[] = "number";
constexpr char text_variable[] = "text";
constexpr int text_width = 12;

// Counts and prints faults of all threads.
class fault_list {
 public:
  void add(const std::string& text) {
    const std::scoped_lock lock(mutex_);
    ++count_;
    std::printf("FAULT: %s\n", text.c_str());
  }
  void check(bool held, const std::string& text) {
    if (!held) add(text);
  }
  int count() const { return count_; }

 private:
  std::mutex mutex_;
  int count_ = 0;
};

std::string file_name(int client, int round) {
  return "C" + std::to_string(client) + " R" + std::to_string(round);
}

// Values that no other file holds: each can be told from its client, its round and its place.
std::vector<double> expected_numbers(int client, int round, int samples) {
  std::mt19937 random(static_cast<unsigned>(client * 1000 + round));
  std::vector<double> values;
  for (int i = 0; i < samples; ++i) values.push_back(static_cast<double>(random()));
  return values;
}

std::vector<std::string> expected_texts(int client, int round, int samples) {
  std::vector<std::string> texts;
  for (int i = 0; i < samples; ++i) {
    std::string text = std::to_string(client) + "/" + std::to_string(round) + "/" + std::to_string(i);
    text.resize(text_width, ' ');
    texts.push_back(text);
  }
  return texts;
}

void open_shared_directory(client::connection& connection) {
  connection.open_root("");
  connection.set_study(study);
  connection.set_directory(shared_directory);
}

// The lock of the folder is waited for ten seconds: where so many want it on a busy machine, some have to ask
// again.
void insist(const std::function<void()>& act) {
  for (int attempts = 5;; --attempts) try {
      return act();
    } catch (const client::refusal&) {
      if (attempts == 1) throw;
    }
}

void make_file(client::connection& connection, int client, int round, int samples) {
  const std::string name = file_name(client, round);
  std::vector<double> coordinates(2 * static_cast<std::size_t>(samples));
  for (std::size_t i = 0; i < coordinates.size(); ++i) coordinates[i] = static_cast<double>(i) + client;
  insist([&] { connection.new_points(name, 2, coordinates); });
  connection.set_file(name);
  connection.new_float_variable("passing", 32);
  connection.new_float_variable(number_variable, 64, {}, "");
  connection.new_text_variable(text_variable, text_width);
  connection.set_variable(number_variable);
  connection.write_floats(expected_numbers(client, round, samples));
  connection.set_variable(text_variable);
  connection.write_texts(expected_texts(client, round, samples));
  connection.set_variable("passing");
  connection.delete_variable();
}

void check_file(client::connection& connection, int client, int round, int samples, fault_list& faults) {
  const std::string name = file_name(client, round);
  connection.set_file(name);
  connection.set_variable(number_variable);
  faults.check(connection.read_floats().values == expected_numbers(client, round, samples),
               "numbers of " + name);
  connection.set_variable(text_variable);
  faults.check(connection.read_texts().values == expected_texts(client, round, samples), "texts of " + name);
}

// Clients 0, 3, 6 and so on leave in the middle of a packet, in one way or another.
bool breaks_off(int client) {
  return client % 3 == 0;
}

void break_off(client::connection& connection, int client) {
  client::packet beginning;
  switch (client % 4) {
    case 0: {
      const std::uint8_t half_a_name[] = {0, 0, 0, 7, 'C', 'V', 'A'};
      beginning.add_bytes(half_a_name);
      break;
    }
    case 1:
      beginning = connection.request("CFILESET").add_int(20);
      break;
    case 2:
      connection.set_variable(number_variable);
      beginning = connection.request("CWRITVARF").add_long(1).add_long(100).add_int(0);
      beginning.add_double(client::missing_value).add_long(100).add_doubles(std::vector<double>(50, -1.0));
      break;
    default:
      beginning = connection.request("CPFILENEW").add_string("half").add_long(100).add_int(2);
      beginning.add_doubles(std::vector<double>(30, -1.0));
  }
  connection.wire().write(beginning);
  connection.wire().flush();
  connection.abandon();
}

void run_client(const client::server_process& parent, int client, const load_settings& settings,
                fault_list& faults) try {
  client::connection connection = new_session(parent);
  open_shared_directory(connection);
  for (int round = 0; round < settings.rounds; ++round) {
    make_file(connection, client, round, settings.samples);
    check_file(connection, client, round, settings.samples, faults);
    const std::vector<std::string> files = connection.files();
    for (int i = 0; i <= round; ++i) {
      const bool expected = i == round || i % 2 == 0;
      faults.check((std::count(files.begin(), files.end(), file_name(client, i)) == 1) == expected,
                   "listing of " + file_name(client, i));
    }
    // Every second file goes again; the last stays.
    if (round % 2 == 1 && round + 1 < settings.rounds) connection.delete_file();
  }
  if (breaks_off(client))
    break_off(connection, client);
  else
    connection.bye();
} catch (const std::exception& problem) {
  faults.add("client " + std::to_string(client) + ": " + problem.what());
}

// The files that are left when all clients have gone.
bool stays(int round, int rounds) {
  return round % 2 == 0 || round + 1 == rounds;
}

// Each number must lie in one file of the disk as it was written, big-endian (IEEE 754).
void check_disk(const fs::path& folder, const load_settings& settings, fault_list& faults) {
  std::multiset<std::string> wanted;
  for (int client = 0; client < settings.clients; ++client)
    for (int round = 0; round < settings.rounds; ++round) {
      if (!stays(round, settings.rounds)) continue;
      client::packet image;
      image.add_doubles(expected_numbers(client, round, settings.samples));
      wanted.insert(image.bytes());
    }
  const std::size_t size = 8 * static_cast<std::size_t>(settings.samples);
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().filename() != "DATAVAR" || entry.file_size() < size) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    if (auto found = wanted.find(content.substr(0, size)); found != wanted.end()) wanted.erase(found);
  }
  faults.check(wanted.empty(), std::to_string(wanted.size()) + " variables are not on the disk as written");
}

// No socket may be open in two processes: it would have been inherited. One that the parent has for a moment
// only is on its way to a session.
void check_sockets(pid_t parent, fault_list& faults) {
  std::map<std::string, pid_t> owners;
  const std::vector<std::string> earlier = open_files_of(parent);
  std::this_thread::sleep_for(20ms);
  for (const std::string& file : open_files_of(parent))
    if (std::find(earlier.begin(), earlier.end(), file) != earlier.end()) owners.emplace(file, parent);
  const std::string command = command_of(parent);
  for (pid_t child : children_of(parent)) {
    // Until it runs its own program, a child is a copy of its parent.
    if (command_of(child) == command) continue;
    for (const std::string& file : open_files_of(child))
      if (file.starts_with("socket:") && !owners.emplace(file, child).second)
        faults.add("process " + std::to_string(child) + " has inherited " + file);
  }
}

bool becomes_true(const std::function<bool()>& condition) {
  for (int i = 0; i < 200; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(50ms);
  }
  return condition();
}

}  // namespace

int run_load(const fs::path& folder, const load_settings& settings) {
  const scratch_folder scratch(folder, "qrd_sessions");
  client::server_process parent = start_parent(scratch.path(), settings.ports);
  {
    client::connection connection = parent.connect();
    connection.open_root("");
    connection.new_study(study, (scratch.path() / study).string());
    connection.set_study(study);
    connection.new_directory(shared_directory);
  }

  fault_list faults;
  const auto begin = std::chrono::steady_clock::now();
  std::vector<std::jthread> clients;
  for (int client = 0; client < settings.clients; ++client)
    clients.emplace_back([&, client] { run_client(parent, client, settings, faults); });
  std::size_t most_children = 0;
  for (int look = 0; look < 20; ++look) {
    most_children = std::max(most_children, children_of(parent.id()).size());
    check_sockets(parent.id(), faults);
    std::this_thread::sleep_for(50ms);
  }
  for (std::jthread& client : clients) client.join();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;

  faults.check(becomes_true([&] { return children_of(parent.id()).empty(); }),
               "children or zombies are left");
  faults.check(state_of(parent.id()) != ' ' && state_of(parent.id()) != 'Z', "the parent has ended");
  client::connection connection = new_session(parent);
  open_shared_directory(connection);
  std::size_t kept = 0;
  for (int client = 0; client < settings.clients; ++client)
    for (int round = 0; round < settings.rounds; ++round) {
      if (!stays(round, settings.rounds)) continue;
      check_file(connection, client, round, settings.samples, faults);
      ++kept;
    }
  faults.check(connection.files().size() == kept,
               "the directory holds other files than those that were made");
  check_disk(scratch.path(), settings, faults);
  connection.bye();

  std::printf("%d clients, %d files each, %d samples: %.1f s; up to %zu children at once\n", settings.clients,
              settings.rounds, settings.samples, elapsed.count(), most_children);
  std::printf("%d left in the middle of a packet; %zu files compared byte by byte; %d faults\n",
              (settings.clients + 2) / 3, kept, faults.count());
  return faults.count();
}

}  // namespace qrd::bench

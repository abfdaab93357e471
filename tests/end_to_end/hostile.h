// Servers that get input they should not get, and how they end.
#pragma once

#include "support/database.h"

namespace qrd::test {

// A checker of the sanitizers that finds something ends the server with this status.
inline constexpr int sanitizer_status = 99;

// The default root of a server that is misled lies in `home`.
inline server_settings watched(const fs::path& home) {
  server_settings settings;
  settings.environment["ASAN_OPTIONS"] = "exitcode=" + std::to_string(sanitizer_status);
  settings.environment["UBSAN_OPTIONS"] = "exitcode=" + std::to_string(sanitizer_status);
  settings.environment["XDG_DATA_HOME"] = home.string();
  return settings;
}

// CHELLO, CARCH, CQRDDATA.
inline strings greeting(const fs::path& root) {
  return {bytes("CHELLO").text("").i32(1300030).str(), bytes("CARCH").i32(1).str(),
          bytes("CQRDDATA").text(root.string()).str()};
}

struct ending {
  std::optional<int> status;  // empty: it did not end
  std::string said;           // on standard output and error
};

// What has arrived when the other side has been silent for a moment; `patience` for the first byte.
inline std::string arrived(raw_connection& connection, std::chrono::milliseconds patience) {
  std::string data;
  while (!connection.is_silent(data.empty() ? patience : std::chrono::milliseconds(1))) {
    char part[65536];
    const ssize_t size = recv(connection.descriptor(), part, sizeof part, MSG_DONTWAIT);
    if (size <= 0) break;
    data.append(part, static_cast<std::size_t>(size));
  }
  return data;
}

// Opens the root and sends the requests one by one, each when its answer is there or, after a moment, without
// one. Then sends nothing more, and waits for the end.
inline ending end_of(const fs::path& root, const strings& requests) {
  const temporary_directory home;
  server_process process(watched(home.path()));
  raw_connection connection = process.connect();
  ending result;
  try {
    for (const std::string& request : greeting(root)) {
      connection.send(request);
      arrived(connection, std::chrono::seconds(10));
    }
    for (const std::string& request : requests) {
      connection.send(request);
      arrived(connection, std::chrono::milliseconds(60));
    }
  } catch (const std::exception&) {
    // It ended before it had read everything.
  }
  ::shutdown(connection.descriptor(), SHUT_WR);
  connection.receive_rest();
  result.status = process.wait(std::chrono::seconds(30));
  result.said = process.output() + process.errors();
  return result;
}

// It ended in one of the ways it may: after goodbye, by the lost connection, or by a fatal error.
inline void expect_orderly(const ending& result) {
  ASSERT_TRUE(result.status.has_value()) << "the server hangs";
  EXPECT_TRUE(*result.status == 0 || *result.status == 1) << *result.status << "\n" << result.said;
}

// A database that is put back after each use: that takes less than another copy.
class workspace {
 public:
  explicit workspace(const std::string& source) : copy_(source), sound_(image_of(copy_.root())) {}

  fs::path root() const { return copy_.root(); }
  std::string operator/(const std::string& name) const { return copy_ / name; }

  // Puts everything back. Paths that differed, but for the flags that every session leaves.
  strings restore() {
    const tree_image found = image_of(root());
    strings touched = changes(sound_, found);
    for (const std::string& path : touched)
      if (!sound_.contains(path)) fs::remove_all(root() / path);
    for (const auto& [path, content] : sound_) {
      if (const auto now = found.find(path); now != found.end() && now->second == content) continue;
      if (content == "/")
        fs::create_directory(root() / path);
      else
        write_file(*this / path, content);
    }
    std::erase_if(touched, [](const std::string& path) { return path.ends_with("/LOCK"); });
    return touched;
  }
  bool held(const std::string& path) const { return sound_.contains(path); }

 private:
  database copy_;
  tree_image sound_;
};

// Calls `work` with 0 to count - 1 on several threads, each with a workspace of its own: a server that ends
// sleeps for a second.
inline void in_parallel(int count, const std::string& source,
                        const std::function<void(int item, workspace& space)>& work) {
  constexpr int workers = 12;
  std::atomic<int> next = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < std::min(count, workers); ++i)
    threads.emplace_back([&] {
      workspace space(source);
      for (int item = next++; item < count; item = next++) {
        try {
          work(item, space);
        } catch (const std::exception& problem) {
          ADD_FAILURE() << "item " << item << ": " << problem.what();
        }
      }
    });
}

}  // namespace qrd::test

// Programs of others: where they are, and processes of them for the time of a run.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qrd::bench {

// An account that a process is run as.
struct account {
  uid_t user;
  gid_t group;
};
// Nothing if there is none of that name.
std::optional<account> find_account(const std::string& name);

// In one of the folders, or where PATH leads.
std::optional<std::filesystem::path> find_program(const std::string& name,
                                                  const std::vector<std::filesystem::path>& folders = {});

class peer_process {
 public:
  // Started in `folder`, where what it prints goes into "output". Without an account it is run as what this
  // process is run as. It never outlives this process.
  peer_process(const std::vector<std::string>& command, const std::filesystem::path& folder,
               std::optional<account> user = std::nullopt);
  peer_process(const peer_process&) = delete;
  peer_process& operator=(const peer_process&) = delete;
  // Asks it to end, and ends it if it doesn't.
  ~peer_process();

  // Waits for its end. An `error` unless it ends with success.
  void finish();
  // Asks until the answer is yes. An `error` if it never is, or if the process ends meanwhile.
  void wait_until(const std::function<bool()>& is_ready);

 private:
  [[noreturn]] void fail(const std::string& what) const;
  bool has_ended();

  std::string program_;
  std::filesystem::path output_;
  pid_t id_;
  int status_ = 0;
};

}  // namespace qrd::bench

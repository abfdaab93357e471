// A Redis of one's own for the time of a run: in memory alone, and reached by a UNIX socket.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "bench/peers/peer_process.h"
#include "bench/scratch_folder.h"

namespace qrd::bench {

// Nothing if it isn't installed.
std::optional<std::filesystem::path> find_redis();

struct received_bytes {
  std::unique_ptr<char[]> data;
  std::size_t size = 0;
};

class redis_store {
 public:
  redis_store(const std::filesystem::path& program, const std::filesystem::path& parent);
  redis_store(const redis_store&) = delete;
  redis_store& operator=(const redis_store&) = delete;
  ~redis_store();

  // The value of one key (SET, GET).
  void write(const std::string& bytes) const;
  received_bytes read() const;

 private:
  bool connects();

  scratch_folder folder_;
  peer_process process_;
  int socket_ = -1;
};

}  // namespace qrd::bench

// What a test and the library that makes calls fail say to each other, in memory that both map.
//
// The library is preloaded into a server. While the control is armed it counts the server's calls on paths
// and descriptors below the root, tells them, and strikes at one of them.
#pragma once

#include <atomic>
#include <cstdint>

namespace qrd::test {

inline constexpr const char* control_variable = "FAULT_CONTROL";

enum class call_kind : std::uint8_t {
  write,
  open,
  rename,  // and link
  sync,
  close,
  unlink,
  mkdir,
  resize,
  lock,
  read,
  look,  // for names and their attributes
  allocate,
};

enum class fault_action : std::uint8_t {
  nothing,
  once,    // this call fails
  full,    // from this call on, nothing finds room
  famine,  // from this allocation on, there is no memory
  torn,    // half of this write is written; from then on nothing finds room
  kill,    // the process dies instead of the call
  cut,     // half of this write is written, then the process dies
};

struct fault_control {
  static constexpr std::uint32_t most_calls = 20000;

  std::atomic<bool> armed;
  std::atomic<std::uint32_t> counted;
  std::atomic<bool> struck;
  std::uint32_t target;  // which of the counted calls fails, from 0
  fault_action action;
  std::int32_t error;
  char root[256];  // no separator at its end

  struct call {
    call_kind kind;
    bool changes;  // the tree, when it succeeds
    char name[15];
    char path[111];  // below the root
  } calls[most_calls];
};

}  // namespace qrd::test

// Of every test program: no test, and no server that it starts, can fill the disk of its machine.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>

int main(int argc, char** argv) {
  // Several times what the longest file of a sound run has.
  constexpr rlim_t longest_file = 256 << 20;
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(limit.rlim_cur, longest_file);
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, SIG_IGN);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

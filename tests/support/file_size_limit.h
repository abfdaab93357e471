// A full disk for the statements of a death test: the limit stays for the rest of the process.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace qrd::test {

inline void limit_file_size(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace qrd::test

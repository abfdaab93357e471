// A disk that is full for this process: no file gets longer than a limit while the object lives.
#pragma once

#include <sys/resource.h>

#include <csignal>

#include "support/unmovable.h"

namespace qrd::test {

class file_size_limit : unmovable {
 public:
  explicit file_size_limit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    struct rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~file_size_limit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  struct rlimit before_;
  void (*handler_)(int);
};

}  // namespace qrd::test

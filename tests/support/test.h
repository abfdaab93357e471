// What most tests use.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <numeric>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>

#include "support/bytes.h"
#include "support/console.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"

namespace qrd::test {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

inline void PrintTo(const bytes& value, std::ostream* out) {
  *out << testing::PrintToString(value.str());
}

}  // namespace qrd::test

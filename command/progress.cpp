#include "command/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace qrd::command {

namespace {

constexpr std::chrono::milliseconds first_shown{300};
constexpr std::chrono::milliseconds redrawn_every{100};
constexpr std::uint64_t bar_width = 30;

}  // namespace

progress_bar::progress_bar(std::string label, std::uint64_t total, bool quiet)
    : label_(std::move(label)),
      total_(total),
      visible_(!quiet && total > 0 && isatty(STDERR_FILENO) != 0),
      next_(std::chrono::steady_clock::now() + first_shown) {}

progress_bar::~progress_bar() {
  if (drawn_) std::fputs("\r\033[K", stderr);
}

void progress_bar::show(std::uint64_t done) {
  if (!visible_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + redrawn_every;
  drawn_ = true;
  const double part = static_cast<double>(std::min(done, total_)) / static_cast<double>(total_);
  const auto full = static_cast<std::size_t>(part * static_cast<double>(bar_width));
  const std::string bar = std::string(full, '#') + std::string(bar_width - full, '.');
  std::fprintf(stderr, "\r%s [%s] %3d %%\033[K", label_.c_str(), bar.c_str(), static_cast<int>(part * 100));
}

}  // namespace qrd::command

#include "command/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "command/interruption.h"

namespace qrd::command {

namespace {

constexpr std::chrono::milliseconds first_shown{300};
constexpr std::chrono::milliseconds redrawn_every{100};
constexpr std::uint64_t bar_width = 30;

std::string time_text(double seconds) {
  constexpr double minute = 60;
  constexpr double hour = 3600;
  char text[32];
  if (seconds < minute)
    std::snprintf(text, sizeof text, "%.0f s", seconds);
  else if (seconds < hour)
    std::snprintf(text, sizeof text, "%.0f min", seconds / minute);
  else
    std::snprintf(text, sizeof text, "%.1f h", std::min(seconds / hour, 1e6));
  return text;
}

}  // namespace

std::string rate_text(std::uint64_t done, std::uint64_t total, double seconds, const std::string& counted) {
  if (seconds < 1 || done == 0) return {};
  double rate = static_cast<double>(done) / seconds;
  const double left = static_cast<double>(total - std::min(done, total)) / rate;
  constexpr const char* prefixes[] = {"", "k ", "M ", "G "};
  std::size_t prefix = 0;
  for (; rate >= 1000 && prefix + 1 < std::size(prefixes); ++prefix) rate /= 1000;
  char text[64];
  std::snprintf(text, sizeof text, ", %.3g %s", rate, prefixes[prefix]);
  return text + counted + "/s, " + time_text(left) + " left";
}

progress_bar::progress_bar(std::string label, std::uint64_t total, bool quiet, std::string counted)
    : label_(std::move(label)),
      total_(total),
      counted_(std::move(counted)),
      visible_(!quiet && isatty(STDERR_FILENO) != 0),
      begin_(std::chrono::steady_clock::now()),
      next_(begin_ + first_shown) {}

progress_bar::~progress_bar() {
  if (drawn_) std::fputs("\r\033[K", stderr);
}

void progress_bar::show(std::uint64_t done) {
  if (!visible_ || total_ == 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + redrawn_every;
  drawn_ = true;
  const double part = static_cast<double>(std::min(done, total_)) / static_cast<double>(total_);
  const auto full = static_cast<std::size_t>(part * static_cast<double>(bar_width));
  const std::string bar = std::string(full, '#') + std::string(bar_width - full, '.');
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  std::fprintf(stderr, "\r%s [%s] %3d %%%s\033[K", label_.c_str(), bar.c_str(), static_cast<int>(part * 100),
               rate_text(done, total_, seconds, counted_).c_str());
}

client::progress_function progress_bar::function() {
  return [this](std::uint64_t done, std::uint64_t total) {
    check_interruption();
    total_ = total;
    show(done);
  };
}

}  // namespace qrd::command

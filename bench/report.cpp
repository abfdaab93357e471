#include "bench/report.h"

#include <cstdio>

namespace qrd::bench {

namespace {

std::string number(double value, const char* unit) {
  char text[64];
  std::snprintf(text, sizeof text, "%.4g %s", value, unit);
  return text;
}

}  // namespace

void print_heading() {
  std::printf("%-46s %14s %14s %8s   %s\n", "What", "server", "bare", "ratio", "bound");
}

void print_ratio(const std::string& what, const std::string& measured, const std::string& bare, double ratio,
                 wish direction, double bound) {
  const bool held = direction == wish::at_least ? ratio >= bound : ratio <= bound;
  std::printf("%-46s %14s %14s %8.3f   %s %.3g%s\n", what.c_str(), measured.c_str(), bare.c_str(), ratio,
              direction == wish::at_least ? "at least" : "at most", bound, held ? "" : "  MISSED");
  std::fflush(stdout);
}

void print_figure(const std::string& what, const std::string& figure) {
  std::printf("%-46s %s\n", what.c_str(), figure.c_str());
  std::fflush(stdout);
}

std::string milliseconds(double seconds) {
  return number(seconds * 1e3, "ms");
}

std::string mebibytes_per_second(double bytes, double seconds) {
  return number(bytes / seconds / (1 << 20), "MiB/s");
}

}  // namespace qrd::bench

// Prints a histogram of a variable: histogram ROOT STUDY DIRECTORY FILE VARIABLE
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "qrd/table.h"

namespace {

constexpr std::size_t classes = 20;
constexpr double widest = 60;

void print_histogram(std::vector<double> values, const std::string& unit) {
  std::erase_if(values, [](double value) { return std::isnan(value); });
  if (values.empty()) return;
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  const double width = (*most - *least) / classes;
  std::vector<std::size_t> counts(classes);
  for (const double value : values) {
    const double place = width > 0 ? (value - *least) / width : 0;
    ++counts[std::min(static_cast<std::size_t>(place), classes - 1)];
  }
  const auto highest = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
  for (std::size_t i = 0; i < classes; ++i) {
    const auto stars =
        static_cast<std::size_t>(std::round(widest * static_cast<double>(counts[i]) / highest));
    std::printf("%12.4g %-4s %s %zu\n", *least + width * static_cast<double>(i), unit.c_str(),
                std::string(stars, '*').c_str(), counts[i]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return std::fputs("histogram ROOT STUDY DIRECTORY FILE VARIABLE\n", stderr), 2;
  try {
    qrd::client::database database({.root = argv[1]});
    qrd::client::table table(database, {argv[2], argv[3], argv[4]});
    const qrd::client::column column = table.open(argv[5]);
    print_histogram(table.read(column).numbers, column.unit());
  } catch (const std::exception& problem) {
    return std::fprintf(stderr, "%s\n", problem.what()), 1;
  }
  return 0;
}

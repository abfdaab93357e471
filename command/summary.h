// What numbers are like: moments, quantiles, a histogram.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qrd::command {

class number_summary {
 public:
  // Quantiles and histograms need all values; nothing else does.
  explicit number_summary(bool keeps_values = false) : keeps_values_(keeps_values) {}

  // NaN is missing. A value whose weight isn't above 0 counts as missing too.
  void add(double value, double weight = 1);

  std::int64_t count() const { return count_; }
  std::int64_t missing() const { return missing_; }
  bool is_empty() const { return count_ == missing_; }
  // REQUIRES for the rest: not is_empty().
  double minimum() const { return minimum_; }
  double maximum() const { return maximum_; }
  double weight() const { return weight_; }  // of all values
  double sum() const { return sum_; }        // of values times weights
  double mean() const { return mean_; }
  double standard_deviation() const;  // divided by the weights

  // For parts from 0 to 1. Between two values they are interpolated; with weights it is the least value up to
  // which the values have that part of all weight.
  std::vector<double> quantiles(const std::vector<double>& parts);
  // The weight in each of so many classes of one width from the minimum to the maximum, which belongs to the
  // last.
  std::vector<double> histogram(std::size_t classes) const;

 private:
  struct weighted {
    double value;
    double weight;
  };
  bool keeps_values_;
  bool has_weights_ = false;
  std::vector<weighted> values_;
  std::int64_t count_ = 0;
  std::int64_t missing_ = 0;
  double minimum_ = 0;
  double maximum_ = 0;
  double weight_ = 0;
  double sum_ = 0;
  double mean_ = 0;
  double deviation_ = 0;
};

// Lines of a histogram in characters, with the classes' bounds and weights.
std::vector<std::string> histogram_lines(const number_summary& of, std::size_t classes);

}  // namespace qrd::command

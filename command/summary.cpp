#include "command/summary.h"

#include <algorithm>
#include <cmath>

#include "command/terminal.h"
#include "qrd/numbers.h"

namespace qrd::command {

// Mean and squared deviation in one pass, without the loss that a sum of squares has (Welford 1962, with
// weights West 1979).
void number_summary::add(double value, double weight) {
  ++count_;
  if (std::isnan(value) || !(weight > 0)) {
    ++missing_;
    return;
  }
  const bool is_first = count_ - missing_ == 1;
  minimum_ = is_first ? value : std::min(minimum_, value);
  maximum_ = is_first ? value : std::max(maximum_, value);
  weight_ += weight;
  sum_ += weight * value;
  const double step = value - mean_;
  mean_ += weight * step / weight_;
  deviation_ += weight * step * (value - mean_);
  if (!keeps_values_) return;
  has_weights_ = has_weights_ || weight != 1;
  values_.push_back({value, weight});
}

double number_summary::standard_deviation() const {
  return std::sqrt(deviation_ / weight_);
}

std::vector<double> number_summary::quantiles(const std::vector<double>& parts) {
  std::sort(values_.begin(), values_.end(),
            [](const weighted& a, const weighted& b) { return a.value < b.value; });
  std::vector<double> found;
  for (const double part : parts) {
    if (has_weights_) {
      double below = 0;
      auto one = values_.begin();
      while (one + 1 != values_.end() && (below += one->weight) < part * weight_) ++one;
      found.push_back(one->value);
      continue;
    }
    const double place = part * static_cast<double>(values_.size() - 1);
    const auto lower = static_cast<std::size_t>(place);
    const std::size_t upper = std::min(lower + 1, values_.size() - 1);
    const double rest = place - static_cast<double>(lower);
    // Both at once: the difference of two great values need not be one.
    found.push_back(values_[lower].value * (1 - rest) + values_[upper].value * rest);
  }
  return found;
}

std::vector<double> number_summary::histogram(std::size_t classes) const {
  std::vector<double> weights(classes);
  const double width = (maximum_ - minimum_) / static_cast<double>(classes);
  for (const weighted& one : values_) {
    const double place = width > 0 ? (one.value - minimum_) / width : 0;
    // Also where the width is beyond what a number can be.
    const std::size_t index =
        place > 0 ? static_cast<std::size_t>(std::min(place, static_cast<double>(classes - 1))) : 0;
    weights[index] += one.weight;
  }
  return weights;
}

std::vector<std::string> histogram_lines(const number_summary& of, std::size_t classes) {
  constexpr double longest = 50;
  const std::vector<double> weights = of.histogram(classes);
  const double greatest = *std::max_element(weights.begin(), weights.end());
  std::vector<double> bounds;
  for (std::size_t i = 0; i <= classes; ++i) {
    const double part = static_cast<double>(i) / static_cast<double>(classes);
    bounds.push_back(of.minimum() * (1 - part) + of.maximum() * part);
  }
  const std::vector<std::string> texts = shown_numbers(bounds);
  const std::size_t width = std::max_element(texts.begin(), texts.end(), [](const auto& a, const auto& b) {
                              return a.size() < b.size();
                            })->size();
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < classes; ++i) {
    std::string line;
    for (const std::string& bound : {texts[i], texts[i + 1]})
      line += std::string(width - bound.size() + (line.empty() ? 0 : 2), ' ') + bound;
    const auto length = static_cast<std::size_t>(std::ceil(weights[i] / greatest * longest));
    lines.push_back(line + "  " + std::string(length, '#') + (length > 0 ? " " : "") +
                    client::number_text(weights[i]));
  }
  return lines;
}

}  // namespace qrd::command

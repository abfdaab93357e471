// What the values of a variable are like.
#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "view/answers.h"
#include "view/pieces.h"

namespace qrd::view {

namespace {

// Mean and squared deviation in one pass, without the loss that a sum of squares has (Welford 1962).
struct summary {
  std::int64_t count = 0;
  std::int64_t missing = 0;
  std::int64_t positive = 0;
  double minimum = HUGE_VAL;
  double maximum = -HUGE_VAL;
  double least_positive = HUGE_VAL;
  double mean = 0;
  double deviation = 0;

  void add(double value) {
    ++count;
    if (std::isnan(value)) {
      ++missing;
      return;
    }
    minimum = std::min(minimum, value);
    maximum = std::max(maximum, value);
    if (value > 0) {
      ++positive;
      least_positive = std::min(least_positive, value);
    }
    const double step = value - mean;
    mean += step / static_cast<double>(count - missing);
    deviation += step * (value - mean);
  }
};

// Bins of one width between two values, or between their logarithms.
class histogram {
 public:
  histogram(double low, double high, std::int64_t bins, bool logarithmic)
      : low_(low), high_(high), logarithmic_(logarithmic), counts_(static_cast<std::size_t>(bins)) {}

  void add(double value) {
    if (!(value >= low_ && value <= high_)) return;
    const double place =
        logarithmic_ ? std::log(value / low_) / std::log(high_ / low_) : (value - low_) / (high_ - low_);
    const auto size = static_cast<double>(counts_.size());
    // Of a single value the place is no number; it belongs into the first bin.
    const double bin = std::isfinite(place) ? std::clamp(place * size, 0.0, size - 1) : 0;
    ++counts_[static_cast<std::size_t>(bin)];
  }

  json told() const { return {{"from", low_}, {"to", high_}, {"log", logarithmic_}, {"counts", counts_}}; }

 private:
  double low_;
  double high_;
  bool logarithmic_;
  std::vector<std::int64_t> counts_;
};

// Reads the numbers for the summary, then once more for the histogram, which needs the extremes. What one
// piece holds is not read twice.
json numbers_json(column_pieces& pieces, const query& asked) {
  summary told;
  std::optional<client::column_values> kept;
  while (auto piece = pieces.next()) {
    for (const double value : piece->numbers) told.add(value);
    if (pieces.is_one()) kept = std::move(piece);
  }
  const auto there = static_cast<double>(told.count - told.missing);
  json result = {{"count", told.count}, {"missing", told.missing}};
  if (told.count == told.missing) return result;
  result["minimum"] = told.minimum;
  result["maximum"] = told.maximum;
  result["mean"] = told.mean;
  result["deviation"] = std::sqrt(told.deviation / there);
  const bool logarithmic = asked.text_or("scale", {}) == "log";
  result["positive"] = told.positive;
  if (logarithmic && told.positive == 0) return result;
  constexpr std::int64_t most_bins = 4096;
  histogram bins(logarithmic ? told.least_positive : told.minimum, told.maximum,
                 asked.number_or("bins", 64, 1, most_bins), logarithmic);
  if (!kept) pieces.begin_again();
  for (auto piece = kept ? std::move(kept) : pieces.next(); piece; piece = pieces.next())
    for (const double value : piece->numbers) bins.add(value);
  result["histogram"] = bins.told();
  return result;
}

json texts_json(column_pieces& pieces) {
  // Of more different texts than these only the number of samples is told.
  constexpr std::size_t most_texts = 20000;
  constexpr std::size_t most_told = 100;
  std::int64_t count = 0, missing = 0;
  std::unordered_map<std::string, std::int64_t> counts;
  bool all = true;
  while (const auto piece = pieces.next())
    for (const std::string& text : piece->texts) {
      ++count;
      if (text.empty())
        ++missing;
      else if (counts.size() < most_texts || counts.contains(text))
        ++counts[text];
      else
        all = false;
    }
  std::vector<std::pair<std::string, std::int64_t>> often(counts.begin(), counts.end());
  std::sort(often.begin(), often.end(), [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  json told = json::array();
  for (std::size_t i = 0; i < std::min(often.size(), most_told); ++i)
    told.push_back(json::array({often[i].first, often[i].second}));
  return {{"count", count},
          {"missing", missing},
          {"distinct", counts.size()},
          {"all distinct", all},
          {"texts", told}};
}

}  // namespace

answer statistics_answer(source& from, const query& asked) {
  column_pieces pieces(from, asked,
                       {{}, asked.text_or("selection", {}), client::selection_use::compressed, {}, {}});
  json told = pieces.column().is_text() ? texts_json(pieces) : numbers_json(pieces, asked);
  from.with([&](client::database& database) {
    client::connection& server = database.at(pieces.file().place());
    server.set_variable(pieces.column().variable.name);
    told["comment"] = server.comment(client::comment_owner::variable);
  });
  return json_answer(told);
}

}  // namespace qrd::view

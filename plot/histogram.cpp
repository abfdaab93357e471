// How often the values of a variable occur.
#include <algorithm>
#include <cmath>

#include "plot/kinds.h"

namespace qrd::plot {

namespace {

struct bins {
  double first = 0;  // where the first one begins
  double step = 1;
  std::vector<std::size_t> counts;
};

// Round bounds. Codes, whole numbers of few bits, have a bin each with the code in its middle.
bins bins_of(const client::column& column, const std::vector<double>& sorted) {
  constexpr double most = 60, most_codes = 64;
  constexpr std::int32_t most_bits_of_codes = 16;
  const double low = sorted.front(), high = sorted.back();
  bins made;
  if (column.info.bits <= most_bits_of_codes && high - low <= most_codes) {
    made.first = low - 0.5;
  } else {
    const double wanted = std::clamp(std::ceil(std::sqrt(static_cast<double>(sorted.size()))), 8.0, most);
    const extent range = high > low ? extent{low, high} : widened({low, high}, 0);
    made.step = round_step(range.size() / wanted);
    made.first = std::floor(range.low / made.step) * made.step;
  }
  for (const double value : sorted) {
    const auto bin =
        static_cast<std::size_t>(std::max(0.0, std::floor((value - made.first) / made.step + 1e-9)));
    if (bin >= made.counts.size()) made.counts.resize(bin + 1);
    ++made.counts[bin];
  }
  return made;
}

// The value below which that part of them lies; between two values in proportion.
double quantile(const std::vector<double>& sorted, double part) {
  const double place = part * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const double above = sorted[std::min(below + 1, sorted.size() - 1)];
  return sorted[below] + (place - static_cast<double>(below)) * (above - sorted[below]);
}

std::vector<std::string> statistics(const std::vector<double>& sorted) {
  double mean = 0, deviation = 0, count = 0;
  for (const double value : sorted) {
    const double step = value - mean;
    mean += step / ++count;
    deviation += step * (value - mean);
  }
  return {"minimum " + short_text(sorted.front()),
          "first quartile " + short_text(quantile(sorted, 0.25)),
          "median " + short_text(quantile(sorted, 0.5)),
          "third quartile " + short_text(quantile(sorted, 0.75)),
          "maximum " + short_text(sorted.back()),
          "",
          "mean " + short_text(mean),
          "std. deviation " + short_text(std::sqrt(deviation / count))};
}

}  // namespace

picture draw_histogram(source& from) {
  const auto column = from.only_variable();
  if (!column) throw client::error("a histogram needs a variable");
  const values all = from.read(*column);
  const chosen_samples chosen = from.read_selection();
  counts told;
  std::vector<double> sorted;
  for (std::size_t i = 0; i < all.numbers.size(); ++i)
    if (count_value(told, is_chosen(chosen, i), all.numbers[i])) sorted.push_back(all.numbers[i]);
  told.check(column->title);
  std::sort(sorted.begin(), sorted.end());

  legend at_side{all.title(), {}, statistics(sorted)};
  colour_map colours;
  if (from.has_wanted_colours()) at_side.colours = colours = from.colours(all);
  const bins counted = bins_of(*column, sorted);
  extent range{counted.first, counted.first + counted.step * static_cast<double>(counted.counts.size())};
  const auto most = static_cast<double>(*std::max_element(counted.counts.begin(), counted.counts.end()));

  page made =
      make_page(from.wish().whole, {from.title(all.title()), told.text("samples", from.wish().selection)},
                width_of(at_side));
  const field on =
      draw_field(made.drawn, made.room, widened(range, 0.02), {0, most * 1.06}, {all.title(), "samples"});
  for (std::size_t i = 0; i < counted.counts.size(); ++i) {
    if (counted.counts[i] == 0) continue;
    const double low = counted.first + counted.step * static_cast<double>(i);
    const point from_point = on.at(low, static_cast<double>(counted.counts[i])),
                to = on.at(low + counted.step, 0);
    const rgb fill = colours.classes.empty() ? tint(plain_mark, 0.75)
                                             : colours.colour_of(low + counted.step / 2).value_or(pale);
    made.drawn.add_box({from_point.x, from_point.y, to.x - from_point.x, to.y - from_point.y},
                       {fill, dark, 0.5});
  }
  draw_frame(made.drawn, on);
  draw_legend(made.drawn, made.side, at_side, 0);
  return std::move(made.drawn);
}

}  // namespace qrd::plot

// One variable against another.
#include <cmath>

#include "plot/kinds.h"
#include "plot/marks.h"

namespace qrd::plot {

namespace {

// Pearson's coefficient; nothing where one of them does not vary.
std::optional<double> correlation(const std::vector<point>& pairs) {
  double mean_x = 0, mean_y = 0, xx = 0, yy = 0, xy = 0, count = 0;
  for (const point& pair : pairs) {
    ++count;
    const double dx = pair.x - mean_x, dy = pair.y - mean_y;
    mean_x += dx / count;
    mean_y += dy / count;
    xx += dx * (pair.x - mean_x);
    yy += dy * (pair.y - mean_y);
    xy += dx * (pair.y - mean_y);
  }
  if (!(xx > 0 && yy > 0)) return std::nullopt;
  return xy / std::sqrt(xx) / std::sqrt(yy);
}

}  // namespace

picture draw_scatter(source& from) {
  const auto column = from.only_variable();
  if (!column)
    throw client::error("a scatter needs a variable to set against \"" + from.wish().against + "\"");
  const values across = from.read(*column);
  const values up = from.read(from.number_column(from.wish().against));
  const chosen_samples chosen = from.read_selection();
  if (up.numbers.size() != across.numbers.size())
    throw client::error("the file has changed while it was read");
  counts told;
  extent x, y;
  std::vector<point> pairs;
  for (std::size_t i = 0; i < across.numbers.size(); ++i) {
    const double value = is_value(across.numbers[i]) ? up.numbers[i] : across.numbers[i];
    if (!count_value(told, is_chosen(chosen, i), value)) continue;
    pairs.push_back({across.numbers[i], up.numbers[i]});
    x.add(across.numbers[i]);
    y.add(up.numbers[i]);
  }
  told.check(across.column.title + "\" or \"" + up.column.title);

  std::string below = told.text("samples", from.wish().selection);
  if (const auto r = correlation(pairs)) below += ", correlation " + short_text(*r, 3);
  page made = make_page(from.wish().whole, {from.title(up.title() + " against " + across.title()), below}, 0);
  const field on =
      draw_field(made.drawn, made.room, widened(x, 0.04), widened(y, 0.04), {across.title(), up.title()});
  std::vector<mark> marks;
  for (const point& pair : pairs) marks.push_back({on.at(pair.x, pair.y), plain_mark});
  draw_marks(made.drawn, on.area, std::move(marks));
  draw_frame(made.drawn, on);
  return std::move(made.drawn);
}

}  // namespace qrd::plot

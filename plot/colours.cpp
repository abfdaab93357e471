#include "plot/colours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace qrd::plot {

namespace {

// CIE 1976 L*a*b* under the white D65.
struct lab {
  double l, a, b;
};

double distance(const lab& one, const lab& other) {
  return std::hypot(one.l - other.l, one.a - other.a, one.b - other.b);
}

// From L*a*b* (CIE 15) to linear RGB (IEC 61966-2-1), outside of 0 to 1 where the screen has no such colour.
std::array<double, 3> linear_rgb(const lab& colour) {
  const auto part = [](double f) {
    constexpr double edge = 6.0 / 29;
    return f > edge ? f * f * f : 3 * edge * edge * (f - 4.0 / 29);
  };
  const double middle = (colour.l + 16) / 116;
  const double x = 0.9505 * part(middle + colour.a / 500);
  const double y = part(middle);
  const double z = 1.089 * part(middle - colour.b / 200);
  return {3.2406 * x - 1.5372 * y - 0.4986 * z, -0.9689 * x + 1.8758 * y + 0.0415 * z,
          0.0557 * x - 0.204 * y + 1.057 * z};
}

rgb screen_colour(const lab& colour) {
  rgb shown{};
  const std::array<double, 3> linear = linear_rgb(colour);
  for (std::size_t i = 0; i < 3; ++i) {
    const double value = std::clamp(linear[i], 0.0, 1.0);
    const double curved = value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
    shown[i] = static_cast<std::int32_t>(std::lround(255 * curved));
  }
  return shown;
}

// The ramp at t from 0 to 1: lighter all the way while the hue turns. The chroma follows, on a smooth curve,
// how vivid such colours can be on a screen: least between blue and green.
lab ramp_colour(double t) {
  constexpr double darkest = 18, lightest = 90, first_hue = 305, last_hue = 100;
  constexpr double least_chroma = 26.5, dullest = 0.38, growth = 125;
  const double hue = (first_hue + (last_hue - first_hue) * t) * std::numbers::pi / 180;
  const double chroma = least_chroma + growth * (t - dullest) * (t - dullest);
  return {darkest + (lightest - darkest) * t, chroma * std::cos(hue), chroma * std::sin(hue)};
}

bool holds(const colour_class& one, double value) {
  return value >= one.low && value < one.high;
}

colour_map class_map(std::span<const double> bounds, std::span<const rgb> colours) {
  colour_map map;
  for (std::size_t i = 0; i + 1 < bounds.size() && i < colours.size(); ++i)
    map.classes.push_back({bounds[i], bounds[i + 1], colours[i], {}});
  return map;
}

std::vector<double> sorted_values(std::span<const double> values) {
  std::vector<double> sorted;
  std::copy_if(values.begin(), values.end(), std::back_inserter(sorted), is_value);
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

// Bounds such that each class holds as many of the values.
std::vector<double> even_counts(std::span<const double> values, std::size_t classes) {
  const std::vector<double> sorted = sorted_values(values);
  std::vector<double> bounds;
  for (std::size_t i = 0; !sorted.empty() && i <= classes; ++i)
    bounds.push_back(sorted[std::min(sorted.size() - 1, i * sorted.size() / classes)]);
  return bounds;
}

}  // namespace

std::optional<rgb> colour_map::colour_of(double value) const {
  if (!is_value(value) || classes.empty()) return std::nullopt;
  if (is_even) {
    const double low = classes.front().low, high = classes.back().high;
    if ((value < low || value > high) && !is_open) return std::nullopt;
    const auto steps = static_cast<double>(classes.size());
    const double step = std::clamp(std::floor((value - low) / (high - low) * steps), 0.0, steps - 1);
    return classes[static_cast<std::size_t>(step)].colour;
  }
  const colour_class* last = nullptr;
  for (const colour_class& one : classes) {
    if (holds(one, value)) return one.colour;
    if (value == one.high && value >= one.low) last = &one;
  }
  return last != nullptr ? std::optional(last->colour) : std::nullopt;
}

std::vector<rgb> even_ramp(std::size_t count) {
  // Equal parts of the length of the way, which is walked in small steps.
  constexpr int steps = 1000;
  std::vector<double> lengths = {0};
  lab last = ramp_colour(0);
  for (int i = 1; i <= steps; ++i) {
    const lab next = ramp_colour(static_cast<double>(i) / steps);
    lengths.push_back(lengths.back() + distance(last, next));
    last = next;
  }
  std::vector<rgb> colours;
  for (std::size_t i = 0; i < count; ++i) {
    const double part = count > 1 ? static_cast<double>(i) / static_cast<double>(count - 1) : 0.5;
    const auto here = std::lower_bound(lengths.begin(), lengths.end(), part * lengths.back());
    const auto step = std::min<std::ptrdiff_t>(steps, here - lengths.begin());
    colours.push_back(screen_colour(ramp_colour(static_cast<double>(step) / steps)));
  }
  return colours;
}

std::vector<rgb> spread(std::span<const rgb> palette, std::size_t count) {
  if (palette.empty()) return even_ramp(count);
  std::vector<rgb> colours;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t place = count > 1 ? (2 * i * (palette.size() - 1) + count - 1) / (2 * (count - 1)) : 0;
    colours.push_back(palette[place]);
  }
  return colours;
}

colour_map even_map(const extent& range, std::span<const rgb> colours) {
  const extent whole = range.is_empty() ? extent{0, 1} : range.size() > 0 ? range : widened(range, 0);
  std::vector<double> bounds;
  const auto steps = static_cast<double>(colours.size());
  for (std::size_t i = 0; i <= colours.size(); ++i)
    bounds.push_back(whole.low + whole.size() * static_cast<double>(i) / steps);
  bounds.back() = whole.high;
  colour_map map = class_map(bounds, colours);
  map.is_even = true;
  return map;
}

colour_map default_map(std::span<const double> values) {
  constexpr std::size_t steps = 128, few = 50;
  const std::vector<double> sorted = sorted_values(values);
  extent range;
  if (sorted.empty()) return even_map(range, even_ramp(steps));
  range = {sorted.front(), sorted.back()};
  const std::size_t at_end = sorted.size() / few;
  const extent most{sorted[at_end], sorted[sorted.size() - 1 - at_end]};
  const bool has_outliers = most.size() > 0 && most.size() < range.size() / 2;
  colour_map map = even_map(has_outliers ? most : range, even_ramp(steps));
  map.is_open = has_outliers;
  return map;
}

colour_map scale_map(const client::colour_scale& scale, std::span<const rgb> palette,
                     std::span<const double> values) {
  constexpr std::int32_t most_classes = 1000;
  const auto classes = static_cast<std::size_t>(std::clamp(scale.classes, 1, most_classes));
  switch (scale.kind) {
    case client::scale_kind::classes:
      return class_map(even_counts(values, classes), spread(palette, classes));
    case client::scale_kind::manual: {
      // An index is that of a palette of the study, which may have another one by now.
      std::vector<rgb> colours;
      const std::vector<rgb> ramp = even_ramp(palette.empty() ? classes : 0);
      const std::span<const rgb> from = palette.empty() ? std::span<const rgb>(ramp) : palette;
      for (const std::int32_t index : scale.palette_indices)
        colours.push_back(from[static_cast<std::size_t>(
            std::clamp<std::int64_t>(index, 0, static_cast<std::int64_t>(from.size()) - 1))]);
      return class_map(scale.bounds, colours);
    }
    case client::scale_kind::facies: {
      colour_map map;
      for (const client::facies_interval& one : scale.intervals) {
        const auto index = static_cast<std::size_t>(one.palette_index);
        if (one.palette_index < 0 || index >= scale.facies.size()) continue;
        const client::facies_class& facies = scale.facies[index];
        map.classes.push_back({one.minimum, one.maximum, facies.colour, facies.label});
      }
      return map;
    }
    case client::scale_kind::automatic:
      break;
  }
  extent range;
  for (const double value : values) range.add(value);
  // An automatic scale may tell no number of classes: then it has those of its palette.
  const std::size_t steps =
      scale.classes > 0 ? classes : std::clamp<std::size_t>(palette.size(), 2, most_classes);
  return even_map(range, spread(palette, steps));
}

colour_map selection_map() {
  return {{{0, 0, {190, 190, 190}, "not selected"}, {1, 1, {196, 78, 32}, "selected"}}, false, false};
}

}  // namespace qrd::plot

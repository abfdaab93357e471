#include "plot/traces.h"

#include <algorithm>
#include <cmath>

namespace qrd::plot {

namespace {

// The places of a range of samples, axis by axis.
struct places {
  std::vector<double> ends[3];
  std::vector<double> begins[3];
  std::size_t first = 0;  // the sample, from 0, that they begin with

  client::point3 end(std::size_t sample) const { return at(ends, sample - first); }
  client::point3 begin(std::size_t sample) const { return at(begins, sample - first); }
  bool has_begins() const { return !begins[0].empty(); }
  // The sample behind the last one.
  std::int64_t end_of_samples() const { return static_cast<std::int64_t>(first + ends[0].size()); }

 private:
  // A file without a third dimension lies at a height of 0.
  static client::point3 at(const std::vector<double> (&axes)[3], std::size_t i) {
    const auto value = [&](std::size_t axis) {
      return axes[axis].empty() ? 0 : i < axes[axis].size() ? axes[axis][i] : std::nan("");
    };
    return {value(0), value(1), value(2)};
  }
};

places read_places(source& from, const std::optional<client::sample_range>& range) {
  places read;
  read.first = range ? static_cast<std::size_t>(range->first - 1) : 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    read.ends[axis] = from.coordinates(axis, range);
    read.begins[axis] = from.begins(axis, range);
  }
  return read;
}

trace trace_of(const client::line& line, const places& at) {
  trace made{line, {}};
  // A line may have become longer since the places were read.
  const std::int64_t end = std::min(line.last, at.end_of_samples());
  for (std::int64_t i = line.first - 1; i < end; ++i) {
    const auto sample = static_cast<std::size_t>(i);
    trace_piece piece{sample, {}, at.end(sample)};
    if (!is_place(piece.to)) continue;
    piece.from = at.has_begins() ? at.begin(sample) : made.pieces.empty() ? piece.to : made.pieces.back().to;
    if (is_place(piece.from)) made.pieces.push_back(piece);
  }
  return made;
}

}  // namespace

double trace_piece::length() const {
  return std::hypot(to.x - from.x, to.y - from.y, to.z - from.z);
}

std::vector<trace> read_traces(source& from) {
  const std::vector<client::line> lines = from.file().lines();
  const places at = read_places(from, std::nullopt);
  std::vector<trace> traces;
  for (const client::line& line : lines) traces.push_back(trace_of(line, at));
  return traces;
}

trace read_trace(source& from, const client::line& line) {
  if (line.size() < 1) return {line, {}};
  return trace_of(line, read_places(from, client::sample_range{line.first, line.last}));
}

}  // namespace qrd::plot

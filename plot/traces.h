// Lines of samples as ways in space.
#pragma once

#include "plot/samples.h"

namespace qrd::plot {

// A sample of a line, with the way that leads to it: for cores from their begin, else from the sample before.
struct trace_piece {
  std::size_t sample = 0;
  client::point3 from;
  client::point3 to;
  double length() const;
};

struct trace {
  client::line line;
  std::vector<trace_piece> pieces;  // of samples with a place
};

// Of all lines of the file, or of one.
std::vector<trace> read_traces(source& from);
trace read_trace(source& from, const client::line& line);

}  // namespace qrd::plot

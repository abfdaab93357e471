// What a picture reads of a file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "plot/colours.h"
#include "plot/draw.h"
#include "plot/legend.h"
#include "plot/page.h"
#include "qrd/table.h"

namespace qrd::plot {

// Whether a place can be drawn.
inline bool is_place(const client::point3& at) {
  return is_value(at.x) && is_value(at.y) && is_value(at.z);
}

// A column of numbers with its values.
struct values {
  client::column column;
  std::vector<double> numbers;  // NaN where missing
  std::string title() const { return with_unit(column.title, unit); }
  std::string unit;
};

// Which samples a selection leaves. Empty: all.
using chosen_samples = std::vector<bool>;
// A file may have grown since they were read.
inline bool is_chosen(const chosen_samples& chosen, std::size_t sample) {
  return chosen.empty() || (sample < chosen.size() && chosen[sample]);
}
// Sample by sample; nothing where there is no value to show.
using sample_colours = std::vector<std::optional<rgb>>;
inline std::optional<rgb> colour_at(const sample_colours& colours, std::size_t sample) {
  return sample < colours.size() ? colours[sample] : std::nullopt;
}

class source {
 public:
  source(client::database& owner, const request& wish);

  const request& wish() const { return wish_; }
  client::table& file() { return file_; }
  // "study / directory / file", with that behind it.
  std::string title(const std::string& behind) const;

  // The column of that name. A text variable is an `error`.
  client::column number_column(const std::string& name);
  // The one variable of the request; none if it names none. More than one is an `error`.
  std::optional<client::column> only_variable();

  values read(const client::column& of, const std::optional<client::sample_range>& range = std::nullopt);
  // Of the samples of a grid only these, in ascending order.
  values read_some(const client::column& of, const std::vector<std::size_t>& samples);
  chosen_samples read_selection(const std::optional<client::sample_range>& range = std::nullopt);
  chosen_samples read_some_selection(const std::vector<std::size_t>& samples);

  // The unit of all coordinates.
  const std::string& coordinate_unit() const { return coordinate_unit_; }
  // The file is the current one, and coordinates come in that unit.
  client::connection& server();
  // Another file is the current one, and its coordinates come in the unit of this one.
  client::connection& server_of(const client::file_place& place);
  // The coordinates along an axis, of 0 to 2; of cores where they end. Empty if the file has none there.
  std::vector<double> coordinates(std::size_t axis,
                                  const std::optional<client::sample_range>& range = std::nullopt);
  // Where cores begin; empty for what isn't cores.
  std::vector<double> begins(std::size_t axis,
                             const std::optional<client::sample_range>& range = std::nullopt);

  // The colours that the request asks for, or those of its kind of variable.
  colour_map colours(const values& of);
  bool has_wanted_colours() const { return !wish_.scale.empty() || !wish_.palette.empty(); }

 private:
  client::reading how() const;
  client::column selection();
  std::vector<double> read_axis(const std::optional<std::string>& name,
                                const std::optional<client::sample_range>& range);

  client::database& owner_;
  const request& wish_;
  client::table file_;
  std::string coordinate_unit_;
  std::string reading_unit_;  // of coordinates; empty: their own
};

// Of a study. An `error` if it isn't there, with the names that are near.
std::vector<rgb> named_palette(client::connection& server, const std::string& name);
client::colour_scale named_scale(client::connection& server, const std::string& name);
// The palette of that name; empty for "None" and for one that isn't there.
std::vector<rgb> palette_if_any(client::connection& server, const std::string& name);

// What became of the samples, to be told below the heading and at the legend.
struct counts {
  std::size_t samples = 0;
  std::size_t not_chosen = 0;
  std::size_t missing = 0;
  std::size_t in_no_class = 0;

  // Nothing to draw is an `error`. `what` names the variable.
  void check(const std::string& what) const;
  // "1 200 samples, 3 missing": what of them there are; `more` stands behind the first.
  std::string text(const std::string& things, const std::string& selection,
                   const std::string& more = "") const;
};

// Counts a sample; whether its value is one.
bool count_value(counts& of, bool chosen, double value);
// What a legend says of them below its colours.
std::vector<std::string> notes_of(const counts& of);

// The colours of samples with what explains them: values in no class are grey.
struct coloured_samples {
  sample_colours colours;
  counts told;
  legend at_side;
};
// An `error` if there is nothing to draw.
coloured_samples colour_samples(source& from, const values& of, const chosen_samples& chosen);

}  // namespace qrd::plot

#include "plot/samples.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qrd/error.h"
#include "qrd/names.h"

namespace qrd::plot {

namespace {

// What the server has of that name; if it hasn't, the names that are near are told.
template <typename Thing>
Thing named(client::connection& server, const std::string& name,
            Thing (client::connection::*get)(const std::string&),
            std::vector<std::string> (client::connection::*list)()) {
  try {
    return (server.*get)(name);
  } catch (const client::refusal& refused) {
    const std::vector<std::string> known = (server.*list)();
    throw client::not_found(refused.what() + client::did_you_mean(name, known), name,
                            client::near_names(name, known));
  }
}

chosen_samples chosen_of(const values& selected) {
  chosen_samples chosen(selected.numbers.size());
  for (std::size_t i = 0; i < chosen.size(); ++i) chosen[i] = selected.numbers[i] == 1;
  return chosen;
}

}  // namespace

source::source(client::database& owner, const request& wish)
    : owner_(owner),
      wish_(wish),
      file_((owner.use_unit(wish.unit), owner), wish.place),
      coordinate_unit_(wish.unit),
      reading_unit_(wish.unit) {
  if (!wish.unit.empty()) return;
  const std::vector<std::string> units = file_.coordinate_units();
  if (units.empty()) return;
  coordinate_unit_ = units.front();
  if (std::all_of(units.begin(), units.end(), [&](const std::string& unit) { return unit == units.front(); }))
    return;
  // Axes in units of their own can't make a map.
  coordinate_unit_ = reading_unit_ = "m";
  owner_.use_unit(reading_unit_);
  file_.refresh();
}

client::connection& source::server() {
  owner_.use_unit(reading_unit_);
  return owner_.at(wish_.place);
}

client::connection& source::server_of(const client::file_place& place) {
  owner_.use_unit(coordinate_unit_);
  return owner_.at(place);
}

std::string source::title(const std::string& behind) const {
  return wish_.place.study + " / " + wish_.place.directory + " / " + wish_.place.file +
         (behind.empty() ? "" : ": " + behind);
}

client::column source::number_column(const std::string& name) {
  client::column found = file_.open(name, wish_.index);
  if (found.is_text())
    throw client::error("the variable \"" + found.title + "\" holds texts: only numbers can be drawn");
  return found;
}

std::optional<client::column> source::only_variable() {
  if (wish_.variables.size() > 1) throw client::error("only a strip log shows several variables at once");
  if (wish_.variables.empty()) return std::nullopt;
  return number_column(wish_.variables.front());
}

client::reading source::how() const {
  client::reading how;
  how.unit = wish_.unit;
  how.progress = wish_.progress;
  return how;
}

values source::read(const client::column& of, const std::optional<client::sample_range>& range) {
  values read = read_some(of, {});
  client::reading all = how();
  all.range = range;
  read.numbers = file_.read(of, all).numbers;
  return read;
}

values source::read_some(const client::column& of, const std::vector<std::size_t>& samples) {
  const bool is_length = of.info.has_unit.value_or(false);
  values picked{of, {}, is_length && !wish_.unit.empty() ? wish_.unit : of.unit()};
  if (samples.empty()) return picked;
  std::size_t first = 0;
  auto next = samples.begin();
  file_.read(std::span(&of, 1), how(), [&](std::span<const client::column_values> block) {
    const std::vector<double>& numbers = block[0].numbers;
    for (; next != samples.end() && *next - first < numbers.size(); ++next)
      picked.numbers.push_back(numbers[*next - first]);
    first += numbers.size();
  });
  picked.numbers.resize(samples.size(), std::nan(""));
  return picked;
}

client::column source::selection() {
  client::column column = number_column(wish_.selection);
  if (!column.is_selection()) throw client::error("the variable \"" + column.title + "\" is no selection");
  return column;
}

chosen_samples source::read_selection(const std::optional<client::sample_range>& range) {
  if (wish_.selection.empty()) return {};
  return chosen_of(read(selection(), range));
}

chosen_samples source::read_some_selection(const std::vector<std::size_t>& samples) {
  if (wish_.selection.empty()) return {};
  return chosen_of(read_some(selection(), samples));
}

std::vector<double> source::read_axis(const std::optional<std::string>& name,
                                      const std::optional<client::sample_range>& range) {
  if (!name) return {};
  client::reading all = how();
  all.range = range;
  all.unit = reading_unit_;
  return file_.read(file_.open(*name), all).numbers;
}

std::vector<double> source::coordinates(std::size_t axis, const std::optional<client::sample_range>& range) {
  const client::file_info& info = file_.info();
  return read_axis(info.core_ends[axis] ? info.core_ends[axis] : info.coordinates[axis], range);
}

std::vector<double> source::begins(std::size_t axis, const std::optional<client::sample_range>& range) {
  return read_axis(file_.info().core_begins[axis], range);
}

colour_map source::colours(const values& of) {
  client::connection& server = owner_.at(wish_.place.study);
  if (!wish_.scale.empty()) {
    const client::colour_scale scale = named_scale(server, wish_.scale);
    colour_map map = scale_map(scale, palette_if_any(server, scale.palette), of.numbers);
    if (map.classes.empty()) throw client::error("the scale \"" + wish_.scale + "\" has no classes");
    return map;
  }
  if (!wish_.palette.empty()) {
    const std::vector<rgb> palette = named_palette(server, wish_.palette);
    if (palette.empty()) throw client::error("the palette \"" + wish_.palette + "\" has no colours");
    extent range;
    for (const double value : of.numbers) range.add(value);
    return even_map(range, palette);
  }
  return of.column.is_selection() ? selection_map() : default_map(of.numbers);
}

std::vector<rgb> named_palette(client::connection& server, const std::string& name) {
  return named(server, name, &client::connection::palette, &client::connection::palettes);
}

client::colour_scale named_scale(client::connection& server, const std::string& name) {
  return named(server, name, &client::connection::scale, &client::connection::scales);
}

std::vector<rgb> palette_if_any(client::connection& server, const std::string& name) {
  if (name.empty() || !server.palette_exists(name)) return {};
  return server.palette(name);
}

bool count_value(counts& of, bool chosen, double value) {
  ++of.samples;
  if (!chosen)
    ++of.not_chosen;
  else if (!is_value(value))
    ++of.missing;
  else
    return true;
  return false;
}

std::vector<std::string> notes_of(const counts& of) {
  std::vector<std::string> notes;
  if (of.missing > 0) notes.push_back("missing: " + std::to_string(of.missing));
  if (of.in_no_class > 0) notes.push_back("in no class (grey): " + std::to_string(of.in_no_class));
  return notes;
}

coloured_samples colour_samples(source& from, const values& of, const chosen_samples& chosen) {
  const colour_map map = from.colours(of);
  coloured_samples made;
  made.colours.resize(of.numbers.size());
  for (std::size_t i = 0; i < of.numbers.size(); ++i) {
    if (!count_value(made.told, is_chosen(chosen, i), of.numbers[i])) continue;
    const std::optional<rgb> colour = map.colour_of(of.numbers[i]);
    if (!colour) ++made.told.in_no_class;
    made.colours[i] = colour.value_or(grey);
  }
  made.told.check(of.column.title);
  made.at_side = {of.title(), map, notes_of(made.told)};
  if (map.is_open) {
    extent range;
    for (std::size_t i = 0; i < of.numbers.size(); ++i)
      if (made.colours[i]) range.add(of.numbers[i]);
    made.at_side.notes.push_back("values go from " + short_text(range.low, 3) + " to " +
                                 short_text(range.high, 3));
  }
  return made;
}

void counts::check(const std::string& what) const {
  if (samples == 0) throw client::error("there is nothing to draw: the file has no samples there");
  if (not_chosen == samples) throw client::error("there is nothing to draw: the selection leaves no sample");
  if (missing + not_chosen == samples)
    throw client::error("there is nothing to draw: all values of \"" + what + "\" are missing");
}

std::string counts::text(const std::string& things, const std::string& selection,
                         const std::string& more) const {
  std::string told = counted(samples, things) + more;
  if (!selection.empty()) told += ", " + std::to_string(samples - not_chosen) + " selected by " + selection;
  if (missing > 0) told += ", " + std::to_string(missing) + " missing";
  if (in_no_class > 0) told += ", " + std::to_string(in_no_class) + " in no class";
  return told;
}

}  // namespace qrd::plot

#include "qrd/table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>

#include "client/choose.h"
#include "qrd/blanks.h"
#include "qrd/names.h"
#include "qrd/numbers.h"
#include "qrd/units.h"

namespace qrd::client {

namespace {

constexpr std::string_view generic_suffix = "[xxxxx]";
constexpr std::int64_t values_per_block = 1 << 20;

std::optional<std::int32_t> parse_index(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || problem != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

macro_index index_of(const std::string& text) {
  if (const auto number = parse_index(text)) return *number;
  return text;
}

// While one lives, lengths travel in that unit.
class unit_while {
 public:
  unit_while(database& owner, std::string unit) : owner_(owner), before_(owner.unit()) {
    owner_.use_unit(std::move(unit));
  }
  unit_while(const unit_while&) = delete;
  unit_while& operator=(const unit_while&) = delete;
  ~unit_while() { owner_.use_unit(std::move(before_)); }

 private:
  database& owner_;
  std::string before_;
};

// While one lives, the connection tells its progress.
class told_progress {
 public:
  told_progress(connection& server, const progress_function& progress, std::uint64_t done, std::uint64_t part,
                std::uint64_t all)
      : server_(server) {
    if (!progress) return;
    server_.set_progress([=](std::uint64_t now, std::uint64_t total) {
      progress(done + part * now / std::max<std::uint64_t>(1, total), all);
    });
  }
  told_progress(const told_progress&) = delete;
  told_progress& operator=(const told_progress&) = delete;
  ~told_progress() { server_.set_progress(nullptr); }

 private:
  connection& server_;
};

void choose_variable(connection& server, const std::string& name) {
  choose(
      name, [&] { server.set_variable(name); }, [&] { return server.variables(); });
}

void choose_index(connection& server, const variable_name& variable) {
  if (!variable.index) return;
  if (const auto* number = std::get_if<std::int32_t>(&*variable.index))
    server.set_index(*number);
  else
    server.set_index(std::get<std::string>(*variable.index));
}

// The names of the variables that hold an axis, the place of a sample of cores being its end.
const std::optional<std::string>& coordinate(const file_info& info, std::size_t axis) {
  return info.coordinates[axis] ? info.coordinates[axis] : info.core_ends[axis];
}

void cut_blanks(std::vector<std::string>& texts) {
  for (std::string& text : texts) text.resize(without_blanks_behind(text).size());
}

column_values read_part(connection& server, bool is_text, const std::optional<sample_range>& range,
                        selection_use use) {
  column_values values;
  if (is_text) {
    values.texts = server.read_texts(range, use).values;
    cut_blanks(values.texts);
  } else {
    values.numbers = server.read_numbers(range, use);
  }
  return values;
}

// Of the samples that a selection leaves nobody but the server knows how many a part of them takes: they go
// at once.
template <typename T, typename Send>
void write_blocks(connection& server, std::span<const T> values, const writing& wish, sample_range range,
                  const Send& send) {
  const bool whole = wish.use == selection_use::compressed && !wish.selection.empty();
  const std::size_t block = whole ? values.size() : static_cast<std::size_t>(values_per_block);
  for (std::size_t done = 0; done < values.size(); done += block) {
    const auto part = values.subspan(done, std::min(block, values.size() - done));
    sample_range here = range;
    if (!whole) {
      here.first = range.first + static_cast<std::int64_t>(done);
      here.last = here.first + static_cast<std::int64_t>(part.size()) - 1;
    }
    const told_progress progress(server, wish.progress, done, part.size(), values.size());
    send(part, here);
  }
}

std::string there_are_no(const sample_range& range, std::int64_t samples) {
  return "there are no samples " + std::to_string(range.first) + " to " + std::to_string(range.last) +
         ": the file has " + std::to_string(samples);
}

// The range that is meant; nothing for all of a file without samples.
std::optional<sample_range> range_of(const std::optional<sample_range>& wish, std::int64_t samples) {
  if (!wish && samples == 0) return std::nullopt;
  const sample_range range = wish.value_or(sample_range{1, samples});
  if (range.first < 1 || range.last > samples || range.last < range.first)
    throw bad_argument(there_are_no(range, samples));
  return range;
}

void check_count(std::size_t values, const sample_range& range, const writing& wish) {
  const auto samples = static_cast<std::size_t>(range.last - range.first + 1);
  const bool fewer = wish.use == selection_use::compressed && !wish.selection.empty();
  if (fewer ? values > samples : values != samples)
    throw bad_argument(std::to_string(values) + " values for " + std::to_string(samples) + " samples");
}

}  // namespace

bool is_macro_name(const std::string& name) {
  return name.ends_with(generic_suffix);
}

variable_name parse_variable_name(const std::string& text) {
  if (text.size() < 3 || is_macro_name(text)) return {text, std::nullopt};
  const char close = text.back();
  if (close != ']' && close != '}') return {text, std::nullopt};
  const std::size_t open = text.rfind(close == ']' ? '[' : '{');
  if (open == std::string::npos) return {text, std::nullopt};
  const std::string inside = text.substr(open + 1, text.size() - open - 2);
  const std::string generic = text.substr(0, open).append(generic_suffix);
  if (close == '}') return {generic, inside};
  if (const auto number = parse_index(inside)) return {generic, *number};
  return {text, std::nullopt};
}

std::string text_of(const variable_name& variable) {
  if (!variable.index) return variable.name;
  const std::string stem = variable.name.substr(0, variable.name.size() - generic_suffix.size());
  if (const auto* number = std::get_if<std::int32_t>(&*variable.index))
    return stem + "[" + std::to_string(*number) + "]";
  return stem + "{" + std::get<std::string>(*variable.index) + "}";
}

std::string column::unit() const {
  return value_unit(info);
}

table::table(database& owner, file_place place) : owner_(&owner), place_(std::move(place)) {
  refresh();
}

void table::refresh() {
  info_ = owner_->at(place_).file_info();
}

bool table::has_lines() const {
  return info_.organisation == organisation::gravity_lines || info_.organisation == organisation::core_lines;
}

bool table::may_have_wireframes() {
  if (info_.has_polygons || info_.dimension != 3 || info_.organisation != organisation::points) return false;
  const std::vector<std::string> known = names();
  const auto has = [&](const char* name) {
    return std::find(known.begin(), known.end(), name) != known.end();
  };
  return has("V+ VOLUME") && has("N+ NAME");
}

std::vector<std::string> table::names() {
  return owner_->at(place_).variables();
}

column table::open(const std::string& name, const std::string& index) {
  connection& server = owner_->at(place_);
  column one{{}, parse_variable_name(name), {}};
  if (name.size() == 1 && name[0] >= 'x' && name[0] <= 'z' && !server.variable_exists(name))
    if (const auto& axis = coordinate(info_, static_cast<std::size_t>(name[0] - 'x')))
      one.variable.name = *axis;
  if (!index.empty() && !one.variable.index && !is_macro_name(name)) {
    const std::string generic = name + std::string(generic_suffix);
    if (generic.size() <= max_name && !server.variable_exists(name) && server.variable_exists(generic))
      one.variable.name = generic;
  }
  choose_variable(server, one.variable.name);
  one.info = server.variable_info();
  if (one.info.type == variable_type::macro && !one.variable.index) {
    if (index.empty()) throw bad_argument("\"" + name + "\" is a macro variable: name one of its columns");
    one.variable.index = index_of(index);
  }
  one.title = text_of(one.variable);
  choose_index(server, one.variable);
  return one;
}

connection& table::choose(const std::string& name) {
  connection& server = owner_->at(place_);
  choose_variable(server, name);
  return server;
}

std::vector<column> table::open_all(const std::string& name) {
  if (!is_macro_name(name)) return {open(name)};
  connection& server = owner_->at(place_);
  choose_variable(server, name);
  const variable_info info = server.variable_info();
  if (info.type != variable_type::macro) return {open(name)};
  std::vector<column> columns;
  if (info.indices == 0) return columns;
  const macro_indices indices = server.macro_indices();
  for (std::size_t i = 0; i < indices.numbers.size(); ++i) {
    column one{{}, {name, indices.numbers[i]}, info};
    if (indices.names) one.variable.index = (*indices.names)[i];
    one.title = text_of(one.variable);
    columns.push_back(std::move(one));
  }
  return columns;
}

std::vector<column> table::columns(bool with_macros) {
  std::vector<column> all;
  for (const std::string& name : names()) {
    if (is_macro_name(name) && !with_macros) continue;
    for (column& one : open_all(name)) all.push_back(std::move(one));
  }
  return all;
}

std::vector<std::string> table::coordinate_units() {
  connection& server = owner_->at(place_);
  std::vector<std::string> units;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto& name = coordinate(info_, axis);
    if (!name) continue;
    server.set_variable(*name);
    units.push_back(value_unit(server.variable_info()));
  }
  return units;
}

std::vector<line> table::lines() {
  if (!has_lines()) return {};
  const std::vector<std::int32_t> lengths = owner_->at(place_).line_lengths();
  std::vector<std::string> line_names;
  if (info_.linked_file) {
    connection& server = owner_->at({place_.study, place_.directory, *info_.linked_file});
    if (const auto name = server.file_info().line_name) {
      server.set_variable(*name);
      line_names = server.read_texts().values;
      cut_blanks(line_names);
    }
  }
  std::vector<line> lines(lengths.size());
  std::int64_t next = 1;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    lines[i].number = static_cast<std::int64_t>(i) + 1;
    if (line_names.size() == lines.size()) lines[i].name = line_names[i];
    lines[i].first = next;
    next += lengths[i];
    lines[i].last = next - 1;
  }
  return lines;
}

line table::find_line(const std::string& name) {
  const std::vector<line> all = lines();
  const auto named = std::find_if(all.begin(), all.end(), [&](const line& one) { return one.name == name; });
  if (named != all.end()) return *named;
  if (const auto number = parse_index(name))
    if (*number >= 1 && static_cast<std::size_t>(*number) <= all.size())
      return all[static_cast<std::size_t>(*number) - 1];
  std::vector<std::string> known;
  for (const line& one : all) known.push_back(one.name);
  throw not_found("there is no line " + name + ": the file has " + std::to_string(all.size()) + " lines" +
                      did_you_mean(name, known),
                  name, near_names(name, known));
}

connection& table::select(const column& one, const std::string& selection) {
  connection& server = owner_->at(place_, selection);
  server.set_variable(one.variable.name);
  choose_index(server, one.variable);
  return server;
}

void table::read(std::span<const column> columns, const reading& wish,
                 const std::function<void(std::span<const column_values>)>& take) {
  const auto range = range_of(wish.range, samples());
  if (!range || columns.empty()) return;
  const unit_while units(*owner_, wish.unit);
  const auto width = static_cast<std::int64_t>(columns.size());
  const std::int64_t block = std::max<std::int64_t>(1, values_per_block / width);
  const auto all = static_cast<std::uint64_t>((range->last - range->first + 1) * width);
  std::uint64_t done = 0;
  std::vector<column_values> values(columns.size());
  const auto size_of = [&](std::size_t i) {
    return columns[i].is_text() ? values[i].texts.size() : values[i].numbers.size();
  };
  for (std::int64_t first = range->first; first <= range->last; first += block) {
    const sample_range part{first, std::min(range->last, first + block - 1)};
    const auto size = static_cast<std::uint64_t>(part.last - part.first + 1);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      connection& server = select(columns[i], wish.selection);
      const told_progress progress(server, wish.progress, done, size, all);
      values[i] = read_part(server, columns[i].is_text(), part, wish.use);
      done += size;
      if (size_of(i) != size_of(0)) throw error("the file has changed while it was read");
    }
    take(values);
  }
}

column_values table::read(const column& one, const reading& wish) {
  const auto range = range_of(wish.range, samples());
  if (!range) return {};
  const unit_while units(*owner_, wish.unit);
  connection& server = select(one, wish.selection);
  const auto size = static_cast<std::uint64_t>(range->last - range->first + 1);
  const told_progress progress(server, wish.progress, 0, size, size);
  return read_part(server, one.is_text(), range, wish.use);
}

void table::check(const column& one, std::span<const double> numbers) {
  if (one.is_text()) throw bad_argument("the variable \"" + one.title + "\" holds texts");
  const auto wrong = std::find_if(numbers.begin(), numbers.end(), [&](double value) {
    return !std::isnan(value) && !fits_bits(value, one.info.bits);
  });
  if (wrong != numbers.end())
    throw bad_argument("the variable \"" + one.title + "\" of " + std::to_string(one.info.bits) +
                       " bits cannot hold " + number_text(*wrong));
}

void table::check(const column& one, std::span<const std::string> texts) {
  if (!one.is_text()) throw bad_argument("the variable \"" + one.title + "\" holds numbers");
  const auto width = static_cast<std::size_t>(one.info.characters);
  const auto wrong =
      std::find_if(texts.begin(), texts.end(), [&](const std::string& text) { return text.size() > width; });
  if (wrong != texts.end())
    throw bad_argument("the variable \"" + one.title + "\" of " + std::to_string(width) +
                       " characters cannot hold \"" + *wrong + "\"");
}

void table::write(const column& one, std::span<const double> numbers, const writing& wish) {
  const auto range = range_of(wish.range, samples());
  if (!range && numbers.empty()) return;
  if (!range) throw bad_argument("the file has no samples");
  check_count(numbers.size(), *range, wish);
  check(one, numbers);
  std::vector<double> chosen;
  // A selection has no missing values: what isn't told isn't selected.
  if (one.is_selection()) {
    chosen.assign(numbers.begin(), numbers.end());
    for (double& value : chosen)
      if (std::isnan(value)) value = 0;
    numbers = chosen;
  }
  const unit_while units(*owner_, wish.unit);
  connection& server = select(one, wish.selection);
  write_blocks(server, numbers, wish, *range, [&](std::span<const double> part, const sample_range& here) {
    server.write_numbers(part, here, wish.use);
  });
}

void table::write(const column& one, std::span<const std::string> texts, const writing& wish) {
  const auto range = range_of(wish.range, samples());
  if (!range && texts.empty()) return;
  if (!range) throw bad_argument("the file has no samples");
  check_count(texts.size(), *range, wish);
  check(one, texts);
  const unit_while units(*owner_, wish.unit);
  connection& server = select(one, wish.selection);
  write_blocks(server, texts, wish, *range, [&](std::span<const std::string> part, const sample_range& here) {
    server.write_texts(part, here, wish.use);
  });
}

column table::make(const new_variable& wish) {
  check_new_name(wish.name.name, "variable");
  if (wish.unit_is_text)
    check_unit_text(wish.unit);
  else
    check_unit(wish.unit);
  const bool is_text = wish.characters > 0;
  if (is_text && wish.name.index)
    throw bad_argument("the columns of a macro variable hold numbers: " + text_of(wish.name));
  const unit_while units(*owner_, "");
  connection& server = owner_->at(place_);
  const bool is_macro = wish.name.index.has_value();
  const bool is_there = is_macro && server.variable_exists(wish.name.name);
  const auto act = [&](bool& made) {
    if (is_text)
      server.new_text_variable(wish.name.name, wish.characters);
    else if (!is_macro)
      server.new_float_variable(wish.name.name, wish.bits, wish.format, wish.unit);
    else if (!is_there)
      server.new_macro_variable(wish.name.name, wish.bits, wish.format, wish.unit);
    made = !is_there;
    server.set_variable(wish.name.name);
    if (is_macro) add_index(server, *wish.name.index);
    if (!wish.comment.empty()) server.set_variable_comment(wish.comment);
  };
  make_or_undo(*owner_, act, [&] { remove(wish.name.name); });
  return open(text_of(wish.name));
}

void table::add_index(connection& server, const macro_index& index) {
  constexpr std::int32_t highest = 99999;
  if (const auto* number = std::get_if<std::int32_t>(&index)) {
    if (*number < 1 || *number > highest)
      throw bad_argument("the index of a column lies between 1 and " + std::to_string(highest));
    server.add_macro_indices(std::span(number, 1));
    return;
  }
  const auto& name = std::get<std::string>(index);
  if (name.empty() || name == "None" || name == "xxxxx" || name.size() > max_name ||
      name.find_first_of("{}[]") != std::string::npos)
    throw bad_argument("\"" + name + "\" cannot be the name of an index");
  std::vector<std::int32_t> taken;
  if (server.variable_info().indices > 0) taken = server.macro_index_numbers();
  const std::int32_t next = taken.empty() ? 1 : *std::max_element(taken.begin(), taken.end()) + 1;
  server.add_macro_indices(std::span(&next, 1), std::vector<std::string>{name});
}

void table::remove(const std::string& name) {
  connection& server = owner_->at(place_);
  choose_variable(server, name);
  owner_->forget();
  server.delete_variable();
}

void make_or_undo(database& owner, const std::function<void(bool& made)>& act,
                  const std::function<void()>& undo) {
  bool made = false;
  try {
    act(made);
  } catch (...) {
    if (!made) throw;
    // What asks to give up has been heard; it shall not give this up too.
    const wait_function wait = owner.options().wait;
    owner.set_wait(nullptr);
    try {
      undo();
    } catch (...) {
      // Who asked learns what went wrong first.
    }
    owner.set_wait(wait);
    throw;
  }
}

table make_file(database& owner, const file_place& place, const new_geometry& geometry,
                const std::function<void(table&)>& fill, const file_making& how) {
  check_new_name(place.file, "file");
  check_length_symbol(how.coordinate_unit);
  const unit_while units(owner, "");
  const auto make = [&](const auto& send) {
    connection& server = owner.at(place.study, place.directory);
    server.set_creation_units(how.coordinate_unit, how.coordinate_unit, how.coordinate_unit);
    const told_progress progress(server, how.progress, 0, 1000, 1000);
    send(server);
  };
  std::optional<table> result;
  const auto act = [&](bool& made) {
    if (const auto* points = std::get_if<points_geometry>(&geometry)) {
      make(
          [&](connection& server) { server.new_points(place.file, points->dimension, points->coordinates); });
      made = true;
    } else if (const auto* grid = std::get_if<grid_file_geometry>(&geometry)) {
      make([&](connection& server) { server.new_grid(place.file, grid->grid); });
      made = true;
      if (grid->angles[0] != 0 || grid->angles[1] != 0 || grid->angles[2] != 0)
        owner.at(place).set_grid_rotation(grid->angles[0], grid->angles[1], grid->angles[2]);
    } else {
      const auto& lines = std::get<lines_geometry>(geometry);
      make([&](connection& server) { server.new_lines(place.file, lines.dimension); });
      made = true;
      connection& server = owner.at(place);
      for (std::size_t i = 0; i < lines.lines.size(); ++i) {
        const line_geometry& one = lines.lines[i];
        if (one.start)
          server.append_cores(lines.dimension, *one.start, one.coordinates);
        else
          server.append_line(lines.dimension, one.coordinates);
        if (how.progress) how.progress(i + 1, lines.lines.size());
      }
    }
    result.emplace(owner, place);
    if (fill) fill(*result);
  };
  make_or_undo(owner, act, [&] {
    connection& server = owner.at(place);
    owner.forget();
    server.delete_file();
  });
  return std::move(*result);
}

}  // namespace qrd::client

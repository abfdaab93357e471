// qrd stat: what the values of variables are like.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <unordered_set>

#include "command/cell_text.h"
#include "command/options.h"
#include "command/output.h"
#include "command/rows.h"
#include "command/session.h"
#include "command/summary.h"
#include "command/terminal.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

struct stat_options {
  place_options place;
  row_options rows;
  std::string by;
  std::string weights;
  std::vector<double> quantiles;
  std::int32_t histogram = 0;  // classes
};

struct text_summary {
  std::int64_t count = 0;
  std::int64_t blank = 0;
  std::unordered_set<std::string> distinct;

  void add(const std::string& text) {
    ++count;
    if (text.empty())
      ++blank;
    else
      distinct.insert(text);
  }
};

// Of one variable in one group.
struct summary {
  number_summary numbers;
  text_summary texts;
};

// The length of a core, from the columns of its ends.
class core_length {
 public:
  static bool is_meant(client::table& file, const std::string& name) {
    return name == "length" && file.info().organisation == client::organisation::core_lines &&
           !file.owner().at(file.place()).variable_exists(name);
  }
  core_length(client::table& file, std::vector<client::column>& columns) : first_(columns.size()) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto& begin = file.info().core_begins[axis];
      const auto& end = file.info().core_ends[axis];
      if (!begin || !end) continue;
      columns.push_back(file.open(*begin));
      columns.push_back(file.open(*end));
      ++axes_;
    }
  }
  double of(const row_block& block, std::size_t row) const {
    double square = 0;
    for (std::size_t axis = 0; axis < axes_; ++axis) {
      const double step =
          block.values[first_ + 2 * axis + 1].numbers[row] - block.values[first_ + 2 * axis].numbers[row];
      square += step * step;
    }
    return std::sqrt(square);
  }

 private:
  std::size_t first_;
  std::size_t axes_ = 0;
};

// Everything that is read for the statistics of some columns.
class statistics {
 public:
  statistics(client::table& file, const stat_options& options, std::vector<client::column> columns)
      : options_(options), columns_(std::move(columns)), chosen_(columns_.size()) {
    if (!options.by.empty()) {
      columns_.push_back(file.open(options.by, options.place.index));
      by_.emplace(columns_.back());
    }
    if (options.weights.empty()) return;
    if (core_length::is_meant(file, options.weights)) {
      length_.emplace(file, columns_);
      return;
    }
    columns_.push_back(file.open(options.weights, options.place.index));
    if (columns_.back().is_text()) throw client::error("the weights \"" + options.weights + "\" are texts");
  }

  const std::vector<client::column>& columns() const { return columns_; }
  std::size_t size() const { return chosen_; }

  void add(const row_block& block) {
    const bool keeps_values = !options_.quantiles.empty() || options_.histogram > 0;
    const auto make = [&] { return std::vector<summary>(chosen_, {number_summary(keeps_values), {}}); };
    if (!by_ && groups_.empty()) groups_.emplace("", make());
    for (const std::size_t row : block.rows) {
      const double weight = weight_of(block, row);
      auto group = groups_.begin();
      if (by_) {
        const client::column_values& values = block.values[chosen_];
        const std::string name =
            columns_[chosen_].is_text() ? values.texts[row] : by_->text(values.numbers[row]);
        group = groups_.find(name);
        if (group == groups_.end()) group = groups_.emplace(name, make()).first;
      }
      for (std::size_t i = 0; i < chosen_; ++i)
        if (columns_[i].is_text())
          group->second[i].texts.add(block.values[i].texts[row]);
        else
          group->second[i].numbers.add(block.values[i].numbers[row], weight);
    }
  }

  // Of one column each group; of a column without samples one too.
  std::map<std::string, std::vector<summary>>& groups() {
    if (groups_.empty() && !by_) groups_.emplace("", chosen_);
    return groups_;
  }

 private:
  double weight_of(const row_block& block, std::size_t row) const {
    if (length_) return length_->of(block, row);
    return options_.weights.empty() ? 1 : block.values.back().numbers[row];
  }

  const stat_options& options_;
  std::vector<client::column> columns_;
  std::size_t chosen_;
  std::optional<number_writer> by_;
  std::optional<core_length> length_;
  std::map<std::string, std::vector<summary>> groups_;
};

std::string quantile_name(double part) {
  return "quantile " + client::number_text(part);
}

json told_numbers(const client::column& of, number_summary& numbers, const stat_options& options) {
  json result = {{"count", numbers.count()}, {"missing", numbers.missing()}};
  if (numbers.is_empty()) return result;
  // The number that a read of such a value prints: of 32 bits that with the fewest digits.
  const number_writer writer(of);
  const auto as_read = [&](double value) { return client::parse_number(writer.text(value)).value_or(value); };
  result["minimum"] = as_read(numbers.minimum());
  result["maximum"] = as_read(numbers.maximum());
  result["sum"] = numbers.sum();
  result["mean"] = numbers.mean();
  result["standard deviation"] = numbers.standard_deviation();
  if (!options.weights.empty()) result["weight"] = numbers.weight();
  const std::vector<double> quantiles = numbers.quantiles(options.quantiles);
  for (std::size_t i = 0; i < quantiles.size(); ++i)
    result[quantile_name(options.quantiles[i])] = as_read(quantiles[i]);
  if (options.histogram > 0)
    result["histogram"] = numbers.histogram(static_cast<std::size_t>(options.histogram));
  return result;
}

json told(const client::column& of, const std::string& group, summary& one, const stat_options& options) {
  json result = {{"variable", of.title}};
  if (!options.by.empty()) result[options.by] = group.empty() ? json() : json(group);
  if (!of.is_text()) result["unit"] = of.unit().empty() ? json() : json(of.unit());
  if (of.is_text())
    result.append(
        {{"count", one.texts.count}, {"blank", one.texts.blank}, {"distinct", one.texts.distinct.size()}});
  else
    result.append(told_numbers(of, one.numbers, options));
  return result;
}

void print_plainly(const json& summary) {
  for (const auto& [key, value] : *summary.as<json::members>()) {
    if (key == "variable")
      std::printf("%s\n", shown_text(value).c_str());
    else if (!value.is_null() && value.as<json::elements>() == nullptr)
      std::printf("  %-20s%s\n", key.c_str(), shown_text(value).c_str());
  }
}

void print_histogram(const number_summary& numbers, const stat_options& options) {
  if (options.histogram == 0 || numbers.is_empty()) return;
  for (const std::string& line : histogram_lines(numbers, static_cast<std::size_t>(options.histogram)))
    std::printf("  %s\n", line.c_str());
}

// A line for each variable and group.
void print_aligned(const json::elements& all, const stat_options& options) {
  std::set<std::string> known;
  for (const json& one : all)
    for (const auto& [key, value] : *one.as<json::members>()) known.insert(key);
  std::vector<std::string> keys = {"variable"};
  for (const std::string& key :
       {options.by, std::string("unit"), std::string("count"), std::string("missing"), std::string("blank"),
        std::string("distinct"), std::string("weight"), std::string("minimum")})
    if (known.contains(key)) keys.push_back(key);
  for (const double part : options.quantiles)
    if (known.contains(quantile_name(part))) keys.push_back(quantile_name(part));
  for (const char* key : {"maximum", "mean", "standard deviation"})
    if (known.contains(key)) keys.emplace_back(key);
  std::vector<aligned_table::heading> headings;
  for (const std::string& key : keys)
    headings.push_back({key.starts_with("quantile ") ? key.substr(9) : key,
                        key != "variable" && key != "unit" && key != options.by});
  aligned_table table(headings);
  for (const json& one : all) {
    std::vector<std::string> cells;
    for (const std::string& key : keys) {
      const auto* number = one[key].as<double>();
      cells.push_back(number != nullptr ? shown_numbers({*number})[0] : shown_text(one[key]));
    }
    table.add(std::move(cells));
  }
  table.print();
}

std::vector<client::column> wanted_columns(client::table& file, const std::vector<std::string>& names,
                                           const std::string& index) {
  if (!names.empty()) return open_columns(file, names, index);
  std::vector<client::column> columns;
  for (client::column& one : file.columns())
    if (!one.is_text() && !one.is_selection() && !one.info.implicit) columns.push_back(std::move(one));
  return columns;
}

void tell(const common_options& common, const stat_options& given) {
  need_names(given.place.words, 3, "STUDY DIRECTORY FILE");
  for (const double part : given.quantiles)
    if (!(part >= 0 && part <= 1)) throw wrong_usage("--quantiles takes parts of 1, such as 0.25,0.5");
  with_database(common, [&](client::database& all) {
    stat_options options = given;
    client::table file(all, take_file(all, options.place.words));
    all.use_unit(options.place.unit);
    const bool is_table = is_watched() && !common.json;
    if (is_table && options.quantiles.empty()) options.quantiles = {0.25, 0.5, 0.75};
    statistics found(file, options, wanted_columns(file, options.place.words, options.place.index));
    if (found.size() > 0)
      read_rows(file, found.columns(), options.place, options.rows, common.quiet,
                [&](const row_block& block) { found.add(block); });
    const pager shown(common.paged);
    json::elements told_all;
    for (std::size_t i = 0; i < found.size(); ++i)
      for (auto& [group, summaries] : found.groups()) {
        told_all.push_back(told(found.columns()[i], group, summaries[i], options));
        if (common.json || is_table) continue;
        print_plainly(told_all.back());
        print_histogram(summaries[i].numbers, options);
      }
    if (common.json) std::printf("%s\n", json_text(told_all).c_str());
    if (!is_table) return;
    print_aligned(told_all, options);
    if (options.histogram == 0) return;
    for (std::size_t i = 0; i < found.size(); ++i)
      for (auto& [group, summaries] : found.groups()) {
        std::printf("\n%s%s%s\n", found.columns()[i].title.c_str(), group.empty() ? "" : ", ", group.c_str());
        print_histogram(summaries[i].numbers, options);
      }
  });
}

}  // namespace

void add_stat_command(const command_line& program, const common_options& common) {
  const command_line command = program.add_subcommand(
      "stat",
      "Count, missing values, minimum, maximum, sum, mean, standard deviation (divided by the count)");
  auto options = std::make_shared<stat_options>();
  add_names(command, options->place.words, "STUDY DIRECTORY FILE [VARIABLE...]",
            "The file, also as STUDY/DIRECTORY/FILE, and its variables (default: all that hold numbers)");
  add_range_options(command, options->place);
  add_filter_options(command, options->rows);
  command
      .add_option("--by", options->by, "For each value of this variable apart, such as a text or a selection")
      .type_name("VARIABLE");
  command
      .add_option(
          "--weights", options->weights,
          "What each sample weighs: a variable; \"length\" is that of a core unless a variable has the name")
      .type_name("VARIABLE");
  command.add_option("--quantiles", options->quantiles, "Quantiles, such as 0.1,0.5,0.9")
      .type_name("PART,...")
      .separated_by(',');
  command.add_option("--histogram", options->histogram, "A histogram of so many classes").range(1, 1000);
  add_index_option(command, options->place);
  add_unit_options(command, options->place.unit);
  command.callback([options, &common] { tell(common, *options); });
}

}  // namespace qrd::command

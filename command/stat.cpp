// qrd stat: what the values of a variable are like.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <unordered_set>

#include "command/column.h"
#include "command/options.h"
#include "command/output.h"
#include "command/session.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

struct stat_options {
  place_options place;
  std::vector<std::string> variables;
};

// The number that a read of such a value prints: of 32 bits that with the fewest digits.
double as_read(const column& of, double value) {
  column_values one;
  one.numbers.values = {value};
  return client::parse_number(cell_text(of, one, 0)).value_or(value);
}

// Mean and squared deviation in one pass, without the loss that a sum of squares has (Welford 1962).
class number_summary {
 public:
  void add(const client::float_samples& samples) {
    for (const double value : samples.values) {
      ++count_;
      if (value == samples.missing) {
        ++missing_;
        continue;
      }
      minimum_ = std::min(minimum_, value);
      maximum_ = std::max(maximum_, value);
      sum_ += value;
      const double step = value - mean_;
      mean_ += step / static_cast<double>(count_ - missing_);
      deviation_ += step * (value - mean_);
    }
  }

  json told(const column& of) const {
    json result = {{"count", count_}, {"missing", missing_}};
    if (count_ == missing_) return result;
    result["minimum"] = as_read(of, minimum_);
    result["maximum"] = as_read(of, maximum_);
    result["sum"] = sum_;
    result["mean"] = mean_;
    result["standard deviation"] = std::sqrt(deviation_ / static_cast<double>(count_ - missing_));
    return result;
  }

 private:
  std::int64_t count_ = 0;
  std::int64_t missing_ = 0;
  double minimum_ = HUGE_VAL;
  double maximum_ = -HUGE_VAL;
  double sum_ = 0;
  double mean_ = 0;
  double deviation_ = 0;
};

class text_summary {
 public:
  void add(const client::text_samples& samples) {
    for (const std::string& text : samples.values) {
      ++count_;
      if (text.empty())
        ++blank_;
      else
        distinct_.insert(text);
    }
  }

  json told() const { return {{"count", count_}, {"blank", blank_}, {"distinct", distinct_.size()}}; }

 private:
  std::int64_t count_ = 0;
  std::int64_t blank_ = 0;
  std::unordered_set<std::string> distinct_;
};

json summarise(client::connection& server, const column& chosen,
               const std::optional<client::sample_range>& range, const place_options& place, bool quiet) {
  number_summary numbers;
  text_summary texts;
  if (range)
    read_pieces(server, {chosen}, *range, place.use(), quiet, [&](const std::vector<column_values>& values) {
      if (chosen.is_text())
        texts.add(values[0].texts);
      else
        numbers.add(values[0].numbers);
    });
  json result = {{"variable", chosen.title}};
  if (!chosen.is_text()) result["unit"] = chosen.unit().empty() ? json() : json(chosen.unit());
  result.append(chosen.is_text() ? texts.told() : numbers.told(chosen));
  return result;
}

void print_summary(const json& summary) {
  for (const auto& [key, value] : *summary.as<json::members>()) {
    if (key == "variable")
      std::printf("%s\n", shown_text(value).c_str());
    else if (!value.is_null())
      std::printf("  %-20s%s\n", key.c_str(), shown_text(value).c_str());
  }
}

void tell(const common_options& common, const stat_options& options) {
  with_session(common, [&](session& server) {
    open_place(*server, options.place);
    const auto range = wanted_range(*server, options.place, server->file_info().samples);
    json::elements all;
    for (const std::string& name : options.variables) {
      const column chosen = open_column(*server, name, options.place.index);
      all.push_back(summarise(*server, chosen, range, options.place, common.quiet));
    }
    if (common.json)
      std::printf("%s\n", json_text(all).c_str());
    else
      for (const json& one : all) print_summary(one);
  });
}

}  // namespace

void add_stat_command(const command_line& program, const common_options& common) {
  const command_line command = program.add_subcommand(
      "stat",
      "Count, missing values, minimum, maximum, sum, mean, standard deviation (divided by the count)");
  auto options = std::make_shared<stat_options>();
  add_file_arguments(command, options->place);
  command.add_option("variables", options->variables, "Names; a macro column also as stem[12] or stem{name}")
      .required()
      .type_name("VARIABLE");
  add_range_options(command, options->place);
  command.add_option("--index", options->place.index, "Column of macro variables, by number or name");
  add_unit_options(command, options->place.unit);
  command.callback([options, &common] { tell(common, *options); });
}

}  // namespace qrd::command

#include "command/rows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <utility>

#include "command/condition.h"
#include "command/interruption.h"
#include "command/progress.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

// What is read: the columns asked for, and behind them those that the choice needs.
class column_set {
 public:
  explicit column_set(const std::vector<client::column>& columns) : columns_(columns) {}

  std::size_t place_of(client::column one) {
    const auto known = std::find_if(columns_.begin(), columns_.end(),
                                    [&](const auto& other) { return other.variable == one.variable; });
    const auto place = static_cast<std::size_t>(known - columns_.begin());
    if (known == columns_.end()) columns_.push_back(std::move(one));
    return place;
  }
  const std::vector<client::column>& columns() const { return columns_; }

 private:
  std::vector<client::column> columns_;
};

// Looks at one row of the values that were read.
using row_test = std::function<bool(std::span<const client::column_values>, std::size_t row)>;

row_test condition_test(client::table& file, const place_options& place, const std::string& text,
                        column_set& read) {
  const auto wanted = std::make_shared<condition>(text);
  std::vector<std::size_t> places;
  std::vector<bool> is_text;
  for (const std::string& name : wanted->names()) {
    places.push_back(read.place_of(file.open(name, place.index)));
    is_text.push_back(read.columns()[places.back()].is_text());
  }
  wanted->check(is_text);
  return [wanted, places, of = std::vector<const client::column_values*>(places.size())](
             std::span<const client::column_values> values, std::size_t row) mutable {
    for (std::size_t i = 0; i < places.size(); ++i) of[i] = &values[places[i]];
    return wanted->holds(of, row);
  };
}

row_test box_test(client::table& file, const std::string& text, column_set& read) {
  const std::vector<bounds> box = parse_bounds(text, 3, "--box");
  std::vector<std::size_t> places;
  for (std::size_t axis = 0; axis < box.size(); ++axis)
    places.push_back(read.place_of(file.open(std::string(1, static_cast<char>('x' + axis)))));
  return [box, places](std::span<const client::column_values> values, std::size_t row) {
    for (std::size_t axis = 0; axis < box.size(); ++axis) {
      const double place = values[places[axis]].numbers[row];
      if (!(place >= box[axis].lowest && place <= box[axis].highest)) return false;
    }
    return true;
  };
}

// A part of a grid: nodes from 1, the last axis the fastest.
struct node_block {
  std::int64_t counts[3];
  std::int64_t first[3];
  std::int64_t last[3];

  std::int64_t sample(const std::int64_t (&node)[3]) const {
    return ((node[0] - 1) * counts[1] + node[1] - 1) * counts[2] + node[2];
  }
  bool holds(std::int64_t sample) const {
    std::int64_t rest = sample - 1;
    for (int axis = 2; axis >= 0; --axis) {
      const std::int64_t node = rest % counts[axis] + 1;
      if (node < first[axis] || node > last[axis]) return false;
      rest /= counts[axis];
    }
    return true;
  }
};

node_block parse_nodes(const client::table& file, const std::string& text) {
  if (!file.is_grid()) throw client::error("--nodes is for grids, and this file is none");
  const client::file_info& info = file.info();
  node_block block{
      {info.nx, info.ny, std::max(1, info.nz)}, {1, 1, 1}, {info.nx, info.ny, std::max(1, info.nz)}};
  const std::vector<bounds> wanted = parse_bounds(text, static_cast<std::size_t>(info.dimension), "--nodes");
  for (std::size_t axis = 0; axis < wanted.size(); ++axis) {
    const auto count = static_cast<double>(block.counts[axis]);
    const double lowest = std::max(1.0, std::ceil(wanted[axis].lowest));
    const double highest = std::min(count, std::floor(wanted[axis].highest));
    if (!(lowest <= highest))
      throw client::error("--nodes " + text + ": axis " + std::to_string(axis + 1) + " has the nodes 1 to " +
                          std::to_string(block.counts[axis]));
    block.first[axis] = static_cast<std::int64_t>(lowest);
    block.last[axis] = static_cast<std::int64_t>(highest);
  }
  return block;
}

struct sort_key {
  std::size_t place;
  bool falls;
};

std::vector<sort_key> parse_keys(client::table& file, const place_options& place, const row_options& rows,
                                 column_set& read) {
  std::vector<sort_key> keys;
  for (const std::string& name : rows.sort) {
    const bool falls = name.starts_with('-');
    keys.push_back({read.place_of(file.open(name.substr(falls ? 1 : 0), place.index)), falls});
  }
  return keys;
}

// Missing values come last in both directions.
template <typename T, typename Missing>
int compared(const T& a, const T& b, bool falls, const Missing& is_missing) {
  if (is_missing(a) || is_missing(b))
    return static_cast<int>(is_missing(a)) - static_cast<int>(is_missing(b));
  const int order = a < b ? -1 : b < a ? 1 : 0;
  return falls ? -order : order;
}

int compared(const client::column_values& values, std::size_t a, std::size_t b, bool falls) {
  if (!values.texts.empty())
    return compared(values.texts[a], values.texts[b], falls,
                    [](const std::string& one) { return one.empty(); });
  return compared(values.numbers[a], values.numbers[b], falls, [](double one) { return std::isnan(one); });
}

// All rows that are wanted, until the last is read.
class kept_rows {
 public:
  explicit kept_rows(std::size_t columns) : values_(columns) {}

  void add(std::span<const client::column_values> values, std::span<const std::size_t> rows) {
    for (std::size_t i = 0; i < values.size(); ++i)
      for (const std::size_t row : rows)
        if (values[i].texts.empty())
          values_[i].numbers.push_back(values[i].numbers[row]);
        else
          values_[i].texts.push_back(values[i].texts[row]);
    size_ += rows.size();
  }

  void give(const std::vector<sort_key>& keys, std::int64_t limit, std::size_t columns,
            const std::function<void(const row_block&)>& take) const {
    std::vector<std::size_t> order(size_);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      for (const sort_key& key : keys)
        if (const int result = compared(values_[key.place], a, b, key.falls); result != 0) return result < 0;
      return false;
    });
    order.resize(std::min(order.size(), static_cast<std::size_t>(limit)));
    take({std::span(values_).first(columns), order});
  }

 private:
  std::vector<client::column_values> values_;
  std::size_t size_ = 0;
};

// Ends a reading whose rows suffice.
struct enough {};

}  // namespace

void add_filter_options(const command_line& command, row_options& rows) {
  command
      .add_option("--where", rows.where,
                  "Only samples of which this is true, such as 'Cu > 2 and rock == \"MASU\"'")
      .type_name("CONDITION");
  command.add_option("--box", rows.box, "Only samples that lie between these coordinates, ends included")
      .type_name("X0:X1,Y0:Y1[,Z0:Z1]");
  command.add_option("--nodes", rows.nodes, "Only these nodes of a grid, from 1")
      .type_name("I0:I1,J0:J1[,K0:K1]");
}

void add_order_options(const command_line& command, row_options& rows) {
  command.add_option("--sort", rows.sort, "Order by this variable; with - before it the greatest first")
      .type_name("[-]VARIABLE")
      .one_at_a_time();
  command.add_option("--limit", rows.limit, "At most so many samples").type_name("N");
}

std::vector<bounds> parse_bounds(const std::string& text, std::size_t most_axes, const std::string& option) {
  const auto fail = [&] {
    throw client::error(
        option + " takes a range for each axis, such as 10:20,:5,3 for 10 to 20, up to 5, and 3: not \"" +
        text + "\"");
  };
  std::vector<bounds> all;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    const std::string axis = text.substr(begin, end - begin);
    const std::size_t colon = axis.find(':');
    const auto side = [&](const std::string& number, double open) {
      if (number.empty() && colon != std::string::npos) return open;
      const auto value = client::parse_number(number);
      if (!value) fail();
      return *value;
    };
    const double lowest = side(axis.substr(0, colon), -HUGE_VAL);
    all.push_back({lowest, colon == std::string::npos ? lowest : side(axis.substr(colon + 1), HUGE_VAL)});
    begin = end + 1;
  }
  if (all.size() > most_axes) fail();
  return all;
}

void read_rows(client::table& file, const std::vector<client::column>& columns, const place_options& place,
               const row_options& rows, bool quiet, const std::function<void(const row_block&)>& take) {
  auto wish = reading_of(file, place);
  const std::int64_t limit = rows.limit.value_or(std::numeric_limits<std::int64_t>::max());
  if (limit < 1) throw client::error("--limit takes a number from 1");
  if (!wish) return;
  column_set read(columns);
  std::vector<row_test> tests;
  if (!rows.where.empty()) tests.push_back(condition_test(file, place, rows.where, read));
  if (!rows.box.empty()) tests.push_back(box_test(file, rows.box, read));
  const std::vector<sort_key> keys = parse_keys(file, place, rows, read);
  const bool leaves_out = wish->use == client::selection_use::compressed;
  std::optional<node_block> nodes;
  if (!rows.nodes.empty()) {
    if (leaves_out) throw client::error("--nodes and --compress don't go together");
    nodes = parse_nodes(file, rows.nodes);
    wish->range->first = std::max(wish->range->first, nodes->sample(nodes->first));
    wish->range->last = std::min(wish->range->last, nodes->sample(nodes->last));
    if (wish->range->last < wish->range->first) return;
  }
  if (tests.empty() && !nodes && keys.empty() && !leaves_out &&
      wish->range->last - wish->range->first >= limit)
    wish->range->last = wish->range->first + limit - 1;

  // Without a column nobody could tell when the samples end.
  if (read.columns().empty()) read.place_of(file.open(file.names().at(0)));
  progress_bar bar("reading", 0, quiet);
  wish->progress = bar.function();
  kept_rows kept(read.columns().size());
  std::int64_t next = wish->range->first;
  std::int64_t given = 0;
  std::vector<std::size_t> chosen;
  const auto choose = [&](std::span<const client::column_values> values) {
    check_interruption();
    const std::size_t size = read.columns()[0].is_text() ? values[0].texts.size() : values[0].numbers.size();
    chosen.clear();
    for (std::size_t row = 0; row < size; ++row) {
      if (nodes && !nodes->holds(next + static_cast<std::int64_t>(row))) continue;
      if (std::all_of(tests.begin(), tests.end(), [&](const row_test& test) { return test(values, row); }))
        chosen.push_back(row);
    }
    const std::int64_t first = std::exchange(next, next + static_cast<std::int64_t>(size));
    if (!keys.empty()) {
      kept.add(values, chosen);
      return;
    }
    chosen.resize(std::min(chosen.size(), static_cast<std::size_t>(limit - given)));
    given += static_cast<std::int64_t>(chosen.size());
    take({values.first(columns.size()), chosen, first});
    if (given == limit) throw enough();
  };
  try {
    file.read(read.columns(), *wish, choose);
  } catch (const enough&) {
    return;
  }
  if (!keys.empty()) kept.give(keys, limit, columns.size(), take);
}

}  // namespace qrd::command

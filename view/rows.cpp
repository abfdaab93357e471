// A piece of a table.
#include <cmath>

#include "view/answers.h"

namespace qrd::view {

answer rows_answer(source& from, const query& asked) {
  constexpr std::int64_t most_rows = 1000;
  constexpr std::size_t most_columns = 200;
  const std::int64_t first = asked.number("first", 1, INT64_MAX);
  const std::int64_t last = asked.number("last", 1, INT64_MAX);
  if (last < first || last - first >= most_rows) throw bad_query("too many rows are asked for");
  const std::vector<std::string> names = asked.texts("variable");
  if (names.size() > most_columns) throw bad_query("too many variables are asked for");
  return from.with([&](client::database& database) {
    client::table file(database, asked.place());
    const client::reading wish{client::sample_range{first, std::min(last, file.samples())}, {}, {}, {}, {}};
    json columns = json::array();
    for (const std::string& name : names) {
      const client::column_values values = file.read(file.open(name), wish);
      json one = json::array();
      for (const double value : values.numbers) one.push_back(std::isnan(value) ? json() : json(value));
      for (const std::string& text : values.texts) one.push_back(text.empty() ? json() : json(text));
      columns.push_back(one);
    }
    return json_answer({{"first", first}, {"samples", file.samples()}, {"columns", columns}});
  });
}

}  // namespace qrd::view

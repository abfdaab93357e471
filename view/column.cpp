// The values of a variable, piece by piece.
#include <algorithm>
#include <unordered_map>

#include "view/answers.h"
#include "view/pieces.h"

namespace qrd::view {

namespace {

// Of the values of a column those that are wanted.
class column_reader {
 public:
  column_reader(source& from, const query& asked)
      : every_(asked.number_or("every", 1, 1, INT32_MAX)),
        pieces_(from, asked, {{}, {}, {}, asked.text_or("unit", {}), {}}) {}

  bool is_text() const { return pieces_.column().is_text(); }

  // Gives `take` the values of the next piece that are wanted; false at the end.
  template <typename Take>
  bool next(const Take& take) {
    const std::int64_t first = pieces_.done();
    const auto values = pieces_.next();
    if (!values) return false;
    for (std::int64_t sample = first; sample < pieces_.done(); ++sample)
      if (is_wanted(sample)) take(*values, static_cast<std::size_t>(sample - first));
    return true;
  }

 private:
  // The samples of a grid follow each other along Z, then Y, then X.
  bool is_wanted(std::int64_t sample) const {
    if (every_ == 1) return true;
    if (!pieces_.file().is_grid()) return sample % every_ == 0;
    const client::file_info& info = pieces_.file().info();
    const std::int64_t nz = info.dimension == 3 ? std::max(1, info.nz) : 1;
    const std::int64_t ny = std::max(1, info.ny);
    return sample % nz % every_ == 0 && sample / nz % ny % every_ == 0 && sample / nz / ny % every_ == 0;
  }

  std::int64_t every_;
  column_pieces pieces_;
};

}  // namespace

answer column_answer(source& from, const query& asked) {
  const auto reader = std::make_shared<column_reader>(from, asked);
  if (reader->is_text()) throw bad_query("the variable holds texts");
  return {"application/octet-stream", {}, [reader] {
            std::vector<double> wanted;
            while (wanted.empty() && reader->next([&](const auto& values, std::size_t i) {
              wanted.push_back(values.numbers[i]);
            })) {
            }
            return bytes_of(std::span<const double>(wanted));
          }};
}

answer classes_answer(source& from, const query& asked) {
  static constexpr std::uint16_t missing = 65535;
  static constexpr std::uint16_t other = 65534;
  constexpr std::size_t most = 1000;
  struct state {
    state(source& of, const query& query) : reader(of, query) {}
    column_reader reader;
    std::unordered_map<std::string, std::uint16_t> codes;
    json labels = json::array();
    bool told = false;
  };
  const auto reading = std::make_shared<state>(from, asked);
  if (!reading->reader.is_text()) throw bad_query("the variable holds numbers");
  return {
      "application/octet-stream", {}, [reading] {
        std::vector<std::uint16_t> wanted;
        const auto take = [&](const client::column_values& values, std::size_t i) {
          const std::string& text = values.texts[i];
          auto found = reading->codes.find(text);
          if (found == reading->codes.end() && !text.empty() && reading->codes.size() < most) {
            found = reading->codes.emplace(text, static_cast<std::uint16_t>(reading->codes.size())).first;
            reading->labels.push_back(text);
          }
          wanted.push_back(text.empty() ? missing : found == reading->codes.end() ? other : found->second);
        };
        while (wanted.empty() && reading->reader.next(take)) {
        }
        if (!wanted.empty() || reading->told) return bytes_of(std::span<const std::uint16_t>(wanted));
        reading->told = true;
        return command::json_text(reading->labels, -1);
      }};
}

}  // namespace qrd::view

#include "qrd/names.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

#include "qrd/blanks.h"
#include "qrd/error.h"
#include "qrd/wire.h"

namespace qrd::client {

namespace {

constexpr std::string_view reserved[] = {"None", "New Directory", "New File", "New Variable"};
constexpr std::string_view macro_suffix = "[xxxxx]";

// Lower case, without blanks.
std::string folded(std::string_view text) {
  std::string result;
  for (const char character : text)
    if (character != ' ') result += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  return result;
}

// How many letters have to be put in, left out or changed to make one text of the other (Levenshtein).
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

void check_new_name(std::string_view name, std::string_view what) {
  const auto fail = [&](const std::string& rule) {
    throw error("a " + std::string(what) + " cannot have the name \"" + std::string(name) + "\": " + rule);
  };
  std::string_view text = without_blanks(name);
  if (text.ends_with(macro_suffix)) text = without_blanks(text.substr(0, text.size() - macro_suffix.size()));
  if (text.empty()) fail("it is blank");
  if (name.size() > max_name)
    fail("it has " + std::to_string(name.size()) + " bytes, and at most " + std::to_string(max_name) +
         " are kept");
  if (std::find(std::begin(reserved), std::end(reserved), text) != std::end(reserved))
    fail("it is a reserved word");
  const bool printable = std::all_of(text.begin(), text.end(), [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x20 && byte != 0x7f && byte != 0xff;
  });
  if (!printable) fail("it has control characters");
  if (text.find_first_of("[]{}") != std::string_view::npos)
    fail("brackets are for columns of macro variables");
}

std::vector<std::string> near_names(std::string_view name, const std::vector<std::string>& known) {
  constexpr std::size_t most = 3;
  const std::string wanted = folded(name);
  // A third of the letters may be wrong; of a short name none.
  const std::size_t farthest = wanted.size() < 3 ? 0 : wanted.size() / 3;
  std::vector<std::pair<std::size_t, std::string>> found;
  for (const std::string& one : known) {
    const std::string other = folded(one);
    const std::size_t away = distance(wanted, other);
    if (away <= farthest)
      found.emplace_back(away, one);
    else if (wanted.size() >= 2 && other.starts_with(wanted))
      found.emplace_back(wanted.size(), one);
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> names;
  for (std::size_t i = 0; i < std::min(found.size(), most); ++i) names.push_back(found[i].second);
  return names;
}

std::string did_you_mean(std::string_view name, const std::vector<std::string>& known) {
  const std::vector<std::string> near = near_names(name, known);
  std::string text;
  for (std::size_t i = 0; i < near.size(); ++i)
    text += (i == 0 ? ": did you mean \"" : i + 1 == near.size() ? "\" or \"" : "\", \"") + near[i];
  return near.empty() ? text : text + "\"?";
}

}  // namespace qrd::client

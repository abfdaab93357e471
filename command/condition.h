// Conditions on samples, such as `Cu > 2 and rock == "MASU"`. docs/command.md describes the language.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qrd/table.h"

namespace qrd::command {

struct condition_node;

class condition {
 public:
  // A text that is no condition is an `error` that points at the place.
  explicit condition(const std::string& text);
  condition(condition&& other) noexcept;
  ~condition();

  // The variables that it speaks of, each once.
  const std::vector<std::string>& names() const { return names_; }
  // Says for each name whether it holds texts. An `error` where numbers and texts don't fit together.
  void check(const std::vector<bool>& is_text);
  // Whether a sample fulfils it; what can't be told for want of a value isn't fulfilled. `values` are those
  // of the names, in their order. REQUIRES: check() went well.
  bool holds(std::span<const client::column_values* const> values, std::size_t row) const;

 private:
  std::string text_;
  std::vector<std::string> names_;
  std::unique_ptr<condition_node> root_;
};

}  // namespace qrd::command

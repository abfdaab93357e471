// The standard output where somebody looks at it: a pager, aligned tables, colours.
#pragma once

#include <string>
#include <vector>

#include "qrd/resources.h"

namespace qrd::command {

// Whether the standard output is a terminal, or a pager on one.
bool is_watched();
// Whether it shows colours: not where NO_COLOR is set to something.
bool has_colours();

// A piece of text on that colour, as wide as two characters; empty without colours.
std::string swatch(const client::rgb& colour);

// While one lives, what goes to a terminal goes through the pager that QRD_PAGER or PAGER names, else through
// "less -FRX". An empty name and "cat" mean none. To be made before the first output; it ends when the user
// leaves the pager.
class pager {
 public:
  explicit pager(bool wanted);
  pager(const pager&) = delete;
  pager& operator=(const pager&) = delete;
  ~pager();

 private:
  bool runs_ = false;
};

// A table with aligned columns, for a terminal.
class aligned_table {
 public:
  struct heading {
    std::string text;
    bool is_number = false;  // stands to the right
  };
  explicit aligned_table(std::vector<heading> headings) : headings_(std::move(headings)) {}

  // As many cells as there are headings.
  void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  void print(bool with_headings = true);

 private:
  std::vector<heading> headings_;
  std::vector<std::vector<std::string>> rows_;
};

// Numbers of one column for a reader: as many decimals for each as the column needs to show seven digits of
// its greatest number; empty where missing.
std::vector<std::string> shown_numbers(const std::vector<double>& numbers);

}  // namespace qrd::command

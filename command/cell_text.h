// Values of a column as text.
#pragma once

#include <string>

#include "qrd/table.h"

namespace qrd::command {

// Writes the numbers of a column with the fewest digits that stand for the same stored value.
class number_writer {
 public:
  // REQUIRES: the unit of the column is the one that the numbers are told in.
  explicit number_writer(const client::column& of);

  // Longest text of a number.
  static constexpr std::size_t most = 32;
  // Writes it without an end; returns where it ends. REQUIRES: a number that is not missing, and room for
  // `most` characters.
  char* write(char* to, double value) const;
  // Empty for a missing one.
  std::string text(double value) const;

 private:
  enum class form { plain, single, length } form_ = form::plain;
  double factor_ = 1;
};

}  // namespace qrd::command

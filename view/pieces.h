// A column, read piece by piece: others have their turn at the database between two of them, and a file of
// any length takes the memory of one.
#pragma once

#include <optional>

#include "view/answer.h"
#include "view/source.h"

namespace qrd::view {

class column_pieces {
 public:
  // The variable of the file that is asked for. `how` tells selection and unit; a selection leaves out what
  // it doesn't take.
  column_pieces(source& from, const query& asked, client::reading how);

  const client::table& file() const { return *file_; }
  const client::column& column() const { return column_; }
  bool is_one() const { return file_->samples() <= piece_; }
  // How many samples the pieces had that were read.
  std::int64_t done() const { return done_; }

  // Nothing behind the last one. A file that has become shorter is an `error`.
  std::optional<client::column_values> next();
  // The first one comes again.
  void begin_again() { done_ = 0; }

 private:
  source& from_;
  client::reading how_;
  std::optional<client::table> file_;
  client::column column_;
  std::int64_t piece_ = 0;
  std::int64_t done_ = 0;
};

}  // namespace qrd::view

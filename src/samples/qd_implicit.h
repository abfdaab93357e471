// Variables whose values are computed.
#pragma once

#include <cstdint>
#include <vector>

#include "samples/qd_variable_table.h"

namespace qrd {

// Whether an implicit variable of this kind has values.
bool qd_is_computed_kind(int kind);

// What the values of a computed variable follow from.
class computed_values {
 public:
  // Reads all that is on disk of it. False if another server has deleted or changed the file, if its line
  // table is damaged, and for a kind without values.
  bool open(const qd_selected_entry& entry);
  // The values of the samples first to last, of any number that the file may have. REQUIRES: open.
  void get(std::int64_t first, std::int64_t last, double* values) const;

 private:
  const qd_selected_entry* entry_ = nullptr;
  std::vector<std::int64_t> offsets_;  // of the lines
};

}  // namespace qrd

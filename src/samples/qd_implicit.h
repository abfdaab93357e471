// Variables whose values are computed.
#pragma once

#include <cstdint>

#include "disk/qd_line_table.h"
#include "samples/qd_variable_table.h"

namespace qrd {

// Whether an implicit variable of this kind has values.
bool qd_is_computed_kind(int kind);

// What the values of a computed variable follow from.
class computed_values {
 public:
  // Reads what is on disk for the samples first to last. False if another server has deleted or changed the
  // file, if its line table is damaged there, and for a kind without values.
  bool open(const qd_selected_entry& entry, std::int64_t first, std::int64_t last);
  // The values of some of these samples. REQUIRES: open.
  void get(std::int64_t first, std::int64_t last, double* values) const;

 private:
  const qd_selected_entry* entry_ = nullptr;
  line_table_part lines_;
};

}  // namespace qrd

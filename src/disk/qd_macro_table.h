// Macro variables: a family of columns under one name stem[xxxxx], told apart by an index.
#pragma once

#include <cstdint>
#include <vector>

#include "disk/qd_descriptor.h"
#include "util/qu_constants.h"
#include "util/qu_list.h"

namespace qrd {

inline constexpr std::int64_t macro_index_maximum = 99999;
inline constexpr char macro_file_name[] = "MACRO";
inline constexpr char generic_index[] = "xxxxx";

struct qd_macro_descr {
  // Index of each slot, in order of creation: above 0 valid, 0 free, below 0 retired.
  std::vector<std::int64_t> indices;
  // One text per slot, or empty (null list).
  string_list alpha_indices;
  std::int64_t slot_count() const { return static_cast<std::int64_t>(indices.size()); }
  // Position of a valid index, or -1.
  std::int64_t slot_of(std::int64_t index) const;
};

qd_macro_descr* qd_macro_descr_new(std::int64_t slots);
qd_macro_descr* qd_macro_descr_free(qd_macro_descr* descriptor);
// Null after a report if the file is missing, can't be read or is corrupted; without one if another server
// has deleted the variable. `state` (or null) tells which.
[[nodiscard]] qd_macro_descr* qd_macro_descr_read(const char* variable_path, object_state* state = nullptr);
// Other servers see the old file or the new one.
object_state qd_macro_descr_write(const char* variable_path, const qd_macro_descr& descriptor);

// Owns a descriptor.
class macro_descriptor {
 public:
  explicit macro_descriptor(qd_macro_descr* descriptor) : descriptor_(descriptor) {}
  macro_descriptor(const macro_descriptor&) = delete;
  macro_descriptor& operator=(const macro_descriptor&) = delete;
  ~macro_descriptor() { qd_macro_descr_free(descriptor_); }
  explicit operator bool() const { return descriptor_ != nullptr; }
  qd_macro_descr* operator->() const { return descriptor_; }
  qd_macro_descr& operator*() const { return *descriptor_; }

 private:
  qd_macro_descr* descriptor_;
};

// What index a name carries.
enum class index_form {
  none,
  number,  // stem[12]
  text,    // stem{gold}
  generic  // stem[xxxxx] or stem{xxxxx}
};
index_form qd_macro_name_kind(const char* name);
// True if a name means one column of a macro variable, by its number or its text.
inline bool qd_macro_names_column(const char* name) {
  const index_form form = qd_macro_name_kind(name);
  return form == index_form::number || form == index_form::text;
}
// Makes stem[12] and stem{gold} into stem[xxxxx]; true if changed. A bracket at position 43 gives a name that
// no object has. REQUIRES: none behind it.
bool qd_macro_name_generic(name_text& name);
// The name under which the catalogue holds a variable: stem[12] and stem{gold} become stem[xxxxx]. False if
// no object can have it, because it doesn't fit a descriptor.
[[nodiscard]] bool qd_catalogue_name(const char* variable, name_text& name);
// The number of a square-bracket name, -1 for xxxxx, 0 if it is not one.
std::int64_t qd_macro_name_indice(const char* name);
// False after a report if no index can have that text.
[[nodiscard]] bool qd_macro_alpha_check(const char* text);
// The index that a name means: -1 generic, 0 unknown. `alpha` (or null) receives its text.
std::int64_t qd_macro_name_alpha_indice(const qd_macro_descr& descriptor, const char* name, name_text* alpha);

}  // namespace qrd

#include "samples/qd_macro_indices.h"

#include <algorithm>
#include <iterator>

#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "samples/qd_open_variable.h"
#include "util/qu_string.h"

namespace qrd {

std::optional<std::vector<std::int64_t>> qd_macro_get_sorted_indices(const qd_variable_handle& handle,
                                                                     string_list* alpha) {
  if (alpha != nullptr) alpha->clear();
  const qd_selected_entry* entry = qd_entry(handle.entry);
  if (entry == nullptr || !qd_two_files_available()) return std::nullopt;
  macro_descriptor descriptor(qd_macro_descr_read(entry->variable_path));
  if (!descriptor) return std::nullopt;

  std::vector<std::int64_t> slots, sorted;
  for (std::int64_t slot = 0; slot < descriptor->slot_count(); ++slot)
    if (descriptor->indices[static_cast<std::size_t>(slot)] > 0) slots.push_back(slot);
  const auto index_of = [&](std::int64_t slot) {
    return descriptor->indices[static_cast<std::size_t>(slot)];
  };
  std::ranges::sort(slots, {}, index_of);
  std::ranges::transform(slots, std::back_inserter(sorted), index_of);
  if (alpha != nullptr && descriptor->alpha_indices.get() != nullptr)
    for (std::int64_t slot : slots) alpha->add(descriptor->alpha_indices[slot], name_size);
  return sorted;
}

std::optional<std::vector<std::int64_t>> qd_macro_indices(const qd_variable_place& place,
                                                          const char* directory, const char* file,
                                                          const char* variable, string_list* alpha) {
  if (alpha != nullptr) alpha->clear();
  // The indices are those of the whole family, also where the name is that of one column.
  name_text family;
  qu_path_join(family, {variable});
  qd_macro_name_generic(family);
  selected_variable selected;
  if (qd_free_entries() < 1 ||
      !qd_variable_select_at(place, directory, file, family, UNIT_NONE, selected.handle))
    return std::nullopt;
  return qd_macro_get_sorted_indices(selected.handle, alpha);
}

}  // namespace qrd

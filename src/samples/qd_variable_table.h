// Variables that are open for transfer. Ids are slot positions plus 1; 0 means none.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "disk/qd_records.h"
#include "util/qu_constants.h"
#include "util/qu_message.h"

namespace qrd {

inline constexpr int table_slots = 512;

struct qd_selected_entry {
  path_text variable_path = "";  // the key; the generic folder for all indices of a macro
  path_text file_path = "";
  name_text directory_name = "";
  name_text file_name = "";
  name_text variable_name = "";
  std::FILE* stream = nullptr;  // "DATAVAR" for update; null if implicit
  std::int64_t bit_length = 0;
  std::int64_t bytes_per_sample = 0;  // bit_length / 8
  std::int64_t reference_count = 0;
  std::int64_t sample_count = 0;
  std::int32_t type = VAR_FLOAT;
  std::int32_t kind = KIND_PLAIN;
  std::int64_t implicit = 0;
  qd_grid_record grid;  // of a grid file; for any other only nx = 0
};

struct qd_variable_handle {
  std::int64_t entry = 0;       // 0 in the empty handle
  double unit_factor = 1.0;     // stored value = caller's value * factor
  std::int64_t macro_slot = 0;  // -1: a generic handle, the index comes later
};

struct qd_io;

// A buffer of the sample engine, shared by all transfers.
struct scratch_buffer {
  void* data = nullptr;
  std::int64_t capacity = 0;  // bytes
};

struct sample_table_state {
  qd_selected_entry* selected[table_slots] = {};
  qd_io* io[table_slots] = {};
  scratch_buffer mask, work, work2;
};
extern sample_table_state sample_tables;

// How many more variables can be selected.
int qd_free_entries();
// The entry of an id, or null.
qd_selected_entry* qd_entry(std::int64_t id);
// The path of the data file in the folder of a variable.
void qd_data_path(const char* variable_path, path_text& path);
// True unless the file of an entry has another name now, or none: another server has deleted or replaced it.
bool qd_is_in_place(const qd_selected_entry& entry);
// The open entry of a variable folder, or null.
qd_selected_entry* qd_selected_find(const char* variable_path);
// The empty handle; harmless on an empty one. REQUIRES: any other is of a selected variable.
qd_variable_handle qd_variable_deselect(const qd_variable_handle& handle);
// Closes and frees an entry (not its slot): false for a null pointer and for a failed close, unless that is
// to be fatal. May end the process, as may all that call it.
bool _qd_tab_selected_entry_free(qd_selected_entry* entry, bool fatal_close);
// Releases every entry, whatever its count.
void qd_deselect_all();
// What the catalogue tells of a selected variable: false if it can't be found or read, or too many files
// are open. REQUIRES: it is selected.
[[nodiscard]] bool qd_info_var_ident(const qd_variable_handle& handle, qd_var_info& info);
// The first free place of a table. REQUIRES: there is one; else the software error `full` of `function`.
template <typename T>
int first_free_slot(T* const (&table)[table_slots], const char* function, int full) {
  auto slot = std::find(std::begin(table), std::end(table), nullptr);
  if (slot == std::end(table)) qu_misuse_number(function, full);
  return static_cast<int>(slot - std::begin(table));
}

// Owns one selection of a variable.
class selected_variable {
 public:
  selected_variable() = default;
  selected_variable(const selected_variable&) = delete;
  selected_variable& operator=(const selected_variable&) = delete;
  ~selected_variable() { deselect(); }
  void deselect() { handle = qd_variable_deselect(handle); }
  qd_variable_handle handle;
};

}  // namespace qrd

// Variables that are open for transfer (tab_selected), and the groups in which they are transferred
// (tab_io). Ids are slot positions plus 1; 0 means none.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "store/qd_records.h"
#include "util/qu_constants.h"

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

struct qd_io {
  std::vector<std::int64_t> variables;  // entry ids
  std::vector<double> unit_factors;
  std::vector<std::int64_t> macro_slots;
  std::vector<std::int64_t> macro_generic;  // 1: given by a generic handle
  std::int64_t selection = 0;               // entry id
  std::int64_t selection_slot = 0;
  std::int64_t unmasked_count = 0;  // always 0
};

enum unit_choice : int {
  UNIT_NONE = 0,      // values as stored
  UNIT_VARIABLE = 1,  // the variable's own factor
  UNIT_DISTANCE = 2   // the client's distance unit for lengths
};

extern qd_selected_entry* tab_selected[table_slots];
extern qd_io* tab_io[table_slots];

// How many more variables can be selected.
int qd_free_entries();
// The entry of an id, or null.
qd_selected_entry* qd_entry(std::int64_t id);
// True unless the file of an entry has another name now, or none: another server has deleted or replaced it.
bool qd_is_in_place(const qd_selected_entry& entry);
// The open entry of a variable folder, or null.
qd_selected_entry* qd_selected_find(const char* variable_path);

// What fails when the file system can't be asked.
inline constexpr char access_failed[] = "FILE SYSTEM ACCESS FAILED";
// 1 if two more files can be open, or 0 after the report that too many are.
int qd_two_files_available(const char* failed = access_failed, const char* before = "");

// 1, or 0 when too many files are open, the data file can't be decompressed or opened for writing, or there
// is no such variable or column: callers have tested that, but another server may delete or change it between
// the test and the selection.
int qd_variable_select(const char* directory, const char* file, const char* variable, unit_choice choice,
                       qd_variable_handle& handle);
// The same without a walk, for a variable whose own name was found at a place a moment ago: 0 also if another
// variable has that place now.
int qd_variable_select_at(const qd_variable_place& place, const char* directory, const char* file,
                          const char* variable, unit_choice choice, qd_variable_handle& handle);
// The stored or computed coordinates of a file: dimension 2 or 3 and as many handles. 0 if one of them
// can't be selected.
int qd_coordinates_select(const char* directory, const char* file, unit_choice choice,
                          std::int64_t& dimension, qd_variable_handle (&handles)[3]);
// "None" gives the empty handle. 0 if the name isn't a selection of this file.
int qd_selection_select(const char* directory, const char* file, const char* selection,
                        qd_variable_handle& handle);
// The empty handle; harmless on an empty one.
qd_variable_handle qd_variable_deselect(const qd_variable_handle& handle);
// Closes and frees an entry (not its slot): 1, or 0 for a null pointer and for a failed close that isn't
// fatal.
std::int64_t _qd_tab_selected_entry_free(qd_selected_entry* entry, bool fatal_close);

// False for the last slot of the table, which can be selected but not bound.
bool qd_can_be_bound(const qd_variable_handle& handle);
// Whether a variable can be bound together with a selection, or with the empty handle: both were selected in
// one file, of one length. A family of selections without an index selects nothing.
bool qd_can_be_bound(const qd_variable_handle& selection, const qd_variable_handle& variable);
// An io id, or 0 unless all variables belong to one file and are all text or all not.
std::int64_t qd_set_io(const qd_variable_handle& selection, std::int64_t count,
                       const qd_variable_handle* handles);
// 0; harmless on 0. Releases the scratch buffers too.
std::int64_t qd_free_io(std::int64_t io);
// 1, or 0 if no variable of the record is generic.
int qd_set_macro_indices_in_io(std::int64_t io, std::int64_t index);

// Releases every entry, whatever its count.
void qd_deselect_all();

// Buffers of the sample engine, shared by all io records.
struct scratch_buffer {
  void* data = nullptr;
  std::int64_t capacity = 0;  // bytes
};
extern scratch_buffer mask_buffer, work_buffer, work_buffer2;
// 1, or 0 without memory. Needing nothing is fine.
int _qd_buffer_reserve(const char* file, std::int64_t line, scratch_buffer& buffer, std::int64_t bytes);

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

// Owns an io record.
class io_record {
 public:
  io_record() = default;
  io_record(const io_record&) = delete;
  io_record& operator=(const io_record&) = delete;
  ~io_record() { free(); }
  void free() { id = qd_free_io(id); }
  std::int64_t id = 0;
};

}  // namespace qrd

// The groups in which selected variables are transferred. Ids are slot positions plus 1; 0 means none.
#pragma once

#include <cstdint>
#include <vector>

#include "samples/qd_variable_table.h"

namespace qrd {

struct qd_io {
  std::vector<std::int64_t> variables;  // entry ids
  std::vector<double> unit_factors;
  std::vector<std::int64_t> macro_slots;
  std::vector<std::int64_t> macro_generic;  // 1: given by a generic handle
  std::int64_t selection = 0;               // entry id
  std::int64_t selection_slot = 0;
};

// False for the last slot of the table, which can be selected but not bound.
bool qd_can_be_bound(const qd_variable_handle& handle);
// Whether a variable can be bound together with a selection, or with the empty handle: both were selected in
// one file, of one length. A family of selections without an index selects nothing.
bool qd_can_be_bound(const qd_variable_handle& selection, const qd_variable_handle& variable);
// An io id, or 0 unless all variables belong to one file and are all text or all not. REQUIRES: at least one
// variable, each selected, and all can be bound.
std::int64_t qd_set_io(const qd_variable_handle& selection, std::int64_t count,
                       const qd_variable_handle* handles);
// The record of an id. REQUIRES: there is one; else the software error 10 of `function`.
qd_io& qd_io_of(const char* function, std::int64_t io);
// 0; harmless on 0. Releases the scratch buffers too.
std::int64_t qd_free_io(std::int64_t io);
// False after a report if too many files are open or no variable of the record is generic, and if a macro
// can't be read or doesn't have the index.
[[nodiscard]] bool qd_set_macro_indices_in_io(std::int64_t io, std::int64_t index);

// False without memory. Needing nothing is fine.
[[nodiscard]] bool _qd_buffer_reserve(const char* file, std::int64_t line, scratch_buffer& buffer,
                                      std::int64_t bytes);

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

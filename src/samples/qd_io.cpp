#include "samples/qd_io.h"

#include <cinttypes>
#include <cstring>

#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

// The last entry can be selected, but not bound into an io record.
constexpr std::int64_t last_bindable_entry = table_slots - 1;

void release_buffer(scratch_buffer& buffer) {
  qu_mem_free_fn(__builtin_FILE(), __builtin_LINE(), buffer.data, 1, buffer.capacity);
  buffer = {};
}

}  // namespace

bool qd_can_be_bound(const qd_variable_handle& handle) {
  return handle.entry <= last_bindable_entry;
}

bool qd_can_be_bound(const qd_variable_handle& selection, const qd_variable_handle& variable) {
  if (!qd_can_be_bound(variable)) return false;
  if (selection.entry == 0) return true;
  const qd_selected_entry* mask = qd_entry(selection.entry);
  const qd_selected_entry* entry = qd_entry(variable.entry);
  return selection.macro_slot != -1 && mask != nullptr && entry != nullptr &&
         mask->sample_count == entry->sample_count && std::strcmp(mask->file_path, entry->file_path) == 0;
}

std::int64_t qd_set_io(const qd_variable_handle& selection, std::int64_t count,
                       const qd_variable_handle* handles) {
  constexpr char function[] = "qd_set_io";
  int slot = first_free_slot(sample_tables.io, function, 10);
  if (count <= 0) qu_misuse_number(function, 11);

  const qd_selected_entry* reference = qd_entry(handles[0].entry);
  for (std::int64_t v = 0; v < count; ++v) {
    const qd_selected_entry* entry = qd_entry(handles[v].entry);
    if (entry == nullptr || !qd_can_be_bound(handles[v])) qu_misuse_number(function, 15);
    // A file of the same name may have taken the place of the first between two selections.
    if (std::strcmp(entry->file_path, reference->file_path) != 0 ||
        (entry->type == VAR_CHAR) != (reference->type == VAR_CHAR))
      return 0;
  }
  if (selection.entry != 0) {
    const qd_selected_entry* entry = qd_entry(selection.entry);
    if (entry == nullptr) qu_misuse_number(function, 15);
    if (std::strcmp(entry->file_path, reference->file_path) != 0) return 0;
    if (selection.macro_slot == -1) qu_misuse_number(function, 30);
  }

  auto* io = new qd_io;
  for (std::int64_t v = 0; v < count; ++v) {
    bool generic = handles[v].macro_slot == -1;
    io->variables.push_back(handles[v].entry);
    io->unit_factors.push_back(handles[v].unit_factor);
    io->macro_slots.push_back(generic ? 0 : handles[v].macro_slot);
    io->macro_generic.push_back(generic ? 1 : 0);
  }
  io->selection = selection.entry;
  io->selection_slot = selection.macro_slot;
  sample_tables.io[slot] = io;
  return slot + 1;
}

qd_io& qd_io_of(const char* function, std::int64_t io) {
  if (io < 1 || io > table_slots || sample_tables.io[io - 1] == nullptr) qu_misuse_number(function, 10);
  return *sample_tables.io[io - 1];
}

std::int64_t qd_free_io(std::int64_t io) {
  if (io == 0) return 0;
  qd_io* record = &qd_io_of("qd_free_io", io);
  for (scratch_buffer* buffer : {&sample_tables.mask, &sample_tables.work, &sample_tables.work2})
    release_buffer(*buffer);
  delete record;
  sample_tables.io[io - 1] = nullptr;
  return 0;
}

bool qd_set_macro_indices_in_io(std::int64_t io, std::int64_t index) {
  constexpr char function[] = "qd_set_macro_indices_in_io";
  if (!qd_two_files_available()) return false;
  qd_io& record = qd_io_of(function, io);
  bool any_generic = false;
  for (std::size_t v = 0; v < record.variables.size(); ++v) {
    if (record.macro_generic[v] == 0) continue;
    any_generic = true;
    const qd_selected_entry* entry = qd_entry(record.variables[v]);
    if (entry == nullptr) qu_misuse_number(function, 10);
    macro_descriptor descriptor(qd_macro_descr_read(entry->variable_path));
    std::int64_t slot = descriptor ? descriptor->slot_of(index) : -1;
    if (slot < 0) return false;
    record.macro_slots[v] = slot;
  }
  if (any_generic) return true;
  qu_message("PROGRAMMING ERROR in qd_set_macro_indices_in_io:");
  qu_message("The given macro index (%" PRId64 ") has not been found\n", index);
  return false;
}

bool _qd_buffer_reserve(const char* file, std::int64_t line, scratch_buffer& buffer, std::int64_t bytes) {
  if (bytes <= buffer.capacity) return true;
  buffer.data = qu_mem_realloc_nn(file, line, buffer.data, 1, buffer.capacity, bytes);
  buffer.capacity = buffer.data == nullptr ? 0 : bytes;
  return buffer.data == nullptr ? 0 : 1;
}

}  // namespace qrd

#include "samples/qd_variable_table.h"

#include <sys/stat.h>

#include <cstring>

#include "catalogue/qd_info.h"
#include "disk/qd_data_file.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_handles.h"
#include "disk/qd_variable_descriptor.h"
#include "util/qu_file.h"
#include "util/qu_memory.h"
#include "util/qu_string.h"

namespace qrd {

constinit sample_table_state sample_tables;

int qd_free_entries() {
  return static_cast<int>(
      std::count(std::begin(sample_tables.selected), std::end(sample_tables.selected), nullptr));
}

qd_selected_entry* qd_entry(std::int64_t id) {
  return id >= 1 && id <= table_slots ? sample_tables.selected[id - 1] : nullptr;
}

void qd_data_path(const char* variable_path, path_text& path) {
  qu_path_join(path, {variable_path, path_separator, data_file_name});
}

bool qd_is_in_place(const qd_selected_entry& entry) {
  if (entry.stream == nullptr) return true;
  path_text path;
  qd_data_path(entry.variable_path, path);
  struct stat held, there;
  return fstat(fileno(entry.stream), &held) == 0 && stat(path, &there) == 0 && qu_same_file(held, there);
}

qd_selected_entry* qd_selected_find(const char* variable_path) {
  for (qd_selected_entry* entry : sample_tables.selected)
    if (entry != nullptr && std::strcmp(entry->variable_path, variable_path) == 0) return entry;
  return nullptr;
}

qd_variable_handle qd_variable_deselect(const qd_variable_handle& handle) {
  constexpr char function[] = "qd_variable_deselect";
  const qd_variable_handle empty;
  if (handle.entry == empty.entry) return empty;
  if (handle.entry < 1 || handle.entry > table_slots) qu_misuse_number(function, 10);
  qd_selected_entry*& entry = sample_tables.selected[handle.entry - 1];
  if (entry == nullptr) qu_misuse_number(function, 20);
  if (entry->reference_count >= 2) {
    --entry->reference_count;
  } else {
    _qd_tab_selected_entry_free(entry, true);
    entry = nullptr;
  }
  return empty;
}

bool _qd_tab_selected_entry_free(qd_selected_entry* entry, bool fatal_close) {
  if (entry == nullptr) return false;
  bool closed = true;
  if (entry->stream != nullptr) {
    closed = std::fclose(entry->stream) == 0;
    entry->stream = nullptr;
    if (!closed && fatal_close) {
      qu_report_failure("Unable to close the data of", entry->variable_path);
      qu_fatal_number("_qd_tab_selected_entry_free", 30);
    }
  }
  qu_mem_free_fn(__builtin_FILE(), __builtin_LINE(), entry, sizeof *entry, 1);
  return closed;
}

void qd_deselect_all() {
  for (qd_selected_entry*& entry : sample_tables.selected) {
    _qd_tab_selected_entry_free(entry, false);
    entry = nullptr;
  }
}

bool qd_info_var_ident(const qd_variable_handle& handle, qd_var_info& info) {
  constexpr char function[] = "qd_info_var_ident";
  info = qd_var_info();
  if (!qd_two_files_available()) return false;
  if (handle.entry < 1 || handle.entry > table_slots) qu_misuse_number(function, 10);
  const qd_selected_entry* entry = sample_tables.selected[handle.entry - 1];
  if (entry == nullptr) qu_misuse_number(function, 20);

  // The numbers 30 and 40 are left out: what another server has deleted or damaged since the selection is
  // nobody's mistake.
  qd_variable_record variable;
  qd_file_record file;
  if (qd_variable_descriptor_read(entry->variable_path, variable) != object_state::sound ||
      qd_file_descriptor_read(entry->file_path, file) != object_state::sound)
    return false;
  qd_fill_var_info(file, variable, info);
  return true;
}

}  // namespace qrd

#include "samples/qd_select.h"

#include <sys/stat.h>

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <iterator>
#include <new>

#include "samples/qd_data_file.h"
#include "samples/qd_macro.h"
#include "store/qd_info.h"
#include "store/qd_walk.h"
#include "util/qu_file.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

qd_selected_entry* tab_selected[table_slots] = {};
qd_io* tab_io[table_slots] = {};
scratch_buffer mask_buffer, work_buffer, work_buffer2;

namespace {

// The last entry can be selected, but not bound into an io record.
constexpr std::int64_t last_bindable_entry = table_slots - 1;

constexpr char select_function[] = "qd_variable_select";

double unit_factor_of(const qd_variable_record& record, unit_choice choice) {
  switch (choice) {
    case UNIT_NONE:
      return 1.0;
    case UNIT_VARIABLE:
      return qu_format_factor(record.format);
    case UNIT_DISTANCE:
      return record.format.length_flag != 0 ? distance_format.factor : 1.0;
  }
  qu_fatal_number(select_function, 50);
}

// Finds a variable under its exact name or, for a name with an index, under the generic one; one walk
// looks for both. A variable that exists under the exact name, brackets included, is an ordinary variable:
// its class is then 0.
lookup_result find_variable(const char* file_path, const char* variable, int& name_class, path_text& path,
                            qd_variable_record& record) {
  name_text generic;
  qu_path_join(generic, {variable});
  if (name_class != 0) qd_macro_name_generic(generic);
  path_text seen_path;
  qd_variable_record seen;
  bool found = false;
  walk_end end =
      qd_walk<variable_level>(file_path, seen_path, seen, [&](const qd_variable_record& candidate) {
        if (std::strcmp(candidate.name, variable) == 0) return true;
        if (!found && name_class != 0 && std::strcmp(candidate.name, generic) == 0) {
          found = true;
          record = candidate;
          qu_path_join(path, {seen_path});
        }
        return false;
      });
  if (end != walk_end::stopped) return found ? LOOKUP_FOUND : qd_lookup_result(end);
  name_class = std::min(name_class, 0);
  record = seen;
  qu_path_join(path, {seen_path});
  return LOOKUP_FOUND;
}

// The slot that a name of this class means. False if the variable has just gone.
bool find_macro_slot(int name_class, const char* variable_path, const char* variable, std::int64_t& slot) {
  slot = name_class;
  if (name_class <= 0) return true;
  macro_descriptor descriptor(qd_macro_descr_read(variable_path));
  if (!descriptor && qd_object_gone()) return false;
  slot = -1;
  if (descriptor) slot = descriptor->slot_of(qd_macro_name_alpha_indice(*descriptor, variable, nullptr));
  if (slot < 0) qu_fatal_number(select_function, 51);
  return true;
}

// What an earlier request has left selected may have been deleted by another server, and its number taken by
// a new variable. The closed path of such an entry is no variable's any more.
bool is_entry_of(qd_selected_entry& entry, const char* variable_path) {
  if (std::strcmp(entry.variable_path, variable_path) != 0) return false;
  struct stat status;
  const bool deleted =
      entry.stream != nullptr && fstat(fileno(entry.stream), &status) == 0 && status.st_nlink == 0;
  if (deleted) entry.variable_path[0] = '\0';
  return !deleted;
}

template <typename T>
int first_free_slot(T* const (&table)[table_slots], const char* function, int full) {
  auto slot = std::find(std::begin(table), std::end(table), nullptr);
  if (slot == std::end(table)) qu_fatal_number(function, full);
  return static_cast<int>(slot - std::begin(table));
}

// Fills `stream` for a variable with a data file. False if its compressed form can't be put back, or if
// another server has just deleted it.
bool open_data_file(const char* variable_path, std::FILE*& stream) {
  path_text path;
  qu_path_join(path, {variable_path, path_separator, data_file_name});
  if (qu_file_is_compressed(path) != 0 && qu_file_uncompress(path) != 1) return false;
  stream = qd_data_file_open(path);
  return stream != nullptr;
}

qd_selected_entry* new_entry() {
  return new (qu_mem_alloc_fn(__builtin_FILE(), __builtin_LINE(), sizeof(qd_selected_entry), 1))
      qd_selected_entry;
}

// Gives the handle of a variable that was found its entry: an open one, or a new one.
int select_found(const qd_variable_place& place, const char* directory, const char* file,
                 const char* variable, const qd_file_record& file_record, const qd_variable_record& record,
                 qd_variable_handle& selected, qd_variable_handle& handle) {
  // One entry, and so one stream, serves all the columns of a macro variable.
  for (int slot = 0; slot < table_slots; ++slot) {
    qd_selected_entry* open_entry = tab_selected[slot];
    if (open_entry == nullptr || !is_entry_of(*open_entry, place.path)) continue;
    ++open_entry->reference_count;
    // An entry can outlive its request; another server may have added samples since.
    open_entry->sample_count = file_record.sample_count;
    selected.entry = slot + 1;
    handle = selected;
    return 1;
  }

  int slot = first_free_slot(tab_selected, select_function, 70);
  std::FILE* stream = nullptr;
  if (record.implicit == 0 && !open_data_file(place.path, stream)) return 0;

  qd_selected_entry* entry = new_entry();
  qu_path_join(entry->variable_path, {place.path});
  qu_path_join(entry->file_path, {place.file_path});
  qu_path_join(entry->directory_name, {directory});
  qu_path_join(entry->file_name, {file});
  qu_path_join(entry->variable_name, {variable});
  entry->stream = stream;
  // Computed values are doubles, whatever the descriptor says.
  entry->bit_length = record.implicit != 0 ? 64 : record.bit_length;
  entry->bytes_per_sample = entry->bit_length / 8;
  entry->reference_count = 1;
  entry->sample_count = file_record.sample_count;
  entry->type = record.type;
  entry->kind = record.kind;
  entry->implicit = record.implicit;
  if (file_record.organisation == ORG_GRID)
    entry->grid = file_record.grid;
  else
    entry->grid.nx = 0;
  tab_selected[slot] = entry;
  selected.entry = slot + 1;
  handle = selected;
  return 1;
}

qd_io& io_of(std::int64_t io, const char* function) {
  if (io < 1 || io > table_slots || tab_io[io - 1] == nullptr) qu_fatal_number(function, 10);
  return *tab_io[io - 1];
}

void release_buffer(scratch_buffer& buffer) {
  qu_mem_free_fn(__builtin_FILE(), __builtin_LINE(), buffer.data, 1, buffer.capacity);
  buffer = {};
}

}  // namespace

int qd_two_files_available(const char* failed, const char* before) {
  if (qu_test_open_file(2) != 0) return 1;
  qu_report_too_many_files(failed, before);
  return 0;
}

int qd_free_entries() {
  return static_cast<int>(std::count(std::begin(tab_selected), std::end(tab_selected), nullptr));
}

qd_selected_entry* qd_entry(std::int64_t id) {
  return id >= 1 && id <= table_slots ? tab_selected[id - 1] : nullptr;
}

qd_selected_entry* qd_selected_find(const char* variable_path) {
  for (qd_selected_entry* entry : tab_selected)
    if (entry != nullptr && std::strcmp(entry->variable_path, variable_path) == 0) return entry;
  return nullptr;
}

int qd_variable_select(const char* directory, const char* file, const char* variable, unit_choice choice,
                       qd_variable_handle& handle) {
  handle = {};
  if (qd_two_files_available() == 0) return 0;

  qd_variable_place place;
  qd_file_record file_record;
  // What callers have found may be no more: another server may have deleted it since.
  const lookup_result found = qd_find_file(directory, file, place.file_path, file_record);
  if (found == LOOKUP_UNREADABLE) qu_fatal_number(select_function, 10);
  if (found == LOOKUP_ABSENT) return 0;
  qd_variable_record record;
  int name_class = qd_macro_name_kind(variable);
  switch (find_variable(place.file_path, variable, name_class, place.path, record)) {
    case LOOKUP_FOUND:
      break;
    case LOOKUP_ABSENT:
      return 0;
    case LOOKUP_UNREADABLE:
      qu_fatal_number(select_function, 31);
  }
  qd_variable_handle selected;
  selected.unit_factor = unit_factor_of(record, choice);
  if (!find_macro_slot(name_class, place.path, variable, selected.macro_slot)) return 0;
  return select_found(place, directory, file, variable, file_record, record, selected, handle);
}

int qd_variable_select_at(const qd_variable_place& place, const char* directory, const char* file,
                          const char* variable, unit_choice choice, qd_variable_handle& handle) {
  handle = {};
  if (qd_two_files_available() == 0) return 0;
  qd_file_record file_record;
  qd_variable_record record;
  if (qd_file_descriptor_read(place.file_path, file_record) == 0 ||
      std::strcmp(file_record.name, file) != 0 || qd_variable_descriptor_read(place.path, record) == 0 ||
      std::strcmp(record.name, variable) != 0)
    return 0;
  qd_variable_handle selected;
  selected.unit_factor = unit_factor_of(record, choice);
  selected.macro_slot = std::min(qd_macro_name_kind(variable), 0);
  return select_found(place, directory, file, variable, file_record, record, selected, handle);
}

int qd_coordinates_select(const char* directory, const char* file, unit_choice choice,
                          std::int64_t& dimension, qd_variable_handle (&handles)[3]) {
  constexpr int kinds[3] = {KIND_X, KIND_Y, KIND_Z};
  for (int axis = 0; axis < 3; ++axis) {
    name_text name;
    int found = qd_special_var_name(directory, file, kinds[axis], name);
    if (found == 2) return 0;
    if (found == 1 && axis < 2) qu_fatal_number("qd_coordinates_select", axis + 1);
    if (found == 1) {
      dimension = 2;
      return 1;
    }
    if (qd_variable_select(directory, file, name, choice, handles[axis]) == 0) return 0;
  }
  dimension = 3;
  return 1;
}

int qd_selection_select(const char* directory, const char* file, const char* selection,
                        qd_variable_handle& handle) {
  handle = {};
  if (std::strcmp(selection, no_name) == 0) return 1;
  qd_variable_place place;
  if (qd_check_variable(CLASS_SELECTION, directory, file, no_name, selection, nullptr, nullptr, &place) == 0)
    return 0;
  // The place is that of the family: a column may also be a variable of its own.
  const int selected = qd_macro_name_kind(selection) > 0
                           ? qd_variable_select(directory, file, selection, UNIT_NONE, handle)
                           : qd_variable_select_at(place, directory, file, selection, UNIT_NONE, handle);
  if (selected == 0) return 0;
  // A descriptor that calls it computed has no bits to offer.
  if (qd_entry(handle.entry)->bit_length == 1) return 1;
  handle = qd_variable_deselect(handle);
  return 0;
}

qd_variable_handle qd_variable_deselect(const qd_variable_handle& handle) {
  constexpr char function[] = "qd_variable_deselect";
  const qd_variable_handle empty;
  if (handle.entry == empty.entry) return empty;
  if (handle.entry < 1 || handle.entry > table_slots) qu_fatal_number(function, 10);
  qd_selected_entry*& entry = tab_selected[handle.entry - 1];
  if (entry == nullptr) qu_fatal_number(function, 20);
  if (entry->reference_count >= 2) {
    --entry->reference_count;
  } else {
    _qd_tab_selected_entry_free(entry, true);
    entry = nullptr;
  }
  return empty;
}

std::int64_t _qd_tab_selected_entry_free(qd_selected_entry* entry, bool fatal_close) {
  if (entry == nullptr) return 0;
  bool closed = true;
  if (entry->stream != nullptr) {
    closed = std::fclose(entry->stream) == 0;
    entry->stream = nullptr;
    if (!closed && fatal_close) qu_fatal_number("_qd_tab_selected_entry_free", 30);
  }
  qu_mem_free_fn(__builtin_FILE(), __builtin_LINE(), entry, sizeof *entry, 1);
  return closed ? 1 : 0;
}

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
  int slot = first_free_slot(tab_io, function, 10);
  if (count <= 0) qu_fatal_number(function, 11);

  const qd_selected_entry* reference = qd_entry(handles[0].entry);
  for (std::int64_t v = 0; v < count; ++v) {
    const qd_selected_entry* entry = qd_entry(handles[v].entry);
    if (entry == nullptr || !qd_can_be_bound(handles[v])) qu_fatal_number(function, 15);
    if (std::strcmp(entry->file_path, reference->file_path) != 0) qu_fatal_number(function, 20);
    if ((entry->type == VAR_CHAR) != (reference->type == VAR_CHAR)) qu_fatal_number(function, 21);
  }
  if (selection.entry != 0) {
    const qd_selected_entry* entry = qd_entry(selection.entry);
    if (entry == nullptr) qu_fatal_number(function, 15);
    if (std::strcmp(entry->file_path, reference->file_path) != 0) qu_fatal_number(function, 25);
    if (selection.macro_slot == -1) qu_fatal_number(function, 30);
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
  tab_io[slot] = io;
  return slot + 1;
}

std::int64_t qd_free_io(std::int64_t io) {
  if (io == 0) return 0;
  qd_io* record = &io_of(io, "qd_free_io");
  for (scratch_buffer* buffer : {&mask_buffer, &work_buffer, &work_buffer2}) release_buffer(*buffer);
  delete record;
  tab_io[io - 1] = nullptr;
  return 0;
}

int qd_set_macro_indices_in_io(std::int64_t io, std::int64_t index) {
  constexpr char function[] = "qd_set_macro_indices_in_io";
  if (qd_two_files_available() == 0) return 0;
  qd_io& record = io_of(io, function);
  bool any_generic = false;
  for (std::size_t v = 0; v < record.variables.size(); ++v) {
    if (record.macro_generic[v] == 0) continue;
    any_generic = true;
    const qd_selected_entry* entry = qd_entry(record.variables[v]);
    if (entry == nullptr) qu_fatal_number(function, 10);
    macro_descriptor descriptor(qd_macro_descr_read(entry->variable_path));
    if (!descriptor && qd_object_gone()) return 0;
    std::int64_t slot = descriptor ? descriptor->slot_of(index) : -1;
    if (slot < 0) qu_fatal_number(function, 10);
    record.macro_slots[v] = slot;
  }
  if (any_generic) return 1;
  qu_message("PROGRAMMING ERROR in qd_set_macro_indices_in_io:");
  qu_message("The given macro index (%" PRId64 ") has not been found\n", index);
  return 0;
}

void qd_deselect_all() {
  for (qd_selected_entry*& entry : tab_selected) {
    _qd_tab_selected_entry_free(entry, false);
    entry = nullptr;
  }
}

int _qd_buffer_reserve(const char* file, std::int64_t line, scratch_buffer& buffer, std::int64_t bytes) {
  if (bytes <= buffer.capacity) return 1;
  buffer.data = qu_mem_realloc_nn(file, line, buffer.data, 1, buffer.capacity, bytes);
  buffer.capacity = buffer.data == nullptr ? 0 : bytes;
  return buffer.data == nullptr ? 0 : 1;
}

}  // namespace qrd

#include "samples/qd_open_variable.h"

#include <sys/stat.h>

#include <cstring>
#include <new>

#include "catalogue/qd_walk.h"
#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "samples/qd_column_move.h"
#include "samples/qd_reported_check.h"
#include "samples/qd_variable_table.h"
#include "util/qu_compress.h"
#include "util/qu_file.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr char select_function[] = "qd_variable_select";

double unit_factor_of(const qd_variable_record& record, unit_choice choice) {
  switch (choice) {
    case UNIT_NONE:
      return 1.0;
    case UNIT_VARIABLE:
      return qu_format_factor(record.format);
    case UNIT_DISTANCE:
      return record.format.length_flag != 0 ? units.distance.factor : 1.0;
  }
  qu_misuse_number(select_function, 50);
}

// Finds a variable under its exact name or, for a name with an index, under the generic one; one walk
// looks for both. A variable that exists under the exact name, brackets included, is an ordinary variable:
// it then carries no index.
found find_variable(const char* file_path, const char* variable, index_form& index, path_text& path,
                    qd_variable_record& record) {
  const auto is_exact = [&] {
    if (index != index_form::generic) index = index_form::none;
    return found::yes;
  };
  if (qd_find_by_hint<variable_level>(file_path, variable, path, record)) return is_exact();
  name_text generic;
  qu_path_join(generic, {variable});
  if (index != index_form::none) qd_macro_name_generic(generic);
  path_text seen_path;
  qd_variable_record seen;
  bool family_seen = false;
  walk_end end =
      qd_walk<variable_level>(file_path, seen_path, seen, [&](const qd_variable_record& candidate) {
        if (std::strcmp(candidate.name, variable) == 0) return true;
        if (!family_seen && index != index_form::none && std::strcmp(candidate.name, generic) == 0) {
          family_seen = true;
          record = candidate;
          qu_path_join(path, {seen_path});
        }
        return false;
      });
  if (end != walk_end::stopped) return family_seen ? found::yes : qd_lookup_result(end);
  record = seen;
  qu_path_join(path, {seen_path});
  return is_exact();
}

// The slot of a name without an index, or with the one that stands for all.
std::int64_t slot_of_family(index_form index) {
  return index == index_form::generic ? -1 : 0;
}

// The slot that a name means. False if the variable has just gone, or has no such column.
bool find_macro_slot(index_form index, const char* variable_path, const char* variable, std::int64_t& slot) {
  slot = slot_of_family(index);
  if (index == index_form::none || index == index_form::generic) return true;
  macro_descriptor descriptor(qd_macro_descr_read(variable_path));
  slot = descriptor ? descriptor->slot_of(qd_macro_name_alpha_indice(*descriptor, variable, nullptr)) : -1;
  return slot >= 0;
}

// What an earlier request has left selected may have been deleted by another server, and its number or its
// file taken by a new one. The closed path of such an entry is no variable's any more.
bool is_entry_of(qd_selected_entry& entry, const char* variable_path) {
  if (std::strcmp(entry.variable_path, variable_path) != 0) return false;
  if (qd_is_in_place(entry)) return true;
  entry.variable_path[0] = '\0';
  return false;
}

// The data file of a variable, if it has one. None if its compressed form can't be put back, if it can't be
// written, and if another server has just deleted it.
file_stream open_data_file(const char* variable_path) {
  path_text path;
  qd_data_path(variable_path, path);
  if (!qu_file_restore(path)) return file_stream();
  file_stream stream(qu_file_open_n(path, update_binary));
  // Each transfer is one call of the system on the caller's memory.
  if (stream) std::setvbuf(stream.get(), nullptr, _IONBF, 0);
  return stream;
}

qd_selected_entry* new_entry() {
  return new (qu_mem_alloc_fn(__builtin_FILE(), __builtin_LINE(), sizeof(qd_selected_entry), 1))
      qd_selected_entry;
}

// What the catalogue says of a variable at a place, read anew.
struct found_variable {
  qd_file_record file;
  qd_variable_record variable;
  bool read(const qd_variable_place& place, const char* file_name, const char* variable_name) {
    return qd_file_descriptor_read(place.file_path, file) == object_state::sound &&
           std::strcmp(file.name, file_name) == 0 &&
           qd_variable_descriptor_read(place.path, variable) == object_state::sound &&
           std::strcmp(variable.name, variable_name) == 0;
  }
};

void fill_entry(const qd_variable_place& place, const char* directory, const char* file, const char* variable,
                const found_variable& found, qd_selected_entry& entry) {
  qu_path_join(entry.variable_path, {place.path});
  qu_path_join(entry.file_path, {place.file_path});
  qu_path_join(entry.directory_name, {directory});
  qu_path_join(entry.file_name, {file});
  qu_path_join(entry.variable_name, {variable});
  // Computed values are doubles, whatever the descriptor says.
  entry.bit_length = found.variable.implicit != 0 ? 64 : found.variable.bit_length;
  entry.bytes_per_sample = entry.bit_length / 8;
  entry.sample_count = found.file.sample_count;
  entry.type = found.variable.type;
  entry.kind = found.variable.kind;
  entry.implicit = found.variable.implicit;
  if (found.file.organisation == ORG_GRID)
    entry.grid = found.file.grid;
  else
    entry.grid.nx = 0;
}

// Gives the handle of a variable its entry: an open one, or a new one. `catalogue_name` is the variable's own
// name, without an index. What an entry holds is of one variable: the descriptors are read while the data
// file is open, and it is still in its place afterwards.
bool select_entry(const qd_variable_place& place, const char* directory, const char* file,
                  const char* variable, const char* catalogue_name, unit_choice choice,
                  qd_variable_handle& selected, qd_variable_handle& handle) {
  found_variable found;
  // One entry, and so one stream, serves all the columns of a macro variable.
  for (int slot = 0; slot < table_slots; ++slot) {
    qd_selected_entry* open_entry = sample_tables.selected[slot];
    if (open_entry == nullptr || !is_entry_of(*open_entry, place.path)) continue;
    if (!found.read(place, file, catalogue_name) || !qd_is_in_place(*open_entry)) return false;
    ++open_entry->reference_count;
    // An entry can outlive its request; another server may have added samples since.
    open_entry->sample_count = found.file.sample_count;
    selected.unit_factor = unit_factor_of(found.variable, choice);
    selected.entry = slot + 1;
    handle = selected;
    return true;
  }

  int slot = first_free_slot(sample_tables.selected, select_function, 70);
  file_stream stream = open_data_file(place.path);
  if (!found.read(place, file, catalogue_name)) return false;
  if (found.variable.implicit != 0) stream = file_stream();
  if (found.variable.implicit == 0 && !stream) return false;
  qd_selected_entry candidate;
  fill_entry(place, directory, file, variable, found, candidate);
  candidate.stream = stream.get();
  if (!qd_is_in_place(candidate)) return false;

  qd_selected_entry* entry = new_entry();
  *entry = candidate;
  entry->stream = stream.release();
  entry->reference_count = 1;
  sample_tables.selected[slot] = entry;
  selected.unit_factor = unit_factor_of(found.variable, choice);
  selected.entry = slot + 1;
  handle = selected;
  return true;
}

// The same, and the columns of a macro variable are where its count tells: a growth that is under way is
// waited for.
bool select_found(const qd_variable_place& place, const char* directory, const char* file,
                  const char* variable, const char* catalogue_name, unit_choice choice,
                  qd_variable_handle& selected, qd_variable_handle& handle) {
  constexpr int attempts = 4;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    const bool selects =
        select_entry(place, directory, file, variable, catalogue_name, choice, selected, handle);
    if (selects && qd_columns_hold(*qd_entry(handle.entry))) return true;
    handle = qd_variable_deselect(handle);
    if (!selects && !qd_columns_move(place.file_path)) return false;
    if (!qd_settle_columns(place.file_path)) return false;
  }
  return false;
}

}  // namespace

bool qd_variable_select(const char* directory, const char* file, const char* variable, unit_choice choice,
                        qd_variable_handle& handle) {
  handle = {};
  if (!qd_two_files_available()) return false;

  qd_variable_place place;
  qd_file_record file_record;
  qd_variable_record record;
  index_form index = qd_macro_name_kind(variable);
  // What callers have found may be no more: another server may have deleted or damaged it since.
  if (qd_find_file(directory, file, place.file_path, file_record) != found::yes ||
      find_variable(place.file_path, variable, index, place.path, record) != found::yes)
    return false;
  qd_variable_handle selected;
  if (!find_macro_slot(index, place.path, variable, selected.macro_slot)) return false;
  return select_found(place, directory, file, variable, record.name, choice, selected, handle);
}

bool qd_variable_select_at(const qd_variable_place& place, const char* directory, const char* file,
                           const char* variable, unit_choice choice, qd_variable_handle& handle) {
  handle = {};
  if (!qd_two_files_available()) return false;
  qd_variable_handle selected;
  selected.macro_slot = slot_of_family(qd_macro_name_kind(variable));
  return select_found(place, directory, file, variable, variable, choice, selected, handle);
}

bool qd_selection_select(const char* directory, const char* file, const char* selection,
                         qd_variable_handle& handle) {
  handle = {};
  if (std::strcmp(selection, no_name) == 0) return true;
  qd_variable_place place;
  if (!qd_check_variable(CLASS_SELECTION, directory, file, no_name, selection, nullptr, nullptr, &place))
    return false;
  // The place is that of the family: a column may also be a variable of its own.
  const bool selected = qd_macro_names_column(selection)
                            ? qd_variable_select(directory, file, selection, UNIT_NONE, handle)
                            : qd_variable_select_at(place, directory, file, selection, UNIT_NONE, handle);
  if (!selected) return false;
  // A descriptor that calls it computed has no bits to offer.
  if (qd_entry(handle.entry)->bit_length == 1) return true;
  handle = qd_variable_deselect(handle);
  return false;
}

}  // namespace qrd

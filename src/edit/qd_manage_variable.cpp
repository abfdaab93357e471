#include "edit/qd_manage_variable.h"

#include <cstdio>
#include <cstring>
#include <limits>

#include "catalogue/qd_name.h"
#include "catalogue/qd_placement.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_data_file.h"
#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "edit/qd_variable_files.h"
#include "units/qu_units.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

void name_variable(const char* directory, const char* file, const char* variable) {
  qd_name_file(directory, file);
  qu_message("          VARIABLE NAME: >>>%s<<<\n\n", variable);
}

void report_present(const char* directory, const char* file, const char* variable) {
  qu_message("WARNING: THE VARIABLE TO BE CREATED EXISTS ALREADY, OR ITS FILE IS NO MORE,\n");
  qu_message("         OR ITS NEIGHBOURS CANNOT BE READ\n");
  name_variable(directory, file, variable);
}

bool is_bit_length(std::int32_t type, std::int32_t kind, std::int64_t bit_length) {
  if (bit_length < 1) return false;
  if (type == VAR_CHAR || kind == KIND_LINE_NAME) return bit_length % 8 == 0;
  return bit_length <= 64 && (bit_length % 2 == 0 || bit_length == 1);
}

// Another server may have deleted the file, or have made it longer, while the variable was prepared for the
// samples that it had.
bool has_its_room(const char* file_path, const qd_file_record& record) {
  return qd_is_still<file_level>(file_path, record.name, [&record](const qd_file_record& now) {
    return now.organisation == record.organisation && now.allocated_samples == record.allocated_samples;
  });
}

// A column of a macro variable stands for all of them.
bool is_variable_of(const qd_selected_entry& entry, const qd_variable_record& record) {
  name_text family;
  return std::strcmp(record.name, entry.variable_name) == 0 ||
         (qd_catalogue_name(entry.variable_name, family) && std::strcmp(record.name, family) == 0);
}

}  // namespace

// Fatal numbers: 6 no bit length for that type; 40 a coordinate without a length unit in a study with units;
// 48 a bit length in which nothing can be stored.
bool qd_create_variable(const char* directory, const char* file, const char* name, std::int32_t type,
                        std::int32_t kind, std::int64_t bit_length, const qd_format_record* format) {
  constexpr char function[] = "qd_create_variable";
  if (const name_code code = qd_variable_name_check(name, type); code != name_code::valid) {
    qu_message("\n WARNING: THE NAME OF THE VARIABLE TO BE CREATED\n");
    qu_message("%s", qd_name_fault(code, named_object::variable));
    qu_message(" *****Directory Name: >>>%s<<<\n", directory);
    qu_message(" **********File Name= >>>%s<<<\n", file);
    qu_message(" **Bad Variable Name= >>>%s<<<\n\n\n", name);
    return false;
  }
  if (!is_bit_length(type, kind, bit_length)) qu_misuse_number(function, 6);
  qd_format_record wanted;
  if (format != nullptr) {
    wanted = *format;
    if (std::strcmp(wanted.unit, " ") == 0) wanted.unit[0] = '\0';
  }
  if (!qd_two_files_available("VARIABLE CREATION FAILED")) return false;

  path_text file_path, existing_path;
  qd_file_record file_record;
  qd_variable_record existing;
  if (qd_find_file(directory, file, file_path, file_record) != found::yes) {
    report_present(directory, file, name);
    return false;
  }

  qd_variable_record record = qd_new_variable_record(file_record.organisation, name, type, kind, bit_length,
                                                     format != nullptr ? &wanted : nullptr);
  bool is_coordinate = kind >= KIND_X && kind <= KIND_Z_END;
  if (is_coordinate && units.kept && record.format.length_flag == 0) qu_misuse_number(function, 40);
  std::int64_t filled = qd_is_computed(file_record.organisation, kind) ? 0 : file_record.allocated_samples;
  if (filled > 0 && record.type != VAR_CHAR && !is_numeric_bit_length(bit_length))
    qu_misuse_number(function, 48);

  prepared_object folder(file_path);
  placement placed = placement::failed;
  bool has_changed = false;
  found taken = found::no;
  // A capacity that is no number of blocks comes from a damaged descriptor.
  const bool is_capacity = filled >= 0 && filled % block_samples == 0;
  if (folder && is_capacity && qd_write_variable_files(folder.path(), record, filled)) {
    // Another server may have let the file grow, or made one of that name, until the lock was to be had.
    // Only then the name is looked for: that reads all the neighbours.
    const folder_lock lock(file_path);
    has_changed = !lock || !has_its_room(file_path, file_record);
    if (!has_changed) taken = qd_find<variable_level>(file_path, name, existing_path, existing);
    if (!has_changed && taken == found::no) placed = folder.place(variable_numbering);
  }
  if (taken != found::no) {
    report_present(directory, file, name);
    return false;
  }
  if (placed == placement::failed && (has_changed || !has_its_room(file_path, file_record))) {
    qu_message("WARNING: THE FILE OF THE VARIABLE TO BE CREATED IS NO MORE, OR HAS CHANGED\n");
    name_variable(directory, file, name);
    return false;
  }
  switch (placed) {
    case placement::placed:
      return true;
    case placement::numbers_used_up:
      qu_message("WARNING: ERROR DURING VARIABLE CREATION, FILE REACHED\n");
      qu_message("         MAXIMUM NUMBER OF VARIABLES (%d)\n", std::numeric_limits<std::int32_t>::max());
      name_variable(directory, file, name);
      return false;
    case placement::failed:
      if (filled != 0 && qd_capacity_is_damaged(file_record)) {
        qd_report_damaged_capacity(directory, file);
        return false;
      }
      qu_message("WARNING: ERROR DURING VARIABLE CREATION, FILE SYSTEM FULL\n");
      qu_message("         OR WRITE PROTECTED ?\n");
      name_variable(directory, file, name);
      qu_message("       FILE PATH: >>>%s<<<\n\n", file_path);
      return false;
  }
  return false;
}

// Fatal numbers: 10 no handle; 20 nothing selected; 26 the data file can't be closed; 60 selected more than
// once. The number 30 is left out: a folder that can't be deleted is a refusal.
qd_variable_handle qd_delete_variable(const qd_variable_handle& handle) {
  constexpr char function[] = "qd_delete_variable";
  if (handle.entry < 1 || handle.entry > table_slots) qu_misuse_number(function, 10);
  qd_selected_entry* entry = qd_entry(handle.entry);
  if (entry == nullptr) qu_misuse_number(function, 20);
  if (entry->stream != nullptr) {
    bool closed = std::fclose(entry->stream) == 0;
    entry->stream = nullptr;
    if (!closed) {
      qu_report_failure("Unable to close the data of", entry->variable_path);
      qu_fatal_number(function, 26);
    }
  }
  if (!qd_remove_object<variable_level>(entry->variable_path, [entry](const qd_variable_record& record) {
        return is_variable_of(*entry, record);
      }))
    return handle;
  if (entry->reference_count > 1) qu_misuse_number(function, 60);
  return qd_variable_deselect(handle);
}

}  // namespace qrd

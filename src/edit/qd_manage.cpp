#include "edit/qd_manage.h"

#include <sys/stat.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "catalogue/qd_name.h"
#include "catalogue/qd_path.h"
#include "catalogue/qd_placement.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_data_file.h"
#include "disk/qd_directory_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_handles.h"
#include "disk/qd_line_table.h"
#include "disk/store_state.h"
#include "edit/qd_link.h"
#include "edit/qd_variable_files.h"
#include "units/qu_units.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// Bit length of the variables that every file is made with.
constexpr std::int64_t builtin_bits = 64;

// The line that names the directory of a failed operation.
void name_directory(const char* directory) {
  qu_message("         DIRECTORY NAME: >>>%s<<<\n", directory);
}

// An object that has appeared or gone since the caller's test, or siblings that can't be read.
void report_unexpected(const char* object, const char* trouble) {
  qu_message("WARNING: THE %s %s,\n", object, trouble);
  qu_message("         OR ITS NEIGHBOURS CANNOT BE READ\n");
}

void report_full(const char* object) {
  qu_message("WARNING: ERROR DURING %s CREATION, FILE SYSTEM FULL\n", object);
  qu_message("         OR WRITE PROTECTED ?\n");
}

// Drops what an earlier request has left selected of an object that is no more. The number of a deleted
// object is used again, and the path of an entry is what tells variables apart.
void forget_selected_below(const char* path) {
  std::size_t length = std::strlen(path);
  for (qd_selected_entry*& entry : sample_tables.selected) {
    if (entry == nullptr || std::strncmp(entry->variable_path, path, length) != 0) continue;
    if (entry->variable_path[length] != '\0' && entry->variable_path[length] != path_separator[0]) continue;
    _qd_tab_selected_entry_free(entry, false);
    entry = nullptr;
  }
}

template <typename Level>
bool remove_with_selections(const char* path, const char* name) {
  const bool removed = qd_remove_object<Level>(path, name);
  if (removed) forget_selected_below(path);
  return removed;
}

// A variable that a new file is made with.
struct initial_variable {
  builtin_variable variable;
  bool is_length;
};

std::vector<initial_variable> initial_variables(std::int64_t organisation, std::int64_t dimension) {
  std::vector<initial_variable> variables;
  if (organisation == ORG_GRID) {
    variables = {{grid_coordinates[0], true},
                 {grid_coordinates[1], true},
                 {grid_indices[0], false},
                 {grid_indices[1], false}};
    if (dimension == 3) {
      variables.push_back({grid_coordinates[2], true});
      variables.push_back({grid_indices[2], false});
    }
  }
  variables.push_back({sample_number, false});
  if (is_lines(organisation)) {
    variables.push_back({relative_number, false});
    variables.push_back({line_number, false});
  }
  return variables;
}

// Makes the numbered folder of an initial variable: its parent is not in sight yet, and all are computed.
bool write_initial_variable(const char* file_path, std::int64_t organisation, std::size_t number,
                            const initial_variable& initial) {
  path_text path;
  qu_path_join(path, {file_path, path_separator, variable_numbering.prefix, std::to_string(number)});
  if (mkdir(path, 0777) != 0) return false;
  qd_variable_record record =
      qd_new_variable_record(organisation, initial.variable.name, VAR_FLOAT, initial.variable.kind,
                             builtin_bits, initial.is_length ? &units.distance : nullptr);
  return qd_write_variable_files(path, record, 0);
}

bool write_file_files(const char* path, const qd_file_record& record, file_content* content) {
  if (is_lines(record.organisation) && !qd_line_table_create(path)) return false;
  if (qd_file_descriptor_write(path, record) != object_state::sound) return false;
  std::size_t number = 1;
  for (const initial_variable& initial : initial_variables(record.organisation, record.dimension))
    if (!write_initial_variable(path, record.organisation, number++, initial)) return false;
  if (content == nullptr) return true;
  for (const initial_samples& initial : content->variables)
    if (!qd_write_initial_samples(path, record, number++, initial)) {
      content->samples_failed = true;
      return false;
    }
  return !content->companions || content->companions(path);
}

bool fits_descriptor(std::int64_t nodes) {
  return nodes >= 0 && nodes < std::numeric_limits<std::int32_t>::max();
}

// Sets geometry and numbers of samples of a grid; false after a report if they are too big.
bool set_grid(const qd_grid_record& grid, qd_file_record& record) {
  if (!fits_descriptor(grid.nx) || !fits_descriptor(grid.ny) || !fits_descriptor(grid.nz) ||
      qu_number_exceeds("%d*%d*%d", {grid.nx, grid.ny, grid.nz}) != 0) {
    qu_message("Can't create file, number of samples would be too big.\n");
    return false;
  }
  record.grid = grid;
  record.sample_count = grid.nx * grid.ny * grid.nz;
  std::int64_t blocks = record.sample_count / block_samples + (record.sample_count % block_samples != 0);
  if (qu_number_exceeds("%d*%d", {blocks, block_samples}) != 0) {
    qu_message("CAN'T CREATE FILE.\n");
    return false;
  }
  record.allocated_samples = blocks * block_samples;
  return true;
}

qd_file_record empty_file_record(const char* name, std::int64_t organisation, std::int64_t dimension) {
  qd_file_record record;
  qu_path_join(record.name, {name});
  record.organisation = organisation;
  record.dimension = dimension;
  record.grid.dx = record.grid.dy = 0.0;
  record.grid.nx = record.grid.ny = record.grid.nz = 0;
  return record;
}

}  // namespace

// Another server may make or delete an object between the caller's test and these operations. That is a
// failure like others: the fatal numbers are for what no other process can bring about.

bool qd_create_directory(const char* name) {
  if (const name_code code = qd_name_check(name); code != name_code::valid) {
    qu_message("\n\nWARNING: THE NAME OF THE DIRECTORY TO BE CREATED\n");
    qu_message("%s", qd_name_fault(code, named_object::directory_or_file));
    qu_message("         DIRECTORY NAME: >>>%s<<<\n\n", name);
    return false;
  }
  if (!qd_two_files_available("DIRECTORY CREATION FAILED")) return false;
  path_text path;
  if (qd_find_directory(name, path) != found::no) {
    report_unexpected("DIRECTORY TO BE CREATED", "EXISTS ALREADY");
    name_directory(name);
    return false;
  }

  prepared_object folder(store.catalogue_path);
  placement placed = placement::failed;
  bool has_changed = false;
  if (folder && qd_directory_descriptor_write(folder.path(), name) == object_state::sound) {
    // Another server may have made one of that name until the lock was to be had.
    const folder_lock lock(store.catalogue_path);
    if (lock && qd_find_directory(name, path) == found::no)
      placed = folder.place(directory_numbering);
    else
      has_changed = true;
  }
  if (has_changed) {
    report_unexpected("DIRECTORY TO BE CREATED", "EXISTS ALREADY");
    name_directory(name);
    return false;
  }
  switch (placed) {
    case placement::placed:
      return true;
    case placement::numbers_used_up:
      qu_message("WARNING: ERROR DURING DIRECTORY CREATION, STUDY REACHED\n");
      qu_message("         MAXIMUM NUMBER OF DIRECTORIES (%d)\n", std::numeric_limits<std::int32_t>::max());
      name_directory(name);
      return false;
    case placement::failed:
      report_full("DIRECTORY");
      name_directory(name);
      qu_message("         FILE PATH: >>>%s<<<\n\n", store.catalogue_path);
      return false;
  }
  return false;
}

bool qd_delete_directory(const char* name) {
  if (!qd_two_files_available("DIRECTORY DELETION FAILED")) return false;
  path_text path;
  if (!qd_directory_path(name, path)) {
    report_unexpected("DIRECTORY TO BE DELETED", "IS NO MORE");
    name_directory(name);
    return false;
  }
  return remove_with_selections<directory_level>(path, name);
}

// Fatal number: 35 no organisation.
bool qd_create_file(const char* directory, const char* name, std::int64_t organisation,
                    std::int64_t dimension, const qd_grid_record* grid, file_content* content) {
  if (!qd_two_files_available("FILE CREATION FAILED")) return false;
  path_text directory_path, existing_path;
  qd_file_record existing;
  if (!qd_directory_path(directory, directory_path) ||
      qd_find<file_level>(directory_path, name, existing_path, existing) != found::no) {
    report_unexpected("FILE TO BE CREATED", "EXISTS ALREADY, OR ITS DIRECTORY IS NO MORE");
    qd_name_file(directory, name);
    return false;
  }
  if (const name_code code = qd_name_check(name); code != name_code::valid) {
    qu_message("\n WARNING: THE NAME OF THE FILE TO BE CREATED\n");
    qu_message("%s", qd_name_fault(code, named_object::directory_or_file));
    name_directory(directory);
    qu_message("          BAD FILE NAME: >>>%s<<<\n", name);
    return false;
  }
  if (organisation != ORG_POINTS && organisation != ORG_GRID && !is_lines(organisation))
    qu_misuse_number("qd_create_file", 35);

  qd_file_record record = empty_file_record(name, organisation, dimension);
  if (organisation == ORG_GRID && !set_grid(grid != nullptr ? *grid : qd_grid_record(), record)) return false;
  if (content != nullptr && !qd_set_sample_count(content->sample_count, record)) {
    qu_message("CAN'T CREATE FILE.\n");
    return false;
  }
  // As a growth leaves it: a 2D file is read with one node along Z.
  if (record.sample_count > 0 && dimension == 2) record.grid.nz = 1;

  prepared_object folder(directory_path);
  placement placed = placement::failed;
  bool has_changed = false;
  if (folder && write_file_files(folder.path(), record, content)) {
    const folder_lock lock(directory_path);
    if (lock && qd_is_still<directory_level>(directory_path, directory) &&
        qd_find<file_level>(directory_path, name, existing_path, existing) == found::no)
      placed = folder.place(file_numbering);
    else
      has_changed = true;
  }
  if (placed == placement::failed &&
      (has_changed || !qd_is_still<directory_level>(directory_path, directory))) {
    report_unexpected("FILE TO BE CREATED", "EXISTS ALREADY, OR ITS DIRECTORY IS NO MORE");
    qd_name_file(directory, name);
    return false;
  }
  switch (placed) {
    case placement::placed:
      return true;
    case placement::numbers_used_up:
      qu_message("WARNING: ERROR DURING FILE CREATION, DIRECTORY REACHED\n");
      qu_message("         MAXIMUM NUMBER OF FILES (%d)\n", std::numeric_limits<std::int32_t>::max());
      qd_name_file(directory, name);
      return false;
    case placement::failed:
      report_full("FILE");
      qd_name_file(directory, name);
      qu_message("         FILE PATH: >>>%s<<<\n\n", directory_path);
      return false;
  }
  return false;
}

bool qd_delete_file(const char* directory, const char* name) {
  if (!qd_two_files_available("FILE DELETION FAILED")) return false;
  path_text path;
  qd_file_record record;
  if (qd_find_file(directory, name, path, record) != found::yes) {
    report_unexpected("FILE TO BE DELETED", "IS NO MORE");
    qd_name_file(directory, name);
    return false;
  }
  if (!remove_with_selections<file_level>(path, name)) return false;
  // A partner that can't be changed keeps the name of a file that is no more, which does no harm; a refusal
  // now would tell that nothing has been deleted.
  try {
    if (record.link_name[0] != '\0') static_cast<void>(qd_forget_partner(directory, record.link_name, name));
  } catch (const std::bad_alloc&) {
    qu_message("WARNING: THERE IS NOT ENOUGH MEMORY TO FREE THE FILE %s OF ITS LINK", record.link_name);
  }
  return true;
}

}  // namespace qrd

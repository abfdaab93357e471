// Growth of a file by samples. Data files grow in blocks of 512 samples; the columns of a macro variable
// stand at a distance of the sample count, so they are laid out again when that changes.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "samples/qd_data_file.h"
#include "samples/qd_interrupt.h"
#include "samples/qd_lines.h"
#include "samples/qd_macro.h"
#include "samples/qd_read_write.h"
#include "samples/qd_select.h"
#include "store/qd_info.h"
#include "store/qd_walk.h"
#include "util/qu_file.h"
#include "util/qu_list.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

struct growing_variable {
  path_text path;
  std::int64_t bit_length;
  std::int64_t columns;
  bool text;
  bool macro;
  bool implicit;
};

// Bytes by which one more block lengthens the data file.
std::int64_t block_bytes(const growing_variable& variable) {
  return variable.implicit ? 0 : block_samples / 8 * variable.bit_length * variable.columns;
}

void data_path_of(const growing_variable& variable, path_text& path) {
  qu_path_join(path, {variable.path, path_separator, data_file_name});
}

bool read_macro_columns(const char* variable_path, std::int64_t& columns) {
  path_text path;
  qu_path_join(path, {variable_path, path_separator, macro_file_name});
  if (!qu_file_readable(path)) return false;
  macro_descriptor macro(qd_macro_descr_read(variable_path));
  if (macro) columns = macro->slot_count();
  return static_cast<bool>(macro);
}

// Reads each variable's descriptor once, before anything changes: a file with one that can't grow stays
// as it is.
bool read_variables(const char* file_path, std::vector<growing_variable>& variables, bool* has_macro) {
  growing_variable variable = {};
  qd_variable_record record;
  auto add = [&](const qd_variable_record& seen) {
    variable.bit_length = seen.bit_length;
    variable.columns = 1;
    variable.text = seen.type == VAR_CHAR;
    variable.macro = seen.type == VAR_MACRO;
    variable.implicit = seen.implicit != 0;
    bool fits = variable.text
                    ? seen.bit_length >= 8 && seen.bit_length % 8 == 0 && seen.bit_length < missing_int32
                    : is_numeric_bit_length(seen.bit_length);
    if (!fits && !variable.implicit) return true;
    if (variable.macro) {
      *has_macro = true;
      if (!read_macro_columns(variable.path, variable.columns)) return true;
    }
    variables.push_back(variable);
    return false;
  };
  return qd_walk<variable_level>(file_path, variable.path, record, add) == walk_end::all_seen;
}

// The columns of a macro variable are read when they move: a data file that doesn't hold them all stops
// the growth before it has begun.
bool columns_are_there(const growing_variable& variable, std::int64_t samples) {
  if (!variable.macro || variable.implicit || samples == 0 || variable.columns == 0) return true;
  path_text path;
  data_path_of(variable, path);
  struct stat status;
  if (stat(path, &status) != 0) return true;  // compressed, or missed when it is opened
  return status.st_size >= _qd_file_byte_count(1, samples * variable.columns, variable.bit_length);
}

// How much a file grows; the counts are checked so that all positions fit 63 bits.
struct growth {
  std::int64_t samples;    // the new sample count
  std::int64_t blocks;     // blocks that each column gets
  std::int64_t allocated;  // the new capacity
};

bool plan_growth(const qd_file_record& record, std::int64_t samples, growth& plan) {
  if (record.sample_count < 0 || record.allocated_samples < 0) return false;
  if (qu_number_exceeds("%d+%d", {record.sample_count, samples}) != 0) return false;
  plan = {record.sample_count + samples, 0, record.allocated_samples};
  if (plan.samples > record.allocated_samples)
    plan.blocks = (plan.samples - record.allocated_samples - 1) / block_samples + 1;
  if (qu_number_exceeds("%d*%d+%d", {plan.blocks, block_samples, record.allocated_samples}) != 0)
    return false;
  plan.allocated += plan.blocks * block_samples;
  return true;
}

bool sizes_fit(const std::vector<growing_variable>& variables, const growth& plan) {
  for (const growing_variable& variable : variables) {
    if (variable.implicit) continue;
    if (qu_number_exceeds("%d*%d*%d", {plan.allocated / 8, variable.bit_length, variable.columns}) != 0)
      return false;
    if (qu_number_exceeds("%d*%d", {plan.allocated, variable.columns}) != 0) return false;
  }
  return true;
}

// A file system hands out whole blocks: what a file gets may take one more than its bytes tell.
constexpr std::int64_t disk_block = 4096;

// True when all data files lie on disk as such and the file system has room for what they and the line
// table get. So a disk that is full stops a growth before it has begun.
bool ready_to_grow(const char* file_path, const std::vector<growing_variable>& variables,
                   const growth& plan) {
  std::int64_t needed = disk_block;
  for (const growing_variable& variable : variables) {
    std::int64_t added = 0;
    if (variable.implicit || plan.blocks == 0) continue;
    path_text path;
    data_path_of(variable, path);
    if (!qu_file_restore(path)) return false;
    if (__builtin_mul_overflow(plan.blocks, block_bytes(variable), &added) ||
        __builtin_add_overflow(needed, added, &needed) || __builtin_add_overflow(needed, disk_block, &needed))
      return false;
  }
  return qd_file_system_has_room(file_path, needed);
}

// What another server has just deleted doesn't stop the growth of the others.
bool grow_data_file(const growing_variable& variable, const growth& plan) {
  checked_array<unsigned char> block;
  if (!qd_fill_block(variable.bit_length, variable.text, block)) return false;
  path_text path;
  data_path_of(variable, path);
  return st_file_concat(path, block.data(), block.count(), plan.blocks * variable.columns,
                        variable.text ? -1 : variable.bit_length) != 0 ||
         qd_folder_gone(variable.path);
}

bool is_still(const char* file_path, const qd_file_record& record) {
  qd_file_record now;
  return qd_file_descriptor_read(file_path, now) != 0 && std::strcmp(now.name, record.name) == 0 &&
         now.organisation == record.organisation && now.sample_count == record.sample_count &&
         now.allocated_samples == record.allocated_samples;
}

enum class growing { done, failed, file_changed };

// The streams of selected variables have no buffer and see the longer file as it is.
growing grow_files(const char* file_path, const std::vector<growing_variable>& variables, const growth& plan,
                   std::int64_t samples, qd_file_record& record) {
  for (const growing_variable& variable : variables) {
    if (plan.blocks > 0 && !variable.implicit && !grow_data_file(variable, plan)) return growing::failed;
    if (qd_selected_entry* entry = qd_selected_find(variable.path)) entry->sample_count += samples;
  }
  // Another server may have deleted the file, and a new one may have its number, or it has grown meanwhile:
  // what has been added to the data files lies behind all samples then, and the records stay as they are.
  if (!is_still(file_path, record)) return growing::file_changed;
  qd_delete_derived_files(file_path);
  if (is_lines(record.organisation)) {
    if (qd_line_table_append(file_path, record, plan.samples + 1) == 0) return growing::failed;
    ++record.line_count;
  }
  record.allocated_samples = plan.allocated;
  record.sample_count = plan.samples;
  return qd_file_descriptor_write(file_path, record) != 0 ? growing::done : growing::failed;
}

void name_file(const char* directory, const char* file) {
  qu_message("         DIRECTORY NAME: >>>%s<<<\n", directory);
  qu_message("              FILE NAME: >>>%s<<<\n\n", file);
}

void report_full_disk(const char* directory, const char* file) {
  qu_message("WARNING: ERROR DURING SAMPLES CREATION, FILE SYSTEM FULL\n");
  qu_message("         OR WRITE PROTECTED ?\n");
  name_file(directory, file);
}

// Samples of one piece of a move. Any size gives the same bytes.
constexpr std::int64_t piece_samples = 16384;

// A macro variable whose columns are addressed one behind the other, by sample numbers that run over
// all of them.
class macro_columns {
 public:
  macro_columns(const char* directory, const char* file, const char* variable) {
    if (qd_variable_select(directory, file, variable, UNIT_NONE, selected_.handle) == 0) {
      // Another server may have deleted it since it was listed.
      if (qd_variable_test(false, directory, file, variable) == 1) return;
      fail(20);
    }
    qd_selected_entry* entry = qd_entry(selected_.handle.entry);
    macro_descriptor macro(qd_macro_descr_read(entry->variable_path));
    if (!macro && qd_object_gone()) return;
    if (!macro) fail(30);
    if (!piece_.allocate(piece_samples)) fail(40);
    io_.id = qd_set_io(qd_variable_handle{}, 1, &selected_.handle);
    samples_ = entry->sample_count;
    columns_ = entry->implicit != 0 ? 0 : macro->slot_count();
    entry->sample_count = samples_ * columns_;
  }
  macro_columns(const macro_columns&) = delete;
  macro_columns& operator=(const macro_columns&) = delete;
  ~macro_columns() {
    if (io_.id != 0) qd_entry(selected_.handle.entry)->sample_count = samples_;
  }

  // Puts the columns of a file that has got `added` samples at their new distance. From the end to the
  // start: a column's new place never lies before its old one, so nothing is overwritten before it
  // has been moved.
  void spread(std::int64_t added) {
    const std::int64_t old_samples = samples_ - added;
    for (std::int64_t column = columns_ - 1; column >= 0; --column) {
      fill(column * samples_ + old_samples + 1, added);
      if (column > 0) move(column * old_samples + 1, column * samples_ + 1, old_samples);
    }
  }

 private:
  [[noreturn]] static void fail(int number) { qu_fatal_number("qd_append_sample", number); }

  void fill(std::int64_t first, std::int64_t count) {
    std::fill_n(piece_.data(), std::min(count, piece_samples), missing_double);
    for (std::int64_t left = count; left > 0;) {
      std::int64_t samples = std::min(left, piece_samples);
      left -= samples;
      write(first + left, samples, 50);
    }
  }

  void move(std::int64_t from, std::int64_t to, std::int64_t count) {
    for (std::int64_t left = count; left > 0;) {
      std::int64_t samples = std::min(left, piece_samples), given = 0;
      left -= samples;
      std::int64_t first = from + left;
      if (qd_read_float_free(io_.id, SEL_MASKED, first, first + samples - 1, &given, piece_) == 0) fail(55);
      write(to + left, samples, 60);
    }
  }

  void write(std::int64_t first, std::int64_t count, int number) {
    if (qd_write_float_free(io_.id, SEL_MASKED, first, first + count - 1, piece_) == 0) fail(number);
  }

  selected_variable selected_;
  io_record io_;
  checked_array<double> piece_;
  std::int64_t samples_ = 0;
  std::int64_t columns_ = 0;
};

}  // namespace

void qd_delete_derived_files(const char* file_path) {
  for (const char* name : {"RPD", "PTD"}) {
    path_text path;
    qu_path_join(path, {file_path, path_separator, name});
    std::remove(path);
  }
}

// Fatal number 25: grids don't grow.
int st_append_sample(const char* directory, const char* file, std::int64_t samples, bool* has_macro) {
  *has_macro = false;
  if (qu_test_open_file(2) == 0) {
    qu_message("WARNING: TOO MANY FILES OPEN SIMULTANEOUSLY");
    qu_message("         SAMPLES CREATION FAILED...\n");
    return 0;
  }
  path_text path;
  qd_file_record record;
  if (qd_find_file(directory, file, path, record) != LOOKUP_FOUND) return 0;
  if (record.organisation == ORG_GRID) qu_fatal_number("st_append_sample", 25);

  growth plan;
  std::vector<growing_variable> variables;
  bool lines_hold = !is_lines(record.organisation) ||
                    (qd_line_table_holds(path, record) && record.line_count < missing_int32 - 1);
  if (!plan_growth(record, samples, plan) || !lines_hold || !read_variables(path, variables, has_macro)) {
    qu_message("CANNOT APPEND SAMPLES.\n");
    return 0;
  }
  if (!sizes_fit(variables, plan)) {
    qu_message("CANNOT APPEND SAMPLES. FILE WOULD BE TOO BIG.\n");
    return 0;
  }
  auto is_whole = [&](const growing_variable& v) { return columns_are_there(v, record.sample_count); };
  if (!std::all_of(variables.begin(), variables.end(), is_whole)) {
    qu_message("CANNOT APPEND SAMPLES.\n");
    return 0;
  }
  if ((plan.blocks > 0 || is_lines(record.organisation)) && !ready_to_grow(path, variables, plan)) {
    report_full_disk(directory, file);
    return 0;
  }
  growing grown = grow_files(path, variables, plan, samples, record);
  if (grown == growing::failed && qd_folder_gone(path)) grown = growing::file_changed;
  switch (grown) {
    case growing::done:
      return 1;
    case growing::file_changed:
      qu_message("WARNING: CANNOT APPEND SAMPLES, THE FILE IS NO MORE, OR HAS CHANGED\n");
      name_file(directory, file);
      return 0;
    case growing::failed:
      report_full_disk(directory, file);
      qd_remove_object<file_level>(path, file);
      return 0;
  }
  return 0;
}

// Fatal numbers: 10 less than one sample; in the move of macro columns 20 selection, 30 descriptor, 40
// memory, 50 fill, 55 read, 60 write.
int qd_append_sample(const char* directory, const char* file, std::int64_t samples) {
  if (samples < 1) qu_fatal_number("qd_append_sample", 10);
  bool has_macro = false;
  if (st_append_sample(directory, file, samples, &has_macro) == 0) return 0;
  qd_interrupt_add_modif(directory, file, nullptr, nullptr, CHANGE_DESCRIPTION);
  if (!has_macro) return 1;

  string_list macros;
  if (qd_list_variables(directory, file, MASK_MACRO, macros) == 0) return 0;
  for (std::int64_t i = 0; i < macros.count(); ++i) macro_columns(directory, file, macros[i]).spread(samples);
  return 1;
}

}  // namespace qrd

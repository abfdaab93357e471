// Growth of a file by samples. Data files grow in blocks of 512 samples; the columns of a macro variable
// stand at a distance of the sample count, so they are laid out again when that changes. The count in the
// descriptor comes last, when all that it tells of is there.
#include "edit/qd_append.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

#include "catalogue/qd_walk.h"
#include "disk/qd_data_file.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_line_table.h"
#include "disk/qd_macro_table.h"
#include "samples/qd_column_move.h"
#include "samples/qd_variable_table.h"
#include "util/qu_compress.h"
#include "util/qu_critical.h"
#include "util/qu_file.h"
#include "util/qu_lock.h"
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
bool read_variables(const char* file_path, std::vector<growing_variable>& variables) {
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
    if (variable.macro && !read_macro_columns(variable.path, variable.columns)) return true;
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

bool has_its_samples(const char* file_path, const qd_file_record& record) {
  return qd_is_still<file_level>(file_path, record.name, [&record](const qd_file_record& now) {
    return now.organisation == record.organisation && now.sample_count == record.sample_count &&
           now.allocated_samples == record.allocated_samples;
  });
}

// Columns move with every sample, other data files get longer by blocks.
bool must_change(const growing_variable& variable, const growth& plan) {
  if (variable.implicit || variable.columns == 0) return false;
  return variable.macro || plan.blocks > 0;
}

// A file system hands out whole blocks: what a file gets may take one more than its bytes tell.
constexpr std::int64_t disk_block = 4096;

// What a growth needs of the disk, together.
class needed_room {
 public:
  void add(std::int64_t bytes) {
    if (__builtin_add_overflow(bytes_, bytes, &bytes_) || __builtin_add_overflow(bytes_, disk_block, &bytes_))
      too_much_ = true;
  }
  bool is_there(const char* path) const { return !too_much_ && qd_file_system_has_room(path, bytes_); }

 private:
  std::int64_t bytes_ = 0;
  bool too_much_ = false;
};

// The growth of one file. Whatever fails, and unless it comes to its end, the file is as it was before.
class file_growth {
 public:
  enum class ending { done, failed, file_changed };

  // REQUIRES: the lock of the file's folder.
  file_growth(const char* file_path, const qd_file_record& record, const growth& plan,
              const std::vector<growing_variable>& variables, std::optional<std::int64_t> organisation)
      : file_path_(file_path),
        record_(record),
        plan_(plan),
        variables_(variables),
        organisation_(organisation.value_or(record.organisation)),
        move_(file_path, record.sample_count, plan.samples) {}
  file_growth(const file_growth&) = delete;
  file_growth& operator=(const file_growth&) = delete;

  // True if the file system has room for what the growth writes, compressed data files put back included. So
  // a disk that is full stops it before anything is touched.
  bool has_room() const;
  // Puts compressed data files back. No value changes by that.
  bool restore() const;
  // The memory that the growth works with.
  bool reserve();
  ending run(const sample_filler& fill);

 private:
  // Bytes by which a data file gets longer.
  std::int64_t added_bytes(const growing_variable& variable) const {
    return plan_.blocks * block_bytes(variable);
  }
  // Where the capacity of a data file ends, and no sample lies behind.
  std::int64_t capacity_bytes(const growing_variable& variable) const {
    const std::int64_t samples = std::max(record_.allocated_samples, record_.sample_count) * variable.columns;
    return samples == 0 ? 0 : _qd_file_byte_count(1, samples, variable.bit_length);
  }
  bool grow_data_file(const growing_variable& variable);
  bool lay_out(const growing_variable& variable);
  bool grow_data_files();
  bool change_records();
  void count_entries(std::int64_t samples) const;
  void undo() const;

  const char* file_path_;
  qd_file_record record_;
  const growth plan_;
  const std::vector<growing_variable>& variables_;
  const std::int64_t organisation_;  // what the file is when it has grown
  std::vector<growing_data_file> grown_;
  checked_array<unsigned char> piece_;
  std::optional<std::int64_t> table_bytes_;  // of the line table before
  column_move move_;
};

bool file_growth::has_room() const {
  needed_room needed;
  needed.add(0);  // the descriptor
  if (is_lines(record_.organisation)) needed.add(disk_block);
  for (const growing_variable& variable : variables_) {
    if (!must_change(variable, plan_)) continue;
    path_text path;
    data_path_of(variable, path);
    std::int64_t length = 0, to_expand = 0;
    if (!qu_file_measure(path, length, to_expand)) return false;
    needed.add(to_expand);
    needed.add(added_bytes(variable));
    if (variable.macro) needed.add(length);
  }
  return needed.is_there(file_path_);
}

bool file_growth::restore() const {
  return std::all_of(variables_.begin(), variables_.end(), [this](const growing_variable& variable) {
    path_text path;
    data_path_of(variable, path);
    return !must_change(variable, plan_) || qu_file_restore(path);
  });
}

bool file_growth::reserve() {
  std::int64_t room = 0;
  for (const growing_variable& variable : variables_)
    if (must_change(variable, plan_) && !variable.macro)
      room = std::max(room, qd_piece_bytes(block_bytes(variable), plan_.blocks));
  grown_.reserve(variables_.size());
  return piece_.allocate(room) && move_.reserve();
}

bool file_growth::grow_data_file(const growing_variable& variable) {
  checked_array<unsigned char> block;
  path_text path;
  data_path_of(variable, path);
  grown_.emplace_back();
  if (qd_stored_fill_block(variable.bit_length, variable.text, block) &&
      grown_.back().extend(path, capacity_bytes(variable), block, plan_.blocks, piece_))
    return true;
  grown_.pop_back();
  return false;
}

bool file_growth::lay_out(const growing_variable& variable) {
  return move_.lay_out(variable.path, {variable.bit_length, variable.columns, record_.sample_count,
                                       plan_.samples, capacity_bytes(variable), added_bytes(variable)});
}

// What another server has just deleted doesn't stop the growth of the others.
bool file_growth::grow_data_files() {
  return std::all_of(variables_.begin(), variables_.end(), [this](const growing_variable& variable) {
    return !must_change(variable, plan_) || (variable.macro ? lay_out(variable) : grow_data_file(variable)) ||
           qd_folder_gone(variable.path);
  });
}

// The streams of selected variables have no buffer and see the longer file as it is.
void file_growth::count_entries(std::int64_t samples) const {
  for (qd_selected_entry* entry : sample_tables.selected)
    if (entry != nullptr && std::strcmp(entry->file_path, file_path_) == 0) entry->sample_count = samples;
}

// From the change of the columns on to that of the count nothing may be in between.
bool file_growth::change_records() {
  if (is_lines(record_.organisation)) {
    table_bytes_ = qd_line_table_bytes(file_path_);
    if (!table_bytes_ || !qd_line_table_append(file_path_, record_, plan_.samples + 1)) return false;
  }
  qd_file_record grown = record_;
  grown.organisation = organisation_;
  grown.line_count += is_lines(record_.organisation) ? 1 : 0;
  grown.allocated_samples = plan_.allocated;
  grown.sample_count = plan_.samples;
  const critical_step step;
  if (!move_.begin()) return false;
  qd_delete_derived_files(file_path_);
  // The new descriptor may be in place although something failed behind that.
  if (qd_file_descriptor_write(file_path_, grown) != object_state::sound &&
      !has_its_samples(file_path_, grown))
    return false;
  move_.commit();
  return true;
}

void file_growth::undo() const {
  for (const growing_data_file& file : grown_) file.undo();
  if (table_bytes_) qd_line_table_cut(file_path_, *table_bytes_);
}

file_growth::ending file_growth::run(const sample_filler& fill) {
  bool grown = grow_data_files();
  if (grown && fill) {
    count_entries(plan_.samples);
    grown = fill(record_.sample_count + 1, plan_.samples);
  }
  // Programs that don't know the lock may have deleted the file, and a new one may have its number, or they
  // have made it grow: what has been added to the data files lies behind all samples then, and stays.
  const bool same_file = has_its_samples(file_path_, record_);
  if (grown && same_file && change_records()) {
    count_entries(plan_.samples);
    return ending::done;
  }
  count_entries(record_.sample_count);
  if (!has_its_samples(file_path_, record_)) return ending::file_changed;
  undo();
  return ending::failed;
}

void report_refusal(const char* reason, const char* directory, const char* file) {
  qu_message("WARNING: CANNOT APPEND SAMPLES, %s\n", reason);
  qd_name_file(directory, file);
}

void report_changed(const char* directory, const char* file) {
  report_refusal("THE FILE IS NO MORE, OR HAS CHANGED", directory, file);
}

void report_no_room(const qd_file_record& record, const char* directory, const char* file) {
  if (qd_capacity_is_damaged(record)) {
    qd_report_damaged_capacity(directory, file);
    return;
  }
  qu_message("WARNING: ERROR DURING SAMPLES CREATION, FILE SYSTEM FULL\n");
  qu_message("         OR WRITE PROTECTED ?\n");
  qd_name_file(directory, file);
}

}  // namespace

// Fatal number: 10 less than one sample. The number 25 is left out: that a grid has the name is seen under
// the lock, and another server may have made it since the caller's test.
bool qd_append_sample(const char* directory, const char* file, std::int64_t samples,
                      const sample_filler& fill, std::optional<std::int64_t> organisation) {
  if (samples < 1) qu_misuse_number("qd_append_sample", 10);
  if (qu_test_open_file(2) == 0) {
    qu_message("WARNING: TOO MANY FILES OPEN SIMULTANEOUSLY");
    qu_message("         SAMPLES CREATION FAILED...\n");
    return false;
  }
  path_text path;
  qd_file_record record;
  if (qd_find_file(directory, file, path, record) != found::yes) return false;
  const folder_lock lock(path);
  if (!lock) {
    report_refusal("THE FILE IS IN USE BY ANOTHER SERVER, OR IS NO MORE", directory, file);
    return false;
  }
  // Another server may have made it grow before the lock was to be had.
  if (!qd_settle_columns(path) || qd_file_descriptor_read(path, record) != object_state::sound ||
      std::strcmp(record.name, file) != 0 || record.organisation == ORG_GRID ||
      (organisation && !is_lines(record.organisation))) {
    report_changed(directory, file);
    return false;
  }

  growth plan;
  std::vector<growing_variable> variables;
  bool lines_hold = !is_lines(record.organisation) ||
                    (qd_line_table_holds(path, record) && record.line_count < missing_int32 - 1);
  if (!plan_growth(record, samples, plan) || !lines_hold || !read_variables(path, variables)) {
    qu_message("CANNOT APPEND SAMPLES.\n");
    return false;
  }
  if (!sizes_fit(variables, plan)) {
    qu_message("CANNOT APPEND SAMPLES. FILE WOULD BE TOO BIG.\n");
    return false;
  }
  auto is_whole = [&](const growing_variable& v) { return columns_are_there(v, record.sample_count); };
  if (!std::all_of(variables.begin(), variables.end(), is_whole)) {
    qu_message("CANNOT APPEND SAMPLES.\n");
    return false;
  }
  file_growth growing(path, record, plan, variables, organisation);
  if (!growing.has_room() || !growing.restore()) {
    report_no_room(record, directory, file);
    return false;
  }
  if (!growing.reserve()) {
    report_refusal("THERE IS NOT ENOUGH MEMORY", directory, file);
    return false;
  }
  switch (growing.run(fill)) {
    case file_growth::ending::done:
      return true;
    case file_growth::ending::file_changed:
      report_changed(directory, file);
      return false;
    case file_growth::ending::failed:
      report_no_room(record, directory, file);
      return false;
  }
  return false;
}

}  // namespace qrd

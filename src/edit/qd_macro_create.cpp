// Adding indices to a macro variable. New columns go behind the old ones in its data file; until the
// descriptor tells of them they belong to nobody, and the next one who adds some writes over them.
#include "edit/qd_macro_create.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "catalogue/qd_locked_file.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_data_file.h"
#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "samples/qd_column_move.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_variable_table.h"
#include "util/qu_compress.h"
#include "util/qu_file.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr char macro_creation[] = "qd_create_macro_variable_indices";

struct macro_target {
  locked_file file;
  path_text path;
  path_text data_path;
  qd_variable_record variable;
};

// What a call adds. A text is null when none are given.
struct new_indices {
  std::int64_t count;
  const std::int64_t* numbers;
  const char* const* texts;
  const char* text(std::int64_t i) const {
    return texts == nullptr ? nullptr : texts[i] == nullptr ? "" : texts[i];
  }
};

// The list keeps 49 characters of a text.
bool is_kept_text(const char* kept, const char* given) {
  return std::strncmp(kept, given, name_size - 1) == 0;
}

std::size_t slot_number(std::int64_t slot) {
  return static_cast<std::size_t>(slot);
}

// Where each index from 1 on has its slot: the slot plus 1 of a valid index, minus that of a retired
// one, or 0. Macro variables may have many thousand columns.
class slot_table {
 public:
  explicit slot_table(const qd_macro_descr& macro) : slots_(slot_number(macro_index_maximum) + 1) {
    for (std::int64_t slot = macro.slot_count() - 1; slot >= 0; --slot) {
      std::int64_t index = macro.indices[slot_number(slot)];
      if (index > 0) slots_[slot_number(index)] = slot + 1;
      if (index < 0 && !is_valid(-index)) slots_[slot_number(-index)] = -(slot + 1);
    }
  }
  bool is_valid(std::int64_t index) const { return slots_[slot_number(index)] > 0; }
  bool is_known(std::int64_t index) const { return slots_[slot_number(index)] != 0; }
  // The slot of a valid or retired index, or -1.
  std::int64_t slot(std::int64_t index) const { return std::abs(slots_[slot_number(index)]) - 1; }

 private:
  std::vector<std::int64_t> slots_;
};

// The file stays locked, so that no other server adds samples or indices meanwhile.
macro_growth find_target(const char* directory, const char* file, const char* variable,
                         macro_target& target) {
  if (target.file.open(directory, file) != found::yes || !qd_settle_columns(target.file.path) ||
      qd_file_descriptor_read(target.file.path, target.file.record) != object_state::sound ||
      qd_find<variable_level>(target.file.path, variable, target.path, target.variable) != found::yes ||
      target.variable.type != VAR_MACRO)
    return macro_growth::gone;
  qu_path_join(target.data_path, {target.path, path_separator, data_file_name});

  // Selecting the variable once puts a compressed data file back.
  selected_variable selected;
  if (qd_variable_select(directory, file, variable, UNIT_NONE, selected.handle)) return macro_growth::done;
  return qd_folder_gone(target.path) ? macro_growth::gone : macro_growth::refused;
}

bool check_arguments(const new_indices& added) {
  std::vector<bool> seen(slot_number(macro_index_maximum) + 1);
  for (std::int64_t i = 0; i < added.count; ++i) {
    if (added.numbers[i] < 1 || added.numbers[i] > macro_index_maximum)
      qu_misuse("%s: Bad Indice (1<i<%" PRId64 ")", macro_creation, macro_index_maximum);
    auto number = seen[slot_number(added.numbers[i])];
    if (number) qu_misuse("%s: 2 equal indices...", macro_creation);
    number = true;
  }
  for (std::int64_t i = 0; added.texts != nullptr && i < added.count; ++i)
    if (!qd_macro_alpha_check(added.text(i))) return false;
  return true;
}

// The rank of the first new index that isn't there yet; before it, that of the first one whose text
// differs from the given one goes to `conflict` (else -1).
std::int64_t first_missing(const qd_macro_descr& macro, const slot_table& slots, const new_indices& added,
                           std::int64_t& conflict) {
  conflict = -1;
  bool compare = added.texts != nullptr && macro.alpha_indices.get() != nullptr;
  std::int64_t i = 0;
  for (; i < added.count && slots.is_valid(added.numbers[i]); ++i) {
    if (compare && conflict < 0 &&
        !is_kept_text(macro.alpha_indices[slots.slot(added.numbers[i])], added.text(i)))
      conflict = i;
  }
  return i;
}

// The texts of the new descriptor, or none when neither the old one nor the call has any.
std::vector<std::string> initial_texts(const qd_macro_descr& old, const new_indices& added,
                                       std::size_t slots) {
  bool had_texts = old.alpha_indices.get() != nullptr;
  std::vector<std::string> texts;
  if (!had_texts && added.texts == nullptr) return texts;
  for (std::int64_t slot = 0; slot < old.slot_count(); ++slot)
    texts.push_back(had_texts ? old.alpha_indices[slot]
                              : std::to_string(std::abs(old.indices[slot_number(slot)])));
  texts.resize(slots);
  return texts;
}

// The new descriptor: known numbers take their slot back, the others get a free one or one behind.
void merge(const qd_macro_descr& old, const slot_table& known, const new_indices& added,
           qd_macro_descr& merged, std::vector<std::string>& texts) {
  auto free_slots = std::count(old.indices.begin(), old.indices.end(), 0);
  std::int64_t missing = 0;
  for (std::int64_t i = 0; i < added.count; ++i) missing += known.is_known(added.numbers[i]) ? 0 : 1;

  merged.indices = old.indices;
  merged.indices.resize(merged.indices.size() + slot_number(missing - std::min(missing, free_slots)));
  texts = initial_texts(old, added, merged.indices.size());
  auto next_free = merged.indices.begin();
  for (std::int64_t i = 0; i < added.count; ++i) {
    std::int64_t number = added.numbers[i], slot = known.slot(number);
    bool was_valid = known.is_valid(number);
    if (slot < 0) {
      next_free = std::find(next_free, merged.indices.end(), 0);
      if (next_free == merged.indices.end()) qu_misuse("%s: Impossible creation...", macro_creation);
      slot = next_free - merged.indices.begin();
    }
    merged.indices[slot_number(slot)] = number;
    if (texts.empty()) continue;
    if (const char* text = added.text(i))
      texts[slot_number(slot)].assign(text, strnlen(text, name_size - 1));
    else if (!was_valid)
      texts[slot_number(slot)] = std::to_string(number);
  }
}

bool texts_are_distinct(std::vector<std::string> texts, const char* variable) {
  std::sort(texts.begin(), texts.end());
  auto twin = std::adjacent_find(texts.begin(), texts.end());
  if (twin == texts.end()) return true;
  qu_message("Indice named %s in macro %s already exists", twin->c_str(), variable);
  return false;
}

void report_full_disk(const char* directory, const char* file, const char* variable, const char* path) {
  qu_message("WARNING: ERROR DURING VARIABLE CREATION, FILE SYSTEM FULL\n");
  qu_message("         OR WRITE PROTECTED ?\n");
  qd_name_file(directory, file);
  qu_message("          VARIABLE NAME: >>>%s<<<\n\n", variable);
  qu_message("       FILE PATH: >>>%s<<<\n\n", path);
}

// False if it can't be written, or another server has deleted it.
bool can_open_data_file(const macro_target& target) {
  if (!qu_file_restore(target.data_path)) return false;
  if (!file_stream(qu_file_open_n(target.data_path, append_binary))) {
    if (!qd_folder_gone(target.path)) qu_message("%s: DATAVAR open failed...", macro_creation);
    return false;
  }
  if (qd_selected_find(target.path) != nullptr)
    qu_misuse("%s: Macro Variable already selected", macro_creation);
  return true;
}

// Bytes that the longer descriptor takes at most, and a block for each of the two files.
std::int64_t descriptor_room(const qd_macro_descr& merged, std::size_t texts) {
  constexpr std::size_t head = 12, index_size = 4, text_size = 56, disk_blocks = 2 * 4096;
  return static_cast<std::int64_t>(head + merged.indices.size() * index_size + texts * text_size +
                                   disk_blocks);
}

// Puts the new columns behind those that the old descriptor tells of. False when there is no room, also not
// for so many bytes beside them, or a write failed: the data file is as it was.
bool add_columns(const macro_target& target, std::int64_t columns, std::int64_t added,
                 std::int64_t bytes_beside, growing_data_file& grown) {
  const std::int64_t bits = target.variable.bit_length, capacity = target.file.record.allocated_samples;
  const bool grows = added > 0 && capacity > 0;
  if (grows && !is_numeric_bit_length(bits)) qu_misuse("%s: Impossible case...", macro_creation);
  std::int64_t blocks = 0, bytes = 0, samples = 0;
  if (grows &&
      (__builtin_mul_overflow(capacity / block_samples, added, &blocks) ||
       __builtin_mul_overflow(blocks, block_samples / 8 * bits, &bytes) ||
       __builtin_mul_overflow(std::max(capacity, target.file.record.sample_count), columns * bits, &samples)))
    return false;
  if (__builtin_add_overflow(bytes, bytes_beside, &bytes) || !qd_file_system_has_room(target.path, bytes))
    return false;
  if (!grows || blocks == 0) return true;
  checked_array<unsigned char> block, piece;
  return qd_stored_fill_block(bits, false, block) && piece.allocate(qd_piece_bytes(block.count(), blocks)) &&
         grown.extend(target.data_path, samples / 8 + (samples % 8 != 0 ? 1 : 0), block, blocks, piece);
}

// The new descriptor may be in place although something failed behind that.
bool write_descriptor(const macro_target& target, const qd_macro_descr& merged) {
  if (qd_macro_descr_write(target.path, merged) == object_state::sound) return true;
  const macro_descriptor now(qd_macro_descr_read(target.path));
  return now && now->indices == merged.indices && now->alpha_indices.count() == merged.alpha_indices.count();
}

}  // namespace

macro_growth qd_create_macro_variable_indices(const char* directory, const char* file, const char* variable,
                                              std::int64_t count, const std::int64_t* indices,
                                              const char* const* alpha, std::string* refusal) {
  const auto not_written = [&] {
    if (refusal != nullptr)
      *refusal = std::string("Problem while writing ") + directory + "/" + file + "/" + variable;
    return macro_growth::refused;
  };
  if (!qd_two_files_available("VARIABLE CREATION FAILED")) return not_written();
  macro_target target;
  const macro_growth looked = find_target(directory, file, variable, target);
  if (looked == macro_growth::refused) return not_written();
  if (looked != macro_growth::done) return looked;
  macro_descriptor old(qd_macro_descr_read(target.path));
  if (!old) return macro_growth::gone;

  const new_indices added{count, indices, alpha};
  if (!check_arguments(added)) return macro_growth::refused;
  const slot_table known(*old);
  std::int64_t conflict = -1;
  std::int64_t missing = first_missing(*old, known, added, conflict);
  if (conflict >= 0) {
    const std::string text = "trying to create an existing numerical index (" +
                             std::to_string(indices[conflict]) + ") with different alpha index (" +
                             old->alpha_indices[known.slot(indices[conflict])] +
                             " != " + added.text(conflict) + ")";
    if (refusal == nullptr) qu_misuse("%s : %s", macro_creation, text.c_str());
    *refusal = macro_creation + (" : " + text);
    return macro_growth::refused;
  }
  if (missing == count && (alpha != nullptr) == (old->alpha_indices.get() != nullptr))
    return macro_growth::done;

  qd_macro_descr merged;
  std::vector<std::string> texts;
  merge(*old, known, added, merged, texts);
  if (!texts_are_distinct(texts, variable)) return macro_growth::refused;
  for (const std::string& text : texts) merged.alpha_indices.add(text.c_str(), name_size);

  if (!can_open_data_file(target)) return macro_growth::gone;
  growing_data_file grown;
  const std::int64_t columns = old->slot_count();
  if (add_columns(target, columns, merged.slot_count() - columns, descriptor_room(merged, texts.size()),
                  grown)) {
    if (write_descriptor(target, merged)) return macro_growth::done;
    grown.undo();
  }
  if (qd_folder_gone(target.path)) return macro_growth::gone;
  if (qd_capacity_is_damaged(target.file.record))
    qd_report_damaged_capacity(directory, file);
  else
    report_full_disk(directory, file, variable, target.path);
  return not_written();
}

}  // namespace qrd

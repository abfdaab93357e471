// Making a text variable of a linked points file the one that names the lines.
#include "edit/qd_line_name.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <string_view>

#include "catalogue/qd_info.h"
#include "catalogue/qd_locked_file.h"
#include "catalogue/qd_path.h"
#include "disk/qd_descriptor_changes.h"
#include "disk/qd_variable_descriptor.h"
#include "edit/qd_link.h"
#include "samples/qd_io.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_read_write.h"
#include "samples/qd_read_write_char.h"
#include "samples/qd_reported_check.h"
#include "samples/qd_variable_table.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// Names may be as wide as a variable: they are compared where they stand in the array of all samples.
struct line_name {
  std::string_view text;  // without the blanks at both ends
  std::int64_t sample;
};

// Reports the first sample without a name or with the name of an earlier one. False if there is one.
// The names are put in another order.
bool names_are_distinct(checked_array<line_name>& names) {
  std::int64_t blank = 0;
  for (std::int64_t i = names.count(); i > 0; --i)
    if (names[i - 1].text.empty()) blank = i;

  std::sort(names.begin(), names.end(), [](const line_name& a, const line_name& b) {
    int order = a.text.compare(b.text);
    return order != 0 ? order < 0 : a.sample < b.sample;
  });
  const line_name *first = nullptr, *second = nullptr;
  for (std::int64_t i = 1; i < names.count(); ++i) {
    if (names[i].text != names[i - 1].text) continue;
    if (second == nullptr || names[i].sample < second->sample) {
      first = &names[i - 1];
      second = &names[i];
    }
  }
  if (blank != 0 && (second == nullptr || blank <= second->sample)) {
    qu_message("Sample #%" PRId64 " in the Line Name Variable is not define.\n", blank);
    return false;
  }
  if (second == nullptr) return true;
  qu_message("Sample #%" PRId64 " and Sample #%" PRId64 " in the Line Name Variable are the same (%.*s).\n",
             first->sample, second->sample, static_cast<int>(std::min<std::size_t>(first->text.size(), 1000)),
             first->text.data());
  return false;
}

// True if all samples name their line.
bool check_names(const char* directory, const char* file, const char* variable) {
  selected_variable selected;
  if (!qd_variable_select(directory, file, variable, UNIT_NONE, selected.handle)) return false;
  const qd_selected_entry& entry = *sample_tables.selected[selected.handle.entry - 1];
  std::int64_t count = entry.sample_count, width = entry.bytes_per_sample, bytes = 0;
  if (entry.implicit != 0 || count < 0 || width < 1 || __builtin_mul_overflow(count, width, &bytes))
    return false;

  checked_array<char> texts;
  checked_array<line_name> names;
  if (!texts.allocate(bytes) || !names.allocate(count)) return false;
  io_record io;
  io.id = qd_set_io(qd_variable_handle{}, 1, &selected.handle);
  for (std::int64_t first = 1; first <= count; first += samples_chunk) {
    std::int64_t last = std::min(count, first + samples_chunk - 1), given = 0;
    const auto place = qd_text_bytes(texts).subspan(static_cast<std::size_t>((first - 1) * width));
    if (!qd_read_char_free(io.id, SEL_MASKED, first, last, &given, place)) return false;
  }
  for (std::int64_t i = 0; i < count; ++i) {
    const char* text = texts.data() + i * width;
    names[i] = {qu_trimmed({text, strnlen(text, static_cast<std::size_t>(width))}), i + 1};
  }
  return names_are_distinct(names);
}

bool read_variable(const char* directory, const char* file, const char* variable, path_text& path,
                   qd_variable_record& record) {
  return qd_variable_path(directory, file, variable, path) &&
         qd_variable_descriptor_read(path, record) == object_state::sound;
}

// Gives a text variable the role of the former one, in one change.
bool take_role(const char* directory, const char* file, const char* variable) {
  name_text former_name;
  const found former = qd_special_var_name(directory, file, KIND_LINE_NAME, former_name);
  if (former != found::yes && former != found::no) return false;
  path_text path;
  qd_variable_record record;
  descriptor_changes changes;
  if (former == found::yes && std::strcmp(former_name, variable) != 0) {
    if (!read_variable(directory, file, former_name, path, record)) return false;
    record.kind = KIND_PLAIN;
    if (!changes.add(path, record)) return false;
  }
  if (!read_variable(directory, file, variable, path, record) || record.type != VAR_CHAR) return false;
  record.kind = KIND_LINE_NAME;
  return changes.add(path, record) && changes.commit();
}

}  // namespace

bool qd_var_as_line_name(const char* directory, const char* file, const char* variable) {
  qd_file_info info;
  if (!qd_info_file(directory, file, info, nullptr)) return false;
  if (info.organisation != ORG_POINTS) {
    qu_message("You can only modify an Alphanumerical variable into Line Name Variable of a Points file\n");
    return false;
  }
  if (!qd_check_variable(CLASS_CHAR, directory, file, no_name, variable, nullptr, nullptr)) {
    qu_message("You can only modify an Alphanumerical variable into Line Name Variable.\n");
    return false;
  }
  name_text partner;
  if (qd_get_link(directory, file, partner) != found::yes) {
    qu_message("You cannot have a Line Name variable in a not linked Points file.");
    return false;
  }

  locked_file target;
  path_text path;
  qd_variable_record record;
  if (target.open(directory, file) != found::yes || !read_variable(directory, file, variable, path, record))
    return false;
  if (record.type != VAR_CHAR) {
    qu_message("The new Line Name variable must be an Alphanumerical Variable.\n");
    return false;
  }
  if (!check_names(directory, file, variable)) return false;
  if (take_role(directory, file, variable)) return true;
  qu_message("Impossible to write the variable descriptor");
  return false;
}

}  // namespace qrd

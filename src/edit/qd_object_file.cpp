#include "edit/qd_object_file.h"

#include <algorithm>
#include <cstring>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "edit/qd_manage.h"
#include "samples/qd_io.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_read_write.h"
#include "samples/qd_read_write_char.h"
#include "samples/qd_variable_table.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

std::size_t name_width(const object_samples& samples) {
  std::size_t width = 1;
  for (const std::string& name : samples.names) width = std::max(width, name.size());
  return width;
}

std::string padded_names(const object_samples& samples, std::size_t width) {
  std::string block(width * samples.names.size(), ' ');
  for (std::size_t i = 0; i < samples.names.size(); ++i)
    samples.names[i].copy(block.data() + i * width, width);
  return block;
}

}  // namespace

bool qd_object_file_new(const char* directory, const char* file, const object_variables& variables,
                        const object_samples& samples,
                        const std::function<bool(const char* folder)>& companion) {
  if (qd_directory_test(directory) == found::no && !qd_create_directory(directory)) return false;
  const std::size_t count = samples.names.size();
  file_content content;
  content.sample_count = static_cast<std::int64_t>(count);
  content.companions = companion;
  const std::size_t width = name_width(samples);
  const std::string names = padded_names(samples, width);
  if (count > 0) {
    std::span<const double> centers = samples.centers;
    for (const object_coordinate& each : variables.coordinates) {
      content.variables.push_back(
          {.variable = each.variable, .format = each.format, .numbers = centers.first(count)});
      centers = centers.subspan(count);
    }
    content.variables.push_back({.variable = {object_name_variable, KIND_PLAIN},
                                 .width = static_cast<std::int64_t>(width),
                                 .texts = names});
    content.variables.push_back({.variable = {variables.measure, KIND_PLAIN},
                                 .format = &variables.measure_format,
                                 .numbers = samples.measures});
  }
  const auto dimension = static_cast<std::int64_t>(variables.coordinates.size());
  return qd_create_file(directory, file, ORG_POINTS, dimension, nullptr, &content);
}

std::optional<object_name_set> qd_selected_object_names(const char* directory, const char* file,
                                                        const char* selection, const char* name_variable) {
  qd_var_info info;
  qd_variable_place place;
  selected_variable mask, names;
  if (qd_free_entries() < 2 || !qd_selection_select(directory, file, selection, mask.handle) ||
      qd_variable_query(false, directory, file, name_variable, info, nullptr, &place) != found::yes ||
      !qd_variable_select_at(place, directory, file, name_variable, UNIT_NONE, names.handle) ||
      !qd_can_be_bound(mask.handle, names.handle))
    return {};
  // The sizes are those of the entry that is read: the catalogue may have told others a moment ago.
  const qd_selected_entry& entry = *qd_entry(names.handle.entry);
  if (entry.type != VAR_CHAR || entry.implicit != 0) return {};
  if (entry.sample_count < 1) return object_name_set{};
  const std::int64_t width = entry.bytes_per_sample;
  std::int64_t bytes = 0;
  checked_array<unsigned char> block;
  if (width < 1 || __builtin_mul_overflow(entry.sample_count, width, &bytes) || !block.allocate(bytes))
    return {};
  io_record io;
  io.id = qd_set_io(mask.handle, 1, &names.handle);
  std::int64_t count = 0;
  if (!qd_read_char_free(io.id, SEL_COMPRESSED, 1, entry.sample_count, &count, block)) return {};
  object_name_set names_kept;
  for (std::int64_t i = 0; i < count; ++i) {
    const char* text = reinterpret_cast<const char*>(block.data()) + i * width;
    names_kept.emplace(qu_trimmed({text, strnlen(text, static_cast<std::size_t>(width))}));
  }
  return names_kept;
}

selection_state qd_object_selection_state(const char* kind, const found_file& file, const char* selection) {
  if (std::strcmp(selection, no_name) == 0) return selection_state::ignored;
  path_text path;
  qd_variable_record record;
  const found test = qd_tested(qd_look_for_variable(true, file.folder, selection, path, record));
  if (test != found::no) return test == found::yes ? selection_state::usable : selection_state::unknown;
  qu_message("WARNING: The selection %s doesn't exist in %s File %s / %s.", selection, kind, file.directory,
             file.name);
  qu_message("-------  Selection will be ignored.");
  return selection_state::ignored;
}

}  // namespace qrd

// The header of a lines file, and the lengths of its lines.
#include <cinttypes>
#include <vector>

#include "catalogue/qd_lines.h"
#include "catalogue/qd_walk.h"
#include "edit/qd_link.h"
#include "requests/context.h"
#include "requests/file_creation.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

namespace {

// The record of a file of the current directory. False after a refusal.
bool find_file(const char* name, qd_file_record& record) {
  const server_context& context = current_context;
  path_text path;
  switch (qd_find_file(context.directory, name, path, record)) {
    case found::yes:
      return true;
    case found::no:
      return refuse("Line File %s: %s/%s does not exist", context.study, context.directory, name);
    case found::unclear:
    case found::unreadable:
      break;
  }
  return refuse("Cannot open files");
}

}  // namespace

// CLFILELNK: makes a points file with one sample per line the header of the current lines file.
request_status server_answer_lines_file_create_link(const char* /*request*/) {
  request_text points_name;
  if (!read_arguments(points_name)) return not_served;
  const server_context& context = current_context;
  if (!is_set(context.directory) || !is_set(context.file)) return refuse("Directory or File is not set");

  qd_file_record lines, points;
  if (!find_file(context.file, lines) || !find_file(points_name.c_str(), points)) return not_served;
  if (points.organisation != ORG_POINTS)
    return refuse("Linked file should be a points file %s: %s/%s", context.study, context.directory,
                  points_name.c_str());
  if (!is_lines(lines.organisation) || lines.line_count != points.sample_count)
    return refuse("Cannot link this Lines file (%" PRId64 " lines) with this %" PRId64 " samples Points file",
                  lines.line_count, points.sample_count);

  server_debug(1, "Linking %s to %s", context.file, points_name.c_str());
  if (qd_create_link(context.directory, context.file, points_name.c_str())) return answer();
  // Another server has deleted one of them meanwhile, or the former links can't be ended.
  if (!find_file(context.file, lines) || !find_file(points_name.c_str(), points)) return not_served;
  return refuse("Cannot delete previous link of %s: %s/%s", context.study, context.directory,
                points_name.c_str());
}

// CLFILECNT: the number of samples of each line.
request_status server_answer_lines_file_samples_count(const char* /*request*/) {
  const server_context& context = current_context;
  path_text path;
  qd_file_record record;
  if (!is_set(context.file)) return refuse("File is not set");
  if (!current_file(path, record)) return refuse("Error while getting file information");
  if (!is_lines(record.organisation)) return refuse("Current file is not a lines file");

  std::vector<std::int64_t> counts;
  const found counted = qd_samples_per_line(context.directory, context.file, counts);
  // Clients get no answer when too many files are open.
  if (counted == found::unclear) return not_served;
  if (counted != found::yes) return refuse("Error while getting file information");
  const auto lines = static_cast<std::int64_t>(counts.size());
  checked_array<std::int32_t> lengths;
  if (!lengths.allocate(lines))
    return clean_and_refuse("Memory allocation failed (%" PRId64 " bytes)",
                            lines * static_cast<std::int64_t>(sizeof(std::int32_t)));
  for (std::int64_t i = 0; i < lines; ++i)
    lengths[i] = static_cast<std::int32_t>(counts[static_cast<std::size_t>(i)]);
  return answer(wire_int{static_cast<std::int32_t>(lines)}, wire_ints{lengths.data(), lines});
}

}  // namespace qrd

// Lines files: creation, and more lines, as points or as core segments.
#include <optional>

#include "catalogue/qd_locked_file.h"
#include "catalogue/qd_name.h"
#include "edit/qd_append.h"
#include "edit/qd_coordinates.h"
#include "edit/qd_link.h"
#include "edit/qd_manage.h"
#include "requests/context.h"
#include "requests/file_creation.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

namespace {

struct lines_target {
  path_text path;
  qd_file_record file;
};

refused refuse_samples(std::int32_t samples) {
  return refuse("Cannot append %d samples to file. No space left ?", samples);
}

// The current file, which must be a lines file that can take a line of that kind. False after a refusal.
bool find_lines(std::int32_t samples, std::int32_t dimension, bool cores_too, lines_target& target) {
  if (!is_set(current_context.file)) return refuse("File is not set");
  if (!current_file(target.path, target.file)) return refuse("Cannot get file info");
  if (target.file.organisation != ORG_LINES_GRAVITY &&
      !(cores_too && target.file.organisation == ORG_LINES_CORES))
    return refuse("Current file is not a lines file");
  if (!is_file_dimension(dimension) || target.file.dimension != dimension)
    return refuse("Current file dimension (%d) doesn't match append information (%dD)",
                  static_cast<int>(target.file.dimension), dimension);
  if (samples < 1) return refuse_samples(samples);
  return true;
}

// A header of one sample per line stops matching when a line comes. False after a refusal.
bool can_drop_link(const qd_file_record& file) {
  if (file.link_name[0] == '\0' || qd_link_can_be_deleted(current_context.directory, current_context.file))
    return true;
  return refuse(cannot_delete_link);
}

refused refuse_selection(coordinate_variables::status failed, const coordinate_variables& coordinates) {
  const server_context& context = current_context;
  switch (failed) {
    case coordinate_variables::status::not_selected:
      return refuse("Cannot select variable %s/%s/%s", context.directory, context.file, coordinates.name());
    case coordinate_variables::status::not_bound:
      return refuse("Canot set io for coordinates variables of %s/%s", context.directory, context.file);
    default:
      return refuse("Cannot retrieve coordinate %d variable name in file%s/%s",
                    static_cast<int>(coordinates.position() + 1), context.directory, context.file);
  }
}

enum class line_addition { done, no_room, no_values };

// One line more, with the values of its samples variable by variable; by that the file may become one of
// another organisation.
line_addition add_line(const coordinate_variables& coordinates, const qd_file_record& file,
                       std::int32_t samples, checked_array<double>& values,
                       std::optional<std::int64_t> organisation = std::nullopt) {
  const server_context& context = current_context;
  bool written = true;
  const auto fill = [&](std::int64_t first, std::int64_t last) {
    return written = coordinates.write(first, last, values) != 0;
  };
  if (!qd_append_sample(context.directory, context.file, samples, fill, organisation))
    return written ? line_addition::no_room : line_addition::no_values;
  // A failure now is only told on the console: a client that is refused adds its line again.
  if (file.link_name[0] != '\0') static_cast<void>(qd_delete_link(context.directory, context.file, true));
  return line_addition::done;
}

request_status answer_addition(line_addition result, std::int32_t samples) {
  switch (result) {
    case line_addition::done:
      return answer();
    case line_addition::no_values:
      return refuse("Problem while reading coordinates of %s/%s", current_context.directory,
                    current_context.file);
    default:
      return refuse_samples(samples);
  }
}

// Fills the centres and the begins of segments in front of their ends, which stand in the last third. Each
// begins where the one before ends.
void complete_segments(const double (&start)[3], std::int32_t dimension, std::int64_t samples,
                       double* values) {
  for (std::int64_t axis = 0; axis < dimension; ++axis) {
    double* centre = values + axis * samples;
    double* begin = centre + dimension * samples;
    const double* end = begin + dimension * samples;
    double previous = start[axis];
    for (std::int64_t i = 0; i < samples; ++i) {
      begin[i] = previous;
      centre[i] = (end[i] + begin[i]) * 0.5;
      previous = end[i];
    }
  }
}

// The variables of the segments come with the first of them. False after a refusal.
bool prepare_cores(const lines_target& target, locked_file& locked, prepared_coordinates& segments) {
  const server_context& context = current_context;
  if (target.file.organisation == ORG_LINES_CORES) return true;
  if (locked.open(context.directory, context.file) != found::yes) return refuse("Cannot get file descriptor");
  if (locked.record.organisation != ORG_LINES_GRAVITY || locked.record.sample_count != 0) return true;
  const char* failed = segments.create(context.directory, context.file, locked, {core_begins, core_ends},
                                       target.file.dimension);
  if (failed == nullptr) return true;
  segments.settle();
  return refuse(cannot_create_variable, context.study, context.directory, context.file, failed);
}

}  // namespace

// CLFILENEW: makes a lines file without lines.
request_status server_answer_lines_file_new(const char* /*request*/) {
  request_text name;
  std::int32_t dimension = 0;
  if (!read_arguments(name, dimension)) return not_served;
  if (!is_file_dimension(dimension)) return refuse(unknown_dimension, dimension);
  if (!may_create_file(name.c_str())) return not_served;

  const server_context& context = current_context;
  server_debug(1, "Creating File: \"%s\".", name.c_str());
  file_content content;
  content.variables = qd_axis_content(gravity_centers, dimension, {});
  if (!qd_create_file(context.directory, name.c_str(), ORG_LINES_GRAVITY, dimension, nullptr, &content))
    return refuse(cannot_create_file, context.study, context.directory, name.c_str());
  return answer();
}

// CLFILEAPP: adds a line of points.
request_status server_answer_lines_file_append(const char* /*request*/) {
  std::int32_t samples = 0, dimension = 0;
  checked_array<double> values;
  if (!read_arguments(samples, dimension)) return not_served;
  if (!read_coordinates(samples, dimension, 1, values)) return not_served;

  lines_target target;
  coordinate_variables coordinates;
  if (!find_lines(samples, dimension, false, target)) return not_served;
  const auto selected =
      coordinates.select(current_context.directory, current_context.file, {gravity_centers}, dimension);
  if (selected != coordinate_variables::status::done) return refuse_selection(selected, coordinates);
  if (!can_drop_link(target.file)) return not_served;
  server_debug(1, "Appending line to file: \"%s\".", current_context.file);
  return answer_addition(add_line(coordinates, target.file, samples, values), samples);
}

// CLFILEAPC: adds a line of core segments, given by where the first begins and where each ends.
request_status server_answer_lines_file_append_cores(const char* /*request*/) {
  std::int32_t samples = 0, dimension = 0;
  double start[3] = {};
  checked_array<double> values;
  if (!read_arguments(samples, dimension, start[0], start[1])) return not_served;
  if (dimension == 3 && !read_arguments(start[2])) return not_served;
  if (!read_coordinates(samples, dimension, 3, values)) return not_served;

  lines_target target;
  if (!find_lines(samples, dimension, true, target) || !can_drop_link(target.file)) return not_served;
  locked_file locked;
  prepared_coordinates segments;
  coordinate_variables coordinates;
  if (!prepare_cores(target, locked, segments)) return not_served;
  const auto selected = coordinates.select(current_context.directory, current_context.file,
                                           {gravity_centers, core_begins, core_ends}, dimension);
  if (selected != coordinate_variables::status::done) {
    segments.settle();
    return refuse_selection(selected, coordinates);
  }
  complete_segments(start, dimension, samples, values.data());
  const line_addition result = add_line(coordinates, target.file, samples, values, ORG_LINES_CORES);
  segments.settle();
  return answer_addition(result, samples);
}

}  // namespace qrd

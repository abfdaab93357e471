// Points files: creation with coordinates, and more points.
#include <cinttypes>

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

refused refuse_samples(std::int64_t samples, const char* file) {
  return refuse("Cannot add %" PRId64 " samples to file %s: %s/%s", samples, current_context.study,
                current_context.directory, file);
}

refused refuse_selection(coordinate_variables::status status, const coordinate_variables& coordinates,
                         const char* file) {
  if (status == coordinate_variables::status::not_bound)
    return refuse("Error setting io entry for coordinates variables");
  return refuse("Error selecting variable %s: %s/%s/%s", current_context.study, current_context.directory,
                file, coordinates.name());
}

// The new samples of a file, behind those that it has. False after a refusal.
bool add_points(const coordinate_variables& coordinates, const char* file, std::int64_t samples,
                checked_array<double>& values) {
  const char* directory = current_context.directory;
  bool written = true;
  const auto fill = [&](std::int64_t first, std::int64_t last) {
    return written = coordinates.write(first, last, values) != 0;
  };
  if (qd_append_sample(directory, file, samples, fill)) return true;
  if (written) return refuse_samples(samples, file);
  return refuse("Problem while writing coordinates for %s/%s", directory, file);
}

}  // namespace

// CPFILENEW: makes a points file with its coordinates.
request_status server_answer_points_file_new(const char* /*request*/) {
  request_text name;
  std::int64_t samples = 0;
  std::int32_t dimension = 0;
  checked_array<double> values;
  if (!read_arguments(name, samples, dimension)) return not_served;
  if (!read_coordinates(samples, dimension, 1, values)) return not_served;
  if (!is_file_dimension(dimension)) return refuse(unknown_dimension, dimension);
  if (!may_create_file(name.c_str())) return not_served;
  if (samples < 1 && qd_name_check(name.c_str()) == name_code::valid)
    return refuse_samples(samples, name.c_str());

  server_debug(1, "Creating File: \"%s\".", name.c_str());
  const server_context& context = current_context;
  file_content content;
  content.sample_count = samples;
  content.variables = qd_axis_content(gravity_centers, dimension, values);
  if (qd_create_file(context.directory, name.c_str(), ORG_POINTS, dimension, nullptr, &content))
    return answer();
  if (content.samples_failed) return refuse_samples(samples, name.c_str());
  return refuse(cannot_create_file, context.study, context.directory, name.c_str());
}

// CPFILEAPP: adds points to the current file. Its header role for a lines file ends by that.
request_status server_answer_points_file_append(const char* /*request*/) {
  std::int64_t samples = 0;
  std::int32_t dimension = 0;
  checked_array<double> values;
  if (!read_arguments(samples, dimension)) return not_served;
  if (!read_coordinates(samples, dimension, 1, values)) return not_served;

  const server_context& context = current_context;
  path_text path;
  qd_file_record record;
  if (!is_set(context.file)) return refuse("File is not set");
  if (!current_file(path, record)) return refuse("Cannot get file info");
  if (!is_file_dimension(dimension) || record.dimension != dimension)
    return refuse("Current file is not %dD. Cannot append data.", dimension);
  if (samples < 1 || record.organisation == ORG_GRID) return refuse_samples(samples, context.file);

  // All that can be refused comes before the first change of the file.
  coordinate_variables coordinates;
  auto status = coordinates.select(context.directory, context.file, {gravity_centers}, dimension);
  if (status != coordinate_variables::status::done)
    return refuse_selection(status, coordinates, context.file);
  const bool linked = record.link_name[0] != '\0';
  if (linked && !qd_link_can_be_deleted(context.directory, context.file)) return refuse(cannot_delete_link);
  if (!add_points(coordinates, context.file, samples, values)) return not_served;
  // A failure now is only told on the console: a client that is refused adds its samples again.
  if (linked) static_cast<void>(qd_delete_link(context.directory, context.file, true));
  return answer();
}

}  // namespace qrd

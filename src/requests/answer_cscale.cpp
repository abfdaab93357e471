// CSCALST, CSCAXIST, CSCANEW, CSCAREAD, CSCADEL.
#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "disk/qu_cscale.h"
#include "disk/qu_study_descriptor.h"
#include "disk/store_state.h"
#include "requests/arrival.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/resource_files.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/arrays.h"

namespace qrd {

namespace {

constexpr char scale_failure[] = "Cannot read Color Scale named %s.";

using rgb = std::int32_t[3];

// A scale as it travels, the same in both directions.
struct scale_description {
  std::int32_t scale_type = SCALE_AUTOMATIC;
  std::int32_t readonly = 0;
  std::string palette_name;
  std::int32_t class_count = 0;
  rgb color_1 = {-1, -1, -1};
  rgb manual_color_3 = {-1, -1, -1};
  rgb manual_color_2 = {-1, -1, -1};
  rgb facies_color_2 = {-1, -1, -1};
  std::int32_t mode[3] = {2, 0, 2};
  std::int32_t interval_count = 0;  // of the facies kind
  std::int32_t integer_bounds = 0;
  std::int32_t has_manual = 0;
  std::int32_t has_facies = 0;
  std::vector<double> bounds;  // classes + 1, shared by neighbours
  std::vector<std::int32_t> palette_indices;
  std::vector<double> facies_minima, facies_maxima;
  std::vector<std::int32_t> facies_indices;
  std::vector<std::int32_t> facies_rgbs;  // all reds, all greens, all blues
  std::vector<std::string> facies_labels;
};

bool read_labels(std::vector<std::string>& labels, std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) {
    request_text label;
    if (!read_arguments(label)) return false;
    labels.emplace_back(label.c_str());
  }
  return true;
}

bool read_colour(rgb& colour) {
  return _qrd_read_int_array(connection.client_socket, colour, 3) != 0;
}

// What stands before the arrays.
bool read_head(scale_description& sent) {
  request_text palette_name, dropped_1, dropped_2;
  if (!read_arguments(sent.scale_type, sent.readonly, palette_name, sent.class_count)) return false;
  sent.palette_name = palette_name.c_str();
  return read_colour(sent.color_1) && read_colour(sent.manual_color_3) && read_colour(sent.manual_color_2) &&
         read_colour(sent.facies_color_2) &&
         read_arguments(sent.mode[0], sent.mode[1], sent.mode[2], dropped_1, dropped_2, sent.interval_count,
                        sent.integer_bounds, sent.has_manual, sent.has_facies);
}

bool read_arrays(scale_description& sent) {
  const std::int64_t classes = sent.class_count;
  if (sent.has_manual != 0 && classes >= 1 &&
      !(read_in_parts(sent.bounds, classes + 1, _qrd_read_double_array) &&
        read_in_parts(sent.palette_indices, classes, _qrd_read_int_array)))
    return false;
  if (sent.has_facies == 0 || classes < 1 || sent.interval_count < 1) return true;
  return read_in_parts(sent.facies_minima, sent.interval_count, _qrd_read_double_array) &&
         read_in_parts(sent.facies_maxima, sent.interval_count, _qrd_read_double_array) &&
         read_in_parts(sent.facies_indices, sent.interval_count, _qrd_read_int_array) &&
         read_in_parts(sent.facies_rgbs, 3 * classes, _qrd_read_int_array) &&
         read_labels(sent.facies_labels, classes);
}

void set_manual(const scale_description& sent, color_scale& scale) {
  qu_interval_resize(scale.intervals, sent.class_count, sent.class_count);
  for (std::int64_t i = 0; i < sent.class_count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    scale.intervals.minimum(i) = sent.bounds[at];
    scale.intervals.maximum(i) = sent.bounds[at + 1];
    scale.intervals.palette_indices[at] = sent.palette_indices[at];
  }
  std::copy_n(sent.mode, 3, scale.mode);
  std::copy_n(sent.manual_color_2, 3, scale.color[1]);
  std::copy_n(sent.manual_color_3, 3, scale.color[2]);
}

void set_facies(const scale_description& sent, color_scale& scale) {
  scale.facies_rgbs.assign(sent.facies_rgbs.begin(), sent.facies_rgbs.end());
  for (const std::string& label : sent.facies_labels)
    scale.facies_labels.push_back(label.substr(0, name_size - 1));
  qu_interval_resize(scale.intervals, sent.interval_count, sent.class_count);
  scale.intervals.integer_bounds = sent.integer_bounds != 0;
  for (std::int64_t i = 0; i < sent.interval_count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    scale.intervals.minimum(i) = sent.facies_minima[at];
    scale.intervals.maximum(i) = sent.facies_maxima[at];
    scale.intervals.palette_indices[at] = std::min(sent.facies_indices[at], sent.class_count - 1);
  }
  std::copy_n(sent.facies_color_2, 3, scale.color[1]);
}

template <typename Stored, typename Sent>
void narrow_all(const Stored& stored, Sent& sent) {
  std::transform(std::begin(stored), std::end(stored), std::begin(sent), narrow_int);
}

void describe_manual(color_scale& scale, scale_description& sent) {
  const std::int64_t classes = scale.class_count;
  for (std::int64_t i = 0; i < classes; ++i) {
    sent.bounds.push_back(scale.intervals.minimum(i));
    sent.palette_indices.push_back(narrow_int(scale.intervals.palette_indices[static_cast<std::size_t>(i)]));
  }
  sent.bounds.push_back(scale.intervals.maximum(classes - 1));
  sent.has_manual = 1;
  narrow_all(scale.mode, sent.mode);
  narrow_all(scale.color[1], sent.manual_color_2);
  narrow_all(scale.color[2], sent.manual_color_3);
}

void describe_facies(const color_scale& scale, scale_description& sent) {
  const interval_table& intervals = scale.intervals;
  sent.interval_count = narrow_int(intervals.count());
  sent.integer_bounds = intervals.integer_bounds ? 1 : 0;
  sent.facies_minima.assign(intervals.bounds.begin(), intervals.bounds.begin() + intervals.count());
  sent.facies_maxima.assign(intervals.bounds.begin() + intervals.count(), intervals.bounds.end());
  sent.facies_indices.resize(intervals.palette_indices.size());
  narrow_all(intervals.palette_indices, sent.facies_indices);
  sent.facies_rgbs.resize(scale.facies_rgbs.size());
  narrow_all(scale.facies_rgbs, sent.facies_rgbs);
  sent.facies_labels = scale.facies_labels;
  sent.has_facies = sent.interval_count > 0 && !sent.facies_labels.empty() ? 1 : 0;
  narrow_all(scale.color[1], sent.facies_color_2);
}

template <typename Values>
bool write_ints(const Values& values) {
  return write_value(wire_ints{std::data(values), static_cast<std::int64_t>(std::size(values))});
}

bool write_doubles(const std::vector<double>& values) {
  return write_value(wire_doubles{values.data(), static_cast<std::int64_t>(values.size())});
}

bool write_description(const scale_description& sent) {
  const bool head =
      write_value(wire_int{sent.scale_type}) && write_value(wire_bool{sent.readonly != 0}) &&
      write_value(wire_string{sent.palette_name.c_str()}) && write_value(wire_int{sent.class_count}) &&
      write_ints(sent.color_1) && write_ints(sent.manual_color_3) && write_ints(sent.manual_color_2) &&
      write_ints(sent.facies_color_2) && write_ints(sent.mode) && write_value(wire_string{""}) &&
      write_value(wire_string{""}) && write_value(wire_int{sent.interval_count}) &&
      write_value(wire_bool{sent.integer_bounds != 0}) && write_value(wire_bool{sent.has_manual != 0}) &&
      write_value(wire_bool{sent.has_facies != 0});
  if (!head) return false;
  if (sent.has_manual != 0 && !(write_doubles(sent.bounds) && write_ints(sent.palette_indices))) return false;
  if (sent.has_facies == 0) return true;
  return write_doubles(sent.facies_minima) && write_doubles(sent.facies_maxima) &&
         write_ints(sent.facies_indices) && write_ints(sent.facies_rgbs) &&
         std::all_of(sent.facies_labels.begin(), sent.facies_labels.end(),
                     [](const std::string& label) { return write_value(wire_string{label.c_str()}); });
}

}  // namespace

request_status server_answer_cscale_list(const char* /*request*/) {
  if (!resources_available(resources::scales)) return not_served;
  string_list names;
  if (!qu_cscale_get_list(names)) return refuse(scale_failure, store.cscale_path);
  return answer(wire_names{names});
}

request_status server_answer_cscale_exists(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!resources_available(resources::scales)) return not_served;
  // The word for no scale, whatever a file calls itself.
  if (!is_set(name)) return answer(wire_bool{false});
  path_text path;
  const found state = qu_cscale_test(name, path);
  if (state == found::unreadable) return refuse(scale_failure, name);
  return answer(wire_bool{state == found::yes});
}

request_status server_answer_cscale_new(const char* /*request*/) {
  constexpr char write_failure[] = "An error occured during Color Scale %s Writing.";
  request_text name;
  scale_description sent;
  if (!read_arguments(name) || !read_head(sent)) return not_served;
  try {
    if (!read_arrays(sent)) return not_served;
  } catch (const std::bad_alloc&) {
    return clean_and_refuse(write_failure, name.c_str());
  }
  if (!resources_available(resources::scales)) return not_served;
  if (sent.scale_type != SCALE_AUTOMATIC && sent.class_count <= 0)
    return refuse("Number of Classes cannot be negative or null for non-automatic color scales");
  if (sent.scale_type == SCALE_MANUAL && sent.bounds.empty())
    return refuse("Manual Color Scale must have bounds and pal_ind defined.");
  if (sent.scale_type == SCALE_FACIES && sent.facies_minima.empty())
    return refuse(
        "Facies Color Scale must have facies_int_min, facies_int_max, facies_pal_ind, facies_rgbs and "
        "facies_labels defined.");

  color_scale scale;
  qu_cscale_init(scale, false, no_name, no_name);
  qu_string_copy(name.c_str(), scale.name);
  qu_string_copy(sent.palette_name.c_str(), scale.palette_name);
  scale.scale_type = sent.scale_type;
  scale.class_count = sent.class_count;
  std::copy_n(sent.color_1, 3, scale.color[0]);
  if (sent.scale_type == SCALE_MANUAL) set_manual(sent, scale);
  if (sent.scale_type == SCALE_FACIES) set_facies(sent, scale);
  if (!qu_cscale_write(scale)) return refuse(write_failure, name.c_str());
  return answer();
}

request_status server_answer_cscale_read(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!resources_available(resources::scales)) return not_served;
  color_scale scale;
  if (!qu_cscale_read(name, false, scale)) return refuse(scale_failure, name);
  // The bounds of a manual scale are told class by class.
  if (scale.scale_type == SCALE_MANUAL &&
      (scale.class_count < 1 || scale.intervals.count() < scale.class_count))
    return refuse(scale_failure, name);

  scale_description sent;
  sent.scale_type = narrow_int(scale.scale_type);
  sent.readonly = scale.readonly != 0 ? 1 : 0;
  sent.palette_name = scale.palette_name;
  sent.class_count = narrow_int(scale.class_count);
  narrow_all(scale.color[0], sent.color_1);
  if (scale.scale_type == SCALE_MANUAL) describe_manual(scale, sent);
  if (scale.scale_type == SCALE_FACIES) describe_facies(scale, sent);
  return answer_with([&sent] { return write_description(sent); });
}

request_status server_answer_cscale_delete(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!resources_available(resources::scales)) return not_served;
  if (!qu_cscale_delete(name)) return refuse("An error happened during Color Scale deletion");
  return answer();
}

}  // namespace qrd

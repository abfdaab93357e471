// CWRITFAUL, CFAULTS.
#include <algorithm>
#include <cinttypes>
#include <new>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "disk/qd_records.h"
#include "edit/qd_fault.h"
#include "requests/arrival.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/length_factors.h"
#include "samples/qd_reported_check.h"
#include "samples/qd_variable_table.h"
#include "wire/answer.h"
#include "wire/arguments.h"

namespace qrd {

namespace {

constexpr char already_faulted[] = "%s is an already faulted file.";
constexpr char info_failure[] = "Cannot get fault information: Too much files opened.";
constexpr std::int64_t priority_minimum = 1;

bool file_info_available(found_file& file) {
  qd_file_info info;
  return qd_info_file(file, info);
}

bool read_segment(fault_segment& segment, double client_missing) {
  std::int32_t priority = 0;
  if (!read_arguments(segment.x1, segment.y1, segment.z1, segment.x2, segment.y2, segment.z2, segment.x3,
                      segment.y3, segment.z3, segment.attribute_1, segment.attribute_2, segment.attribute_3,
                      priority))
    return false;
  segment.priority = std::clamp(std::int64_t{priority}, priority_minimum, fault_priority_limit);
  for (double* x : {&segment.x1, &segment.x2, &segment.x3}) *x *= units.axis_x.factor;
  for (double* y : {&segment.y1, &segment.y2, &segment.y3}) *y *= units.axis_y.factor;
  for (double* z : {&segment.z1, &segment.z2, &segment.z3}) *z *= units.axis_z.factor;
  for (double* attribute : {&segment.attribute_1, &segment.attribute_2, &segment.attribute_3})
    if (*attribute == client_missing) *attribute = missing_double;
  return true;
}

bool read_faults(fault_system& system, double client_missing, std::int32_t fault_count) {
  for (std::int32_t i = 0; i < fault_count; ++i) {
    char name[fault_name_size];
    std::int32_t is_polyline = 0;
    std::int32_t segment_count = 0;
    if (!read_arguments(name, is_polyline, segment_count) || segment_count < 0) return false;
    fault* each = qu_fault_new(system, name, is_polyline != 0);
    for (std::int32_t j = 0; j < segment_count; ++j)
      if (!read_segment(*qu_fault_add_segment(*each, nullptr), client_missing)) return false;
  }
  return true;
}

bool write_segment(const fault_segment& segment, const unit_divisors& unit) {
  const double values[] = {segment.x1 / unit.x, segment.y1 / unit.y, segment.z1 / unit.z,
                           segment.x2 / unit.x, segment.y2 / unit.y, segment.z2 / unit.z,
                           segment.x3 / unit.x, segment.y3 / unit.y, segment.z3 / unit.z,
                           segment.attribute_1, segment.attribute_2, segment.attribute_3};
  return write_value(wire_doubles{values, 12}) &&
         write_value(wire_int{static_cast<std::int32_t>(segment.priority)});
}

std::int32_t segments_within(const fault& each, std::int32_t limit) {
  return static_cast<std::int32_t>(
      std::count_if(each.segments.begin(), each.segments.end(),
                    [limit](const fault_segment& segment) { return segment.priority <= limit; }));
}

bool write_fault(const fault& each, std::int32_t limit, const unit_divisors& unit) {
  const std::int32_t count = segments_within(each, limit);
  if (count == 0) return true;
  if (!write_value(wire_string{each.name, fault_name_size}) ||
      !write_value(wire_bool{each.is_polyline != 0}) || !write_value(wire_int{count}))
    return false;
  return std::all_of(each.segments.begin(), each.segments.end(), [&](const fault_segment& segment) {
    return segment.priority > limit || write_segment(segment, unit);
  });
}

}  // namespace

request_status server_answer_write_faults(const char* /*request*/) {
  if (!is_set(current_context.directory)) return refuse("Directory is not set");
  if (!is_set(current_context.file)) return clean_and_refuse("File is not set");
  found_file file = {current_context.directory, current_context.file};
  if (!file_info_available(file)) return clean_and_refuse("Cannot get file info");
  fault_info present;
  const geometry state = qd_fault_info(file, present);
  if (state == geometry::unclear) return clean_and_refuse("%s", info_failure);
  if (state == geometry::read) return clean_and_refuse(already_faulted, current_context.file);

  std::int32_t is_2d = 0;
  std::int32_t has_attributes = 0;
  double client_missing = 0;
  std::int32_t fault_count = 0;
  if (!read_arguments(is_2d, has_attributes, client_missing, fault_count) || fault_count < 0)
    return clean_and_refuse("%s", network_failure);
  auto system = qu_fault_system_new(is_2d != 0, has_attributes != 0);
  try {
    if (!read_faults(*system, client_missing, fault_count)) return clean_and_refuse("%s", network_failure);
  } catch (const std::bad_alloc&) {
    return clean_and_refuse("Memory allocation failed (%" PRId64 " bytes)", std::int64_t{64});
  }
  switch (qd_fault_write(current_context.directory, current_context.file, *system)) {
    case fault_writing::done:
      return answer();
    case fault_writing::already_faulted:
      return refuse(already_faulted, current_context.file);
    case fault_writing::failed:
      break;
  }
  return refuse("Problem while writing faults for %s/%s", current_context.directory, current_context.file);
}

request_status server_answer_faults(const char* /*request*/) {
  std::int32_t limit = 0;
  if (!read_arguments(limit)) return not_served;
  if (!is_set(current_context.file)) return refuse("File is not set");
  found_file file = {current_context.directory, current_context.file};
  if (!file_info_available(file)) return refuse("Cannot get file info");
  fault_info info;
  const geometry state = qd_fault_info(file, info);
  if (state == geometry::unclear) return refuse("%s", info_failure);
  if (state != geometry::read) return refuse("%s is not a faulted file.", current_context.file);
  std::unique_ptr<fault_system> system;
  try {
    if (qd_fault_read(file, system) != geometry::read) return refuse("Cannot read faults.");
  } catch (const std::bad_alloc&) {
    return refuse("No enough memory to read faults.");
  }

  const unit_divisors unit = client_units(system->unit_x, system->unit_y, system->unit_z);
  const auto sent = std::count_if(system->faults.begin(), system->faults.end(),
                                  [limit](const fault& each) { return segments_within(each, limit) > 0; });
  return answer_with([&] {
    return write_value(wire_bool{system->is_2d != 0}) &&
           write_value(wire_bool{system->has_attributes != 0}) && write_value(wire_double{missing_double}) &&
           write_value(wire_int{static_cast<std::int32_t>(sent)}) &&
           std::all_of(system->faults.begin(), system->faults.end(),
                       [&](const fault& each) { return write_fault(each, limit, unit); });
  });
}

}  // namespace qrd

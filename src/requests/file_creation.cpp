#include "requests/file_creation.h"

#include <algorithm>
#include <cinttypes>

#include "catalogue/qd_lookup.h"
#include "catalogue/qd_walk.h"
#include "requests/context.h"
#include "wire/answer.h"
#include "wire/arrays.h"
#include "wire/connection.h"

namespace qrd {

bool read_coordinates(std::int64_t samples, std::int32_t dimension, std::int64_t parts,
                      checked_array<double>& values) {
  std::int64_t count = 0, all = 0, bytes = 0;
  if (samples < 1 || dimension < 1) return true;
  bool too_big = __builtin_mul_overflow(samples, std::int64_t{dimension}, &count);
  too_big = __builtin_mul_overflow(count, parts, &all) || too_big;
  too_big = __builtin_mul_overflow(all, std::int64_t{sizeof(double)}, &bytes) || too_big;
  if (too_big || !values.allocate(all)) {
    return clean_and_refuse("Memory allocation failed (%" PRId64 " bytes)", too_big ? missing_int64 : bytes);
  }
  double* place = values.data() + (all - count);
  if (_qrd_read_double_array(connection.client_socket, place, count) == 0) return false;
  if (std::find(place, values.end(), missing_double) == values.end()) return true;
  return refuse("There should not be any test value in the coordinates");
}

bool may_create_file(const char* name) {
  const server_context& context = current_context;
  if (!is_set(context.directory)) {
    return refuse("Directory is not set");
  }
  const found present = qd_file_test(ORG_ANY, DIM_ANY, context.directory, name);
  if (present == found::unclear) return refuse("Cannot open files");
  if (present == found::yes)
    return refuse("File %s: %s/%s already exists", context.study, context.directory, name);
  return true;
}

bool current_file(path_text& path, qd_file_record& record) {
  return qd_find_file(current_context.directory, current_context.file, path, record) == found::yes;
}

}  // namespace qrd

#include "catalogue/qd_lines.h"

#include "catalogue/qd_walk.h"
#include "disk/qd_handles.h"
#include "disk/qd_line_table.h"

namespace qrd {

found qd_samples_per_line(const char* directory, const char* file, std::vector<std::int64_t>& counts) {
  counts.clear();
  if (!qd_two_files_available()) return found::unclear;
  path_text path;
  qd_file_record record;
  std::vector<std::int64_t> offsets;
  if (qd_find_file(directory, file, path, record) != found::yes || !is_lines(record.organisation) ||
      !qd_line_table_read(path, record, offsets))
    return found::no;
  counts.reserve(offsets.size() - 1);
  for (std::size_t i = 1; i < offsets.size(); ++i) counts.push_back(offsets[i] - offsets[i - 1]);
  return found::yes;
}

}  // namespace qrd

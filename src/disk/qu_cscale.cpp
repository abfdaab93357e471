// The file CSCA.<n>, XDR, version 501003; older versions lack fields, which then keep their defaults.
//
//   xint                version
//   xstring(50) x 2     name, palette name
//   xint x 3            readonly, scale type, class count
//   xint                interval count                        from 501000, before it the class count
//   xdouble x 2 count   minima, then maxima                   manual and facies; before 501000 count + 1
//                                                             bounds that neighbours share
//   xint x count        palette indices                       manual and facies
//   xint x 3            display modes                         from 501003, before it one flag
//   xint x 9            three colours
//   xint x 3 classes    red, green, blue of the classes       facies, from 501000
//   xstring(50) x classes  labels                             facies, from 501000
//   xint                legend flag                           from 501002
//   xint, xstring(50)   other flag and label                  from 501001
//   xint, xstring(50)   no-data flag and label                from 501001
//   xint x 2            integer bounds, flag a                from 501000
//   xdouble x 3         three values                          from 501000
//   xint                default unit                          from 501002
//   xint x 4, xstring(11), xdouble   format record            from 501000
#include "disk/qu_cscale.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "disk/qu_palette.h"
#include "disk/store_state.h"
#include "util/qu_file.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_named_file.h"
#include "util/qu_string.h"
#include "util/qu_sync.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr named_file_kind scale_files = {
    "CSCA.", "WARNING: A COLOR SCALE FILE IS CORRUPTED:", "WARNING: MAXIMUM NUMBER OF COLOR SCALES REACHED"};
constexpr std::int64_t scale_version = 501003;
constexpr std::int64_t version_with_legend = 501002;
constexpr std::int64_t version_with_labels = 501001;
constexpr std::int64_t version_with_intervals = 501000;
constexpr std::uint32_t text_limit = 50;
constexpr std::uint32_t unit_limit = 11;
constexpr std::int64_t least_classes = 2;

bool has_intervals(const color_scale& scale) {
  return scale.scale_type == SCALE_MANUAL || scale.scale_type == SCALE_FACIES;
}

// Bytes behind the position of a file that is read: no count can stand for more.
std::int64_t bytes_left(std::FILE* stream) {
  struct stat status;
  if (fstat(fileno(stream), &status) != 0) return 0;
  return status.st_size - qu_file_tell(stream);
}

bool move_ints(XDR* xdr, std::int64_t* values, std::size_t count) {
  return std::all_of(values, values + count,
                     [xdr](std::int64_t& value) { return qu_xdr_int(xdr, &value) != 0; });
}

bool move_doubles(XDR* xdr, double* values, std::size_t count) {
  return std::all_of(values, values + count, [xdr](double& value) { return xdr_double(xdr, &value) != 0; });
}

bool move_label(XDR* xdr, std::string& label) {
  name_text text;
  qu_string_copy(label.c_str(), text);
  if (!qu_xdr_text(xdr, text, text_limit)) return false;
  label = text;
  return true;
}

// Bounds of the time before intervals had two of their own: value i is the minimum of interval i and
// the maximum of interval i - 1.
bool read_shared_bounds(XDR* xdr, interval_table& intervals) {
  const std::int64_t count = intervals.count();
  for (std::int64_t i = 0; i <= count; ++i) {
    double bound = 0;
    if (!xdr_double(xdr, &bound)) return false;
    if (i < count) intervals.minimum(i) = bound;
    if (i > 0) intervals.maximum(i - 1) = bound;
  }
  return true;
}

bool move_intervals(XDR* xdr, std::int64_t version, std::int64_t left, color_scale& scale) {
  interval_table& intervals = scale.intervals;
  std::int64_t count = intervals.count();
  if (version < version_with_intervals)
    count = scale.class_count;
  else if (!qu_xdr_int(xdr, &count))
    return false;
  if (!has_intervals(scale)) return true;
  if (xdr->x_op == XDR_DECODE) {
    if (count > left / static_cast<std::int64_t>(sizeof(double))) return false;
    qu_interval_resize(intervals, count, scale.class_count);
  }
  if (version < version_with_intervals) {
    if (!read_shared_bounds(xdr, intervals)) return false;
  } else if (!move_doubles(xdr, intervals.bounds.data(), intervals.bounds.size())) {
    return false;
  }
  return move_ints(xdr, intervals.palette_indices.data(), intervals.palette_indices.size());
}

bool move_modes(XDR* xdr, std::int64_t version, color_scale& scale) {
  if (version >= scale_version) return move_ints(xdr, scale.mode, 3);
  std::int64_t flag = 0;
  if (!qu_xdr_int(xdr, &flag)) return false;
  scale.mode[0] = scale.mode[2] = flag > 0 ? 2 : 0;
  scale.mode[1] = 0;
  return true;
}

bool move_facies(XDR* xdr, std::int64_t version, std::int64_t left, color_scale& scale) {
  if (scale.scale_type != SCALE_FACIES || version < version_with_intervals) return true;
  if (xdr->x_op == XDR_DECODE) {
    const std::int64_t classes = std::max(scale.class_count, std::int64_t{0});
    if (classes > left / 4) return false;
    scale.facies_rgbs.resize(static_cast<std::size_t>(3 * classes));
    scale.facies_labels.resize(static_cast<std::size_t>(classes));
  }
  return move_ints(xdr, scale.facies_rgbs.data(), scale.facies_rgbs.size()) &&
         std::all_of(scale.facies_labels.begin(), scale.facies_labels.end(),
                     [xdr](std::string& label) { return move_label(xdr, label); });
}

bool move_legend(XDR* xdr, std::int64_t version, color_scale& scale) {
  if (version >= version_with_legend && !qu_xdr_int(xdr, &scale.legend_flag)) return false;
  return version < version_with_labels ||
         (qu_xdr_int(xdr, &scale.other_flag) && qu_xdr_text(xdr, scale.other_label, text_limit) &&
          qu_xdr_int(xdr, &scale.na_flag) && qu_xdr_text(xdr, scale.na_label, text_limit));
}

bool move_unit(XDR* xdr, std::int64_t version, color_scale& scale) {
  if (version < version_with_intervals) return true;
  if (!qu_xdr_enum(xdr, &scale.intervals.integer_bounds) || !qu_xdr_int(xdr, &scale.flag_a) ||
      !move_doubles(xdr, scale.value, 3))
    return false;
  if (version >= version_with_legend && !qu_xdr_int(xdr, &scale.default_unit)) return false;
  qd_format_record& unit = scale.unit;
  return qu_xdr_int(xdr, &unit.format) && qu_xdr_int(xdr, &unit.width) && qu_xdr_int(xdr, &unit.digits) &&
         qu_xdr_int(xdr, &unit.length_flag) && qu_xdr_text(xdr, unit.unit, unit_limit) &&
         xdr_double(xdr, &unit.factor);
}

// The whole file, in both directions. `left` bounds what counts may promise when reading.
bool move_scale(XDR* xdr, std::int64_t left, color_scale& scale) {
  std::int64_t version = scale_version;
  return qu_xdr_int(xdr, &version) && qu_xdr_text(xdr, scale.name, text_limit) &&
         qu_xdr_text(xdr, scale.palette_name, text_limit) && qu_xdr_int(xdr, &scale.readonly) &&
         qu_xdr_int(xdr, &scale.scale_type) && qu_xdr_int(xdr, &scale.class_count) &&
         move_intervals(xdr, version, left, scale) && move_modes(xdr, version, scale) &&
         move_ints(xdr, &scale.color[0][0], 9) && move_facies(xdr, version, left, scale) &&
         move_legend(xdr, version, scale) && move_unit(xdr, version, scale);
}

found find_scale(const char* name, named_file& file) {
  if (!qu_named_file_room(2)) return found::unclear;
  const named_search search = qu_named_file_find(store.cscale_path, scale_files, name, file);
  if (search == named_search::no_folder) qu_fatal("Fatal Error in qu_cscale_test: bad directory...");
  return qu_found(search);
}

// False if the disk fails; a damaged file ends the process.
bool read_scale(named_file& file, color_scale& scale) {
  xdr_stream xdr(file.stream.get(), XDR_DECODE);
  if (!xdr || !move_scale(xdr.get(), bytes_left(file.stream.get()), scale)) {
    qu_named_file_unread(scale_files, file);
    return false;
  }
  if (scale.default_unit != 0) qu_format_default(scale.unit);
  return true;
}

bool is_protected(const color_scale& scale) {
  if (scale.readonly != 0) qu_message("Color Scale is readonly. It cannot be deleted");
  return scale.readonly != 0;
}

}  // namespace

void qu_cscale_init(color_scale& scale, bool white, const char* name, const char* palette_name) {
  scale = {};
  qu_format_default(scale.unit);
  qu_string_copy(name, scale.name);
  qu_string_copy(palette_name, scale.palette_name);
  if (qu_palette_exists(palette_name) != found::no) scale.palette_size = qu_palette_size(palette_name);
  scale.class_count = std::max(scale.palette_size, least_classes);
  if (white) std::fill(&scale.color[0][0], &scale.color[0][0] + 9, palette_value_maximum);
}

found qu_cscale_test(const char* name, path_text& path) {
  named_file file;
  const found result = find_scale(name, file);
  if (result == found::yes) qu_path_join(path, {file.path});
  return result;
}

bool qu_cscale_get_list(string_list& list) {
  if (qu_test_open_file(3) == 0) return true;
  std::vector<std::string> names;
  const auto add = [&names](named_file& file) {
    names.emplace_back(file.name);
    return false;
  };
  const named_search seen =
      qu_named_file_scan(store.cscale_path, scale_files, add, [&names] { names.clear(); });
  if (seen == named_search::no_folder) qu_fatal("Fatal Error in qu_cscale_get_list (2)");
  for (const std::string& name : names) list.add(name.c_str(), name_size);
  list.sort();
  return seen != named_search::unreadable;
}

bool qu_cscale_read(const char* name, bool white, color_scale& scale) {
  qu_cscale_init(scale, white, no_name, no_name);
  named_file file;
  if (find_scale(name, file) == found::yes && read_scale(file, scale)) return true;
  qu_message("Cannot read Color Scale named \"%s\"", name);
  return false;
}

bool qu_cscale_write(color_scale& scale) {
  const folder_lock lock(store.cscale_path);
  if (!lock) {
    qu_report_failure("Cannot lock", store.cscale_path);
    return false;
  }
  named_file old;
  const found present = find_scale(scale.name, old);
  if (present != found::yes && present != found::no) return false;
  // A read-only scale stays beside the new one.
  const char* replaced = nullptr;
  if (present == found::yes) {
    color_scale old_scale;
    if (!read_scale(old, old_scale)) return false;
    if (!is_protected(old_scale)) replaced = old.path;
  }
  const auto write = [&scale](std::FILE* stream) {
    xdr_stream xdr(stream, XDR_ENCODE);
    return xdr && move_scale(xdr.get(), 0, scale);
  };
  return qu_named_file_put(store.cscale_path, scale_files, replaced, write);
}

bool qu_cscale_delete(const char* name) {
  const folder_lock lock(store.cscale_path);
  if (!lock) {
    qu_report_failure("Cannot lock", store.cscale_path);
    return false;
  }
  named_file file;
  color_scale scale;
  if (find_scale(name, file) != found::yes || !read_scale(file, scale) || is_protected(scale)) return false;
  if (qu_remove_file(file.path)) return true;
  qu_report_failure("Cannot delete", file.path);
  return false;
}

bool qu_cscale_uses(const char* palette_name) {
  if (qu_test_open_file(3) == 0) return true;
  const auto uses = [palette_name](named_file& file) {
    color_scale scale;
    return !read_scale(file, scale) || std::strcmp(scale.palette_name, palette_name) == 0;
  };
  const named_search seen = qu_named_file_scan(store.cscale_path, scale_files, uses);
  if (seen == named_search::no_folder) qu_fatal("Fatal Error in qu_cscale_get_list (2)");
  return seen != named_search::ended;
}

}  // namespace qrd

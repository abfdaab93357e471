#include "server/answering.h"
#include "server/context.h"
#include "server/trace.h"
#include "store/answers.h"
#include "store/qd_init.h"
#include "store/qd_placement.h"
#include "store/qu_init.h"
#include "util/qu_file.h"
#include "util/qu_lock.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// The root, or a study that the client did not name, must not go with the folder.
bool holds_more_than_itself(const char* folder, const string_list& all_paths) {
  if (qu_path_lies_within(root_path, folder)) return true;
  std::int64_t count = all_paths.count();
  for (std::int64_t i = 0; i < count; ++i) {
    root_text other;
    qu_study_folder(all_paths[i], other);
    bool is_below = qu_path_lies_within(other, folder) && !qu_path_lies_within(folder, other);
    if (is_below && qu_file_isdirectory(other) != 0) return true;
  }
  return false;
}

// The names and folders of the registry, the one at `rank` left out.
bool write_without(const string_list& names, const string_list& paths, std::int64_t rank) {
  string_list other_names, other_paths;
  for (std::int64_t i = 0; i < names.count(); ++i) {
    if (i == rank) continue;
    other_names.add(names[i], name_size);
    other_paths.add(paths[i], root_size);
  }
  return qu_study_names_write(other_names, other_paths);
}

// Takes the study out of the tree first, out of the registry then, and deletes it at last: a registered study
// is whole at every moment. What fails is undone.
bool remove_study(const char* folder, const string_list& names, const string_list& paths, std::int64_t rank) {
  removed_folder study(folder);
  if (!study.is_out() || !write_without(names, paths, rank)) return false;
  if (study.remove()) return true;
  qu_study_names_write(names, paths);
  return false;
}

}  // namespace

// CSTUDYDEL: deletes the current study with all it holds, and opens another one.
request_status server_answer_study_del(const char* /*request*/) {
  if (!is_set(current_context.study)) return refuse("Current study is not set");
  name_text name;
  qu_string_copy(current_context.study, name);
  folder_lock lock(root_path);
  string_list valid_names, valid_paths, all_names, all_paths;
  if (!lock || qu_study_names_read(-1, false, false, &valid_names, &valid_paths, &all_names, &all_paths) ==
                   registry_unreadable)
    return refuse("An error happened during Study deletion: %s", name);
  std::int64_t rank = all_names.find(name);
  std::int64_t valid_rank = valid_names.find(name);
  if (rank < 0 || valid_rank < 0) return refuse("Study does not exist: %s", name);

  set_current_study(no_name);
  server_debug(1, "Deleting Study: \"%s\".", current_context.study);
  const char* folder = valid_paths[valid_rank];
  if (holds_more_than_itself(folder, all_paths) || !remove_study(folder, all_names, all_paths, rank))
    return refuse("An error happened during Study deletion: %s", name);
  lock.release();

  if (qu_study_open(no_name) != STUDY_OPENED) return refuse("No more valid study for this QRDserver version");
  qd_end(0);
  qd_init();
  return answer("SDONE");
}

}  // namespace qrd

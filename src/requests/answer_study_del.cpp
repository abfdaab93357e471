#include <new>

#include "catalogue/qd_study_lock.h"
#include "catalogue/qu_study.h"
#include "catalogue/qu_study_folder.h"
#include "disk/qu_study_descriptor.h"
#include "disk/qu_study_names.h"
#include "disk/store_state.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "samples/qd_study_session.h"
#include "util/qu_directory.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/debug.h"

namespace qrd {

namespace {

// The root, or a study that the client did not name, must not go with the folder.
bool holds_more_than_itself(const char* folder, const string_list& all_paths) {
  if (qu_path_lies_within(store.root_path, folder)) return true;
  std::int64_t count = all_paths.count();
  for (std::int64_t i = 0; i < count; ++i) {
    root_text other;
    qu_study_folder(all_paths[i], other);
    bool is_below = qu_path_lies_within(other, folder) && !qu_path_lies_within(folder, other);
    if (is_below && qu_file_isdirectory(other) != 0) return true;
  }
  return false;
}

// Deletes the study and forgets it. False if it stays.
bool remove_study(const char* folder, const string_list& names, const string_list& paths, std::int64_t rank) {
  string_list other_names, other_paths;
  for (std::int64_t i = 0; i < names.count(); ++i) {
    if (i == rank) continue;
    other_names.add(names[i], name_size);
    other_paths.add(paths[i], root_size);
  }
  return qu_study_remove(folder, [&] { return qu_study_names_write(other_names, other_paths); });
}

// The first that fits. The deletion is done, whatever comes of this: what hinders it is told. False if there
// is no study of this version.
bool open_another() try {
  const study_opening opening = qu_study_open(no_name);
  if (opening == study_opening::other_version) return false;
  if (opening == study_opening::opened) {
    qd_end(0);
    qd_init();
  } else {
    qu_message("Cannot open another study in \"%s\"", store.root_path);
  }
  return true;
} catch (const std::bad_alloc&) {
  qu_message("Cannot open another study in \"%s\": memory allocation failed", store.root_path);
  return true;
}

}  // namespace

// CSTUDYDEL: deletes the current study with all it holds, and opens another one.
request_status server_answer_study_del(const char* /*request*/) {
  if (!is_set(current_context.study)) return refuse("Current study is not set");
  name_text name;
  qu_string_copy(current_context.study, name);
  folder_lock lock(store.root_path);
  string_list valid_names, valid_paths, all_names, all_paths;
  if (!lock || !qu_study_names_read(-1, false, false, &valid_names, &valid_paths, &all_names, &all_paths))
    return refuse("An error happened during Study deletion: %s", name);
  std::int64_t valid_rank = valid_names.find(name);
  if (valid_rank >= 0) qu_study_tidy_beside(valid_paths[valid_rank], all_names, all_paths);
  std::int64_t rank = all_names.find(name);
  if (rank < 0 || valid_rank < 0) return refuse("Study does not exist: %s", name);

  set_current_study(no_name);
  server_debug(1, "Deleting Study: \"%s\".", current_context.study);
  const char* folder = valid_paths[valid_rank];
  if (holds_more_than_itself(folder, all_paths) || !remove_study(folder, all_names, all_paths, rank))
    return refuse("An error happened during Study deletion: %s", name);
  lock.release();

  if (!open_another()) return refuse("No more valid study for this QRDserver version");
  return answer();
}

}  // namespace qrd

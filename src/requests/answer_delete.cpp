// Deleting the current directory, file or variable.
#include <unistd.h>

#include "catalogue/qd_lookup.h"
#include "catalogue/qd_name.h"
#include "disk/qd_handles.h"
#include "edit/qd_manage.h"
#include "edit/qd_manage_variable.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_variable_table.h"
#include "wire/answer.h"
#include "wire/debug.h"

namespace qrd {

namespace {

bool can_change(const char* folder) {
  return access(folder, W_OK | X_OK) == 0;
}

// A selection that an earlier request has left selected goes with its variable.
void release_other_holders(const qd_variable_handle& handle) {
  while (qd_entry(handle.entry)->reference_count > 1) qd_variable_deselect(handle);
}

}  // namespace

// CDIRDEL: deletes the current directory with all it holds.
request_status server_answer_dir_del(const char* /*request*/) {
  if (!is_set(current_context.directory)) return refuse("Current Directory is not set");
  server_debug(1, "Deleting Directory: %s:%s", current_context.study, current_context.directory);
  const bool deleted = qd_delete_directory(current_context.directory);
  set_current_directory(no_name);
  if (!deleted) return refuse("An error happened during Directory deletion");
  return answer();
}

// CFILEDEL: deletes the current file, and its link.
request_status server_answer_file_del(const char* /*request*/) {
  if (!is_set(current_context.file)) return refuse("Current File is not set");
  server_debug(1, "Deleting File: %s:%s/%s", current_context.study, current_context.directory,
               current_context.file);
  const bool deleted = qd_delete_file(current_context.directory, current_context.file);
  set_current_file(no_name);
  if (!deleted) return refuse("An error happened during File deletion");
  return answer();
}

// CVARDEL: deletes the current variable; of a macro variable, all its columns. The current selection is
// forgotten too, since it may be the variable itself.
request_status server_answer_var_del(const char* /*request*/) {
  const server_context& context = current_context;
  if (!is_set(context.variable)) return refuse("Current Variable is not set");
  server_debug(1, "Deleting Variable: %s:%s/%s/%s", context.study, context.directory, context.file,
               context.variable);
  // Clients get no answer when too many files are open.
  if (!qd_two_files_available()) return not_served;
  if (qd_variable_test(true, context.directory, context.file, context.variable) != found::yes)
    return refuse("Cannot get info on Variable %s", context.variable);
  selected_variable variable;
  if (!qd_variable_select(context.directory, context.file, context.variable, UNIT_NONE, variable.handle))
    return refuse("Cannot get info on Variable %s", context.variable);
  qd_var_info info;
  const qd_selected_entry* entry = qd_entry(variable.handle.entry);
  if (!qd_info_var_ident(variable.handle, info) || !can_change(entry->file_path) ||
      !can_change(entry->variable_path))
    return refuse("Cannot get info on Variable %s", context.variable);
  if (info.implicit != 0) return refuse("Cannot delete implicit Variable %s", context.variable);

  release_other_holders(variable.handle);
  variable.handle = qd_delete_variable(variable.handle);
  if (variable.handle.entry != 0) return refuse("An error happened during Variable deletion");
  set_current_variable(no_name);
  set_current_selection(no_name);
  return answer();
}

}  // namespace qrd

#include "store/qrd_init.h"

#include <cstring>

#include "server/connection.h"
#include "server/context.h"
#include "store/qd_init.h"
#include "store/qu_init.h"
#include "units/qu_units.h"
#include "util/qu_file.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// Which root and study the store has open. A root that is refused leaves them as they were.
struct open_store {
  root_text root, windows, unix_root, path;
  path_text handle_test;
  name_text name;
  std::int64_t test_run, taken;
  char qrd_init[sizeof current_context.qrd_init];

  open_store() : test_run(running_test), taken(lock_taken) {
    qu_string_copy(root_path, root);
    qu_string_copy(root_windows, windows);
    qu_string_copy(root_unix, unix_root);
    qu_string_copy(study_path, path);
    qu_string_copy(study_name, name);
    qu_string_copy(handle_test_path, handle_test);
    qu_string_copy(current_context.qrd_init, qrd_init);
  }
  void put_back() const {
    qu_string_copy(root, root_path);
    qu_string_copy(windows, root_windows);
    qu_string_copy(unix_root, root_unix);
    qu_string_copy(path, study_path);
    qu_string_copy(name, study_name);
    qu_string_copy(handle_test, handle_test_path);
    qu_string_copy(qrd_init, current_context.qrd_init);
    running_test = test_run;
    lock_taken = taken;
  }
};

// A root that a client names must hold a registry: only the default root is made from nothing.
const char* check_root(const char* path) {
  if (std::strlen(path) >= root_size || qu_file_isdirectory(path) == 0) return "Cannot access directory";
  path_text registry;
  qu_path_join(registry, {path, path_separator, registry_file_name});
  // The opening also refuses names that no file of the store could be opened under.
  if (!qu_file_readable(registry) || !file_stream(qu_file_open_n(registry, read_binary)))
    return "Not a valid Velmar path (does not contain a list of studies).";
  return nullptr;
}

const char* open_root(const char* path) {
  qu_init(0, path, server_program, server_program, server_version, server_release);
  qu_string_copy(root_path, current_context.qrd_init);
  if (qd_version_check(root_path) != 0) return version_message;
  if (qu_study_open(no_name) != 0) return "No valid study to use for this QRDserver version";
  return nullptr;
}

}  // namespace

const char* qrd_open_root() {
  open_store before;
  bool is_default = !is_set(current_context.qrd_init) || current_context.qrd_init[0] == '\0';
  const char* refusal = is_default ? nullptr : check_root(current_context.qrd_init);
  if (refusal == nullptr) {
    char path[sizeof current_context.qrd_init];
    qu_string_copy(current_context.qrd_init, path);
    refusal = open_root(is_default ? nullptr : path);
  }
  if (refusal != nullptr) {
    before.put_back();
    return refusal;
  }
  qu_formats_reset();
  current_context.unit_mode = 0;
  qd_tables_init();
  qd_init();
  return nullptr;
}

}  // namespace qrd

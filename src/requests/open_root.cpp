#include "requests/open_root.h"

#include <cstring>
#include <string>

#include "catalogue/qd_study_lock.h"
#include "catalogue/qu_root.h"
#include "catalogue/qu_study.h"
#include "disk/qu_study_names.h"
#include "disk/qu_version.h"
#include "disk/store_state.h"
#include "requests/context.h"
#include "samples/qd_study_session.h"
#include "units/qu_units.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/connection.h"
#include "wire/debug.h"

namespace qrd {

namespace {

// A root that a client names must hold a registry: only the default root is made from nothing.
std::string check_root(const char* path) {
  if (std::strlen(path) >= root_size || qu_file_isdirectory(path) == 0) return "Cannot access directory";
  path_text registry;
  qu_path_join(registry, {path, path_separator, registry_file_name});
  // The opening also refuses names that no file of the store could be opened under.
  if (!qu_file_readable(registry) || !file_stream(qu_file_open_n(registry, read_binary)))
    return no_registry_text;
  return "";
}

std::string open_root(const char* path) {
  qu_init(path, server_program, server_version);
  qu_string_copy(store.root_path, current_context.qrd_init);
  std::string refusal;
  if (!qd_version_check(store.root_path, refusal)) return refusal;
  switch (qu_study_open(no_name)) {
    case study_opening::opened:
      return "";
    case study_opening::no_registry:
      return no_registry_text;
    case study_opening::too_long:
      return "Path is too long for the files of a study";
    default:
      return "No valid study to use for this QRDserver version";
  }
}

}  // namespace

std::string qrd_open_root() {
  const open_store before;
  const server_context context_before = current_context;
  const char* named = context_before.qrd_init;
  bool is_default = !is_set(named) || named[0] == '\0';
  std::string refusal = is_default ? "" : check_root(named);
  if (refusal.empty()) refusal = open_root(is_default ? nullptr : named);
  if (!refusal.empty()) {
    before.put_back();
    current_context = context_before;
    return refusal;
  }
  // What was chosen in another root, or in another study of this one, is nothing here.
  set_current_study(no_name);
  current_context.indice = -1;
  qu_formats_reset();
  current_context.unit_mode = 0;
  qd_tables_init();
  qd_init();
  return refusal;
}

bool set_root(const char* path) {
  const server_context before = current_context;
  server_debug(0, "Setting QRD_INIT path to \"%s\".", path);

  std::string message = "Cannot access directory";
  if (std::strlen(path) < sizeof current_context.qrd_init) {
    std::strcpy(current_context.qrd_init, path);
    message = qrd_open_root();
  }
  if (message.empty()) return true;
  current_context = before;
  server_send_error("QRD_INIT=%s: %s", path, message.c_str());
  return false;
}

}  // namespace qrd

#include "server/context.h"

#include "util/qu_string.h"

namespace qrd {

server_context current_context;

namespace {

void unset(name_text& field) {
  qu_string_copy(no_name, field);
}

}  // namespace

void reset_context() {
  current_context = server_context{};
}

void set_current_study(const char* name) {
  qu_string_copy(name, current_context.study);
  set_current_directory(no_name);
}

void set_current_directory(const char* name) {
  qu_string_copy(name, current_context.directory);
  set_current_file(no_name);
}

void set_current_file(const char* name) {
  qu_string_copy(name, current_context.file);
  unset(current_context.variable);
  unset(current_context.selection);
}

void set_current_variable(const char* name) {
  qu_string_copy(name, current_context.variable);
  current_context.indice = -1;
}

void set_current_selection(const char* name) {
  qu_string_copy(name, current_context.selection);
}

}  // namespace qrd

#include "requests/context.h"

#include <cstdio>

#include "units/qu_units.h"
#include "util/qu_string.h"
#include "wire/console.h"

namespace qrd {

server_context current_context;

namespace {

void print_selected() {
  const server_context& context = current_context;
  std::printf("qrd_init=\"%s\"\ns=\"%s\", d=\"%s\", f=\"%s\", v=\"%s\"\ns=\"%s\", i=\"%d\", u=\"%s\"\n",
              context.qrd_init, context.study, context.directory, context.file, context.variable,
              context.selection, context.indice, units.distance.unit);
}

void unset(name_text& field) {
  qu_string_copy(no_name, field);
}

}  // namespace

void reset_context() {
  console.print_context = print_selected;
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

// What the client has selected. Text fields hold "None" when nothing is.
#pragma once

#include <cstdint>
#include <cstring>

#include "util/qu_constants.h"

namespace qrd {

struct server_context {
  char qrd_init[1024] = "None";  // the root in use; empty means the default root
  name_text study = "None";
  name_text directory = "None";
  name_text file = "None";
  name_text variable = "None";
  name_text selection = "None";
  std::int32_t indice = -1;  // of a macro variable
  std::int32_t unit_mode = 0;
};
extern server_context current_context;

inline bool is_set(const char* field) {
  return std::strcmp(field, no_name) != 0;
}

// All text fields "None", the index -1.
void reset_context();
// Each sets one level, and makes what lies below it "None".
void set_current_study(const char* name);
void set_current_directory(const char* name);
void set_current_file(const char* name);
void set_current_variable(const char* name);
void set_current_selection(const char* name);

}  // namespace qrd

// Handlers of the unit requests.
#pragma once

namespace qrd {

int server_answer_set_unit_mode(const char* request);
int server_answer_set_dist_unit(const char* request);
int server_answer_set_creation_units(const char* request);
int server_answer_set_var_unit(const char* request);

}  // namespace qrd

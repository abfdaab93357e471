// Handlers of the unit requests.
#pragma once

#include "server/answering.h"

namespace qrd {

request_status server_answer_set_unit_mode(const char* request);
request_status server_answer_set_dist_unit(const char* request);
request_status server_answer_set_creation_units(const char* request);
request_status server_answer_set_var_unit(const char* request);

}  // namespace qrd

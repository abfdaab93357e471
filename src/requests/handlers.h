// All handlers, and the dispatch to them.
#pragma once

#include "wire/answering.h"

namespace qrd {

// Each gets the name of its request, since some serve two.
#define REQUEST(name, handler, ...) request_status handler(const char* request);
#include "wire/request_table.inc"
#undef REQUEST

// Serves one request by the table of all requests.
request_status server_answer(const char* request);

// Opens the database root for CHELLO and CQRDDATA. False after a refusal, which leaves the path in use.
bool set_root(const char* path);

}  // namespace qrd

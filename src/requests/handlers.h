// All handlers.
#pragma once

#include "wire/answer.h"

namespace qrd {

// Each gets the name of its request, since some serve two.
#define REQUEST(name, handler, ...) request_status handler(const char* request);
#include "wire/request_table.inc"
#undef REQUEST

}  // namespace qrd

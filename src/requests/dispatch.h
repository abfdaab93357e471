// The dispatch by the table of all requests.
#pragma once

#include "wire/answer.h"

namespace qrd {

// Serves one request.
request_status server_answer(const char* request);

}  // namespace qrd

// Handlers of the handshake.
#pragma once

#include "server/answering.h"

namespace qrd {

request_status server_answer_hello(const char* request);
request_status server_answer_session(const char* request);
request_status server_answer_qrd_init(const char* request);
request_status st_answer_supported_req(const char* request);
request_status st_answer_arch(const char* request);
request_status server_answer_byebye(const char* request);

// Opens the database root for CHELLO and CQRDDATA. False after a refusal, which leaves the path in use.
bool set_root(const char* path);

// Serves one request by the table of all requests.
request_status server_answer(const char* request);

}  // namespace qrd

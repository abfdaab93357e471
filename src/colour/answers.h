// Handlers of palettes and colour scales.
#pragma once

#include "server/answering.h"

namespace qrd {

request_status server_answer_palette_list(const char* request);
request_status server_answer_palette_exists(const char* request);
request_status server_answer_palette_write(const char* request);
request_status server_answer_palette_read(const char* request);
request_status server_answer_palette_delete(const char* request);
request_status server_answer_cscale_list(const char* request);
request_status server_answer_cscale_exists(const char* request);
request_status server_answer_cscale_new(const char* request);
request_status server_answer_cscale_read(const char* request);
request_status server_answer_cscale_delete(const char* request);

}  // namespace qrd

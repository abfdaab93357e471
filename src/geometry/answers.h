// Handlers of polygons, wireframes, faults and vendor data.
#pragma once

#include "server/answering.h"

namespace qrd {

request_status server_answer_faults(const char* request);
request_status server_answer_write_faults(const char* request);
request_status server_answer_vendor_data_version(const char* request);
request_status server_answer_vendor_data_read(const char* request);
request_status server_answer_vendor_data_write(const char* request);
request_status server_answer_vendor_data_exists(const char* request);
request_status server_answer_polygons(const char* request);
request_status server_answer_polygons_new(const char* request);
request_status server_answer_wireframes_read(const char* request);
request_status server_answer_new_wireframes(const char* request);

}  // namespace qrd

// Handlers of the catalogue requests.
#pragma once

#include "server/answering.h"

namespace qrd {

request_status server_answer_study_list(const char* request);
request_status server_answer_study_set(const char* request);
request_status server_answer_study_new(const char* request);
request_status server_answer_study_del(const char* request);
request_status server_answer_dir_new(const char* request);
request_status server_answer_dir_list(const char* request);
request_status server_answer_dir_exists(const char* request);
request_status server_answer_dir_set(const char* request);
request_status server_answer_dir_del(const char* request);
request_status server_answer_file_list(const char* request);  // CFILELST, CFILETLST
request_status server_answer_file_exists(const char* request);
request_status server_answer_file_set(const char* request);
request_status server_answer_file_del(const char* request);
request_status server_answer_file_info(const char* request);
request_status server_answer_comment_get(const char* request);
request_status server_answer_comment_set(const char* request);  // CCOMSET, CVARCOMM
request_status server_answer_var_list(const char* request);     // CVARLST, CVARTLST
request_status server_answer_var_exists(const char* request);
request_status server_answer_var_set(const char* request);
request_status server_answer_var_del(const char* request);
request_status server_answer_var_info(const char* request);

}  // namespace qrd

// Handlers of the data, points, grid, lines, macro and variable requests.
#pragma once

#include "server/answering.h"

namespace qrd {

request_status server_answer_points_file_new(const char* request);
request_status server_answer_points_file_append(const char* request);
request_status server_answer_grid_file_new(const char* request);
request_status server_answer_lines_file_new(const char* request);
request_status server_answer_lines_file_append(const char* request);
request_status server_answer_lines_file_append_cores(const char* request);
request_status server_answer_lines_file_create_link(const char* request);
request_status server_answer_lines_file_samples_count(const char* request);
request_status server_answer_grid_file_modify_origin(const char* request);
request_status server_answer_grid_file_modify_mesh(const char* request);
request_status server_answer_grid_file_modify_rotation(const char* request);
request_status server_answer_sel_set(const char* request);
request_status server_answer_indice_set(const char* request);     // CINDSET, CINDASET
request_status server_answer_macro_indices(const char* request);  // CMACROIND, CMACROALP
request_status server_answer_add_macro_indices(const char* request);
request_status server_answer_read_float_var(const char* request);
request_status server_answer_read_line_float_var(const char* request);
request_status server_answer_read_selection_var(const char* request);
request_status server_answer_read_char_var(const char* request);
request_status server_answer_var_float_new(const char* request);  // CVARFNEW, CVARMNEW
request_status server_answer_var_char_new(const char* request);
request_status server_answer_write_float_var(const char* request);
request_status server_answer_write_line_float_var(const char* request);
request_status server_answer_write_selection_var(const char* request);
request_status server_answer_write_char_var(const char* request);
request_status server_answer_var_as_line_name(const char* request);

}  // namespace qrd

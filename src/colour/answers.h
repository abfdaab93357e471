// Handlers of palettes and colour scales.
#pragma once

namespace qrd {

int server_answer_palette_list(const char* request);
int server_answer_palette_exists(const char* request);
int server_answer_palette_write(const char* request);
int server_answer_palette_read(const char* request);
int server_answer_palette_delete(const char* request);
int server_answer_cscale_list(const char* request);
int server_answer_cscale_exists(const char* request);
int server_answer_cscale_new(const char* request);
int server_answer_cscale_read(const char* request);
int server_answer_cscale_delete(const char* request);

}  // namespace qrd

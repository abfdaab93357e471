// Text files line by line.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qrd {

// The next line in a shared buffer, or null at the end. The _r form works on the caller's buffer,
// which starts as null and 0, grows by 1000 bytes, and is released when null is returned.
char* qu_file_next_line(std::FILE* stream, bool keep_line_end);
char* qu_file_next_line_r(std::FILE* stream, bool keep_line_end, char** buffer, std::int64_t* size);

}  // namespace qrd

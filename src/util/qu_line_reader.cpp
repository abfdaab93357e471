#include "util/qu_line_reader.h"

#include <algorithm>
#include <cstring>

#include "util/qu_memory.h"

namespace qrd {

namespace {

constexpr std::int64_t line_growth = 1000;
// A line end and the terminator.
constexpr std::int64_t line_end_room = 2;

// The caller's buffer, by its two variables.
struct line_buffer {
  char*& data;
  std::int64_t& size;

  bool grow() {
    data = static_cast<char*>(qu_mem_realloc_nn(__FILE__, __LINE__, data, 1, size, size + line_growth));
    size = data == nullptr ? 0 : size + line_growth;
    return data != nullptr;
  }
  char* release() {
    if (data != nullptr) qu_mem_free_nn(__FILE__, __LINE__, data, 1, size);
    data = nullptr;
    size = 0;
    return nullptr;
  }
};

// The length of the line that was read into the buffer with its line end, or -1 at the end of the file.
std::int64_t read_line(std::FILE* stream, line_buffer buffer) {
  std::int64_t length = 0;
  for (;;) {
    if (buffer.size - length < line_end_room && !buffer.grow()) return -1;
    char* from = buffer.data + length;
    if (std::fgets(from, static_cast<int>(std::min<std::int64_t>(buffer.size - length, 1 << 30)), stream) ==
        nullptr) {
      if (length == 0 || std::ferror(stream) != 0) return -1;
      *from = '\0';
      return length;
    }
    std::int64_t added = static_cast<std::int64_t>(std::strlen(from));
    length += added;
    // A line that a zero byte starts is an empty line.
    if (length == 0 || buffer.data[length - 1] == '\n' || std::feof(stream) != 0) return length;
  }
}

}  // namespace

char* qu_file_next_line_r(std::FILE* stream, bool keep_line_end, char** data, std::int64_t* size) {
  line_buffer buffer{*data, *size};
  if (stream == nullptr) return buffer.release();
  std::int64_t length = read_line(stream, buffer);
  if (length < 0) return buffer.release();
  if (length == 0) return buffer.data;

  bool has_line_end = buffer.data[length - 1] == '\n';
  if (has_line_end) length--;
  if (has_line_end && length > 0 && buffer.data[length - 1] == '\r') length--;
  if (keep_line_end) {
    if (buffer.size - length < line_end_room && !buffer.grow()) return buffer.release();
    buffer.data[length++] = '\n';
  }
  buffer.data[length] = '\0';
  return buffer.data;
}

char* qu_file_next_line(std::FILE* stream, bool keep_line_end) {
  static char* data = nullptr;
  static std::int64_t size = 0;
  return qu_file_next_line_r(stream, keep_line_end, &data, &size);
}

}  // namespace qrd

// Copying and appending whole files.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "util/qu_file.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

constexpr std::int64_t block_bytes = 65536;

void report_failure(const char* verb, const char* target) {
  qu_message("WARNING: UNABLE TO %s INTO THE NEW FILE\n %s\n", verb, target);
  qu_message("         CHECK DISK SPACE AND DISK QUOTAS.");
}

// Moves `size` bytes; false if a block can't be written. A block that can't be read is fatal.
bool move_bytes(const char* operation, std::FILE* source, std::FILE* target, std::int64_t size) {
  std::vector<char> block(static_cast<std::size_t>(std::min(size, block_bytes)));
  for (std::int64_t left = size; left > 0;) {
    auto wanted = static_cast<std::size_t>(std::min(left, block_bytes));
    if (std::fread(block.data(), 1, wanted, source) != wanted) qu_fatal_number(operation, 2);
    if (std::fwrite(block.data(), 1, wanted, target) != wanted) return false;
    left -= static_cast<std::int64_t>(wanted);
  }
  return true;
}

}  // namespace

int qu_file_copy(const char* source, const char* target) {
  file_stream from(qu_file_open_n(source, read_binary));
  if (!from) qu_fatal_number("qu_file_copy", 1);
  file_stream to(qu_file_open_n(target, write_binary));
  if (!to) {
    qu_message("Unable to create the new file %s\n", target);
    return 0;
  }
  struct stat status;
  if (fstat(fileno(from.get()), &status) != 0) {
    const char* reason = qu_strerror(1);
    qu_message("Unable to access file %s.", source);
    qu_message("System Error: %s", reason);
    qu_fatal_number("qu_file_copy", 3);
  }
  if (!move_bytes("qu_file_copy", from.get(), to.get(), status.st_size)) {
    to.close();
    unlink(target);
    report_failure("COPY", target);
    return 0;
  }
  if (!to.close()) {
    report_failure("COPY", target);
    return 0;
  }
  return 1;
}

int qu_file_concat(const char* source, const char* target) {
  file_stream from(qu_file_open_n(source, read_binary));
  if (!from) qu_fatal_number("qu_file_concat", 1);
  file_stream to(qu_file_open_n(target, append_binary));
  if (!to) {
    qu_message("Unable to open the new file %s\n", target);
    return 0;
  }
  struct stat status;
  std::int64_t size = fstat(fileno(from.get()), &status) == 0 ? status.st_size : 0;
  // What a failure has already appended stays.
  bool written = move_bytes("qu_file_concat", from.get(), to.get(), size);
  if (!to.close() || !written) {
    report_failure("CONCAT", target);
    return 0;
  }
  return 1;
}

}  // namespace qrd

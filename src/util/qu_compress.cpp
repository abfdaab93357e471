// Putting a data file back that lies compressed on disk: gzip (RFC 1952) or LZW.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <memory>

#include "util/qu_file.h"
#include "util/qu_lzw.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

enum compression : int { COMPRESSION_UNKNOWN = 0, COMPRESSION_GZIP = 1, COMPRESSION_LZW = 2 };

enum outcome : int { FAILED = 0, DONE = 1, SHORT_WRITE = 5 };

// The compressed form of a plain file, or an empty text.
std::string compressed_path(const char* path) {
  for (const char* suffix : {".gz", ".Z"}) {
    std::string candidate = std::string(path) + suffix;
    if (qu_file_readable(candidate.c_str())) return candidate;
  }
  return "";
}

void report(const char* path, const char* reason) {
  qu_message("Error while decompressing file\n%s\n%s", path, reason);
}

struct close_gzip {
  void operator()(gzFile_s* stream) const { gzclose(stream); }
};
using gzip_owner = std::unique_ptr<gzFile_s, close_gzip>;

const char* error_text(gzFile_s* stream) {
  int number = Z_OK;
  return gzerror(stream, &number);
}

outcome inflate_into(const std::string& source, gzip_owner stream, std::FILE* target) {
  constexpr unsigned block_bytes = 16384;
  char block[block_bytes];
  for (;;) {
    int count = gzread(stream.get(), block, block_bytes);
    if (count == 0) break;
    if (count < 0) {
      report(source.c_str(), error_text(stream.get()));
      return FAILED;
    }
    auto length = static_cast<std::size_t>(count);
    if (std::fwrite(block, 1, length, target) != length) {
      report(source.c_str(), "failed to fwrite");
      return SHORT_WRITE;
    }
  }
  // Only the close tells that the stream ended before its time.
  if (int status = gzclose(stream.release()); status != Z_OK) {
    report(source.c_str(), zError(status));
    return FAILED;
  }
  return DONE;
}

outcome expand_gzip(const std::string& source, const char* path, file_stream& target) {
  gzip_owner stream(gzopen(source.c_str(), "rbe"));
  if (stream == nullptr) {
    qu_message("Cannot open compressed file\n%s\n%s", source.c_str(), qu_strerror(1));
    return FAILED;
  }
  target = file_stream(qu_file_open_n(path, write_binary));
  if (!target) return FAILED;
  return inflate_into(source, std::move(stream), target.get());
}

outcome expand_lzw(const std::string& source, const char* path, file_stream& target) {
  file_stream stream(qu_file_open_n(source.c_str(), read_binary));
  if (!stream) {
    qu_message("Cannot open compressed file\n%s", source.c_str());
    return FAILED;
  }
  target = file_stream(qu_file_open_n(path, write_binary));
  if (!target) {
    qu_message("Cannot open decompressed file\n%s", path);
    return FAILED;
  }
  qu_lzw_decode(stream.get(), target.get());  // what it could decode is the file
  return DONE;
}

}  // namespace

int qu_file_compression(const char* path) {
  file_stream stream(qu_file_open_n(path, read_binary));
  if (!stream) return COMPRESSION_UNKNOWN;
  int first = std::getc(stream.get());
  int second = std::getc(stream.get());
  if (first != 0x1F) return COMPRESSION_UNKNOWN;
  return second == 0x8B ? COMPRESSION_GZIP : second == 0x9D ? COMPRESSION_LZW : COMPRESSION_UNKNOWN;
}

int qu_file_is_compressed(const char* path) {
  std::string source = compressed_path(path);
  return !source.empty() && qu_file_compression(source.c_str()) != COMPRESSION_UNKNOWN ? 1 : 0;
}

int qu_file_uncompress(const char* path) {
  std::string source = compressed_path(path);
  struct stat status;
  if (source.empty() || stat(source.c_str(), &status) != 0) {
    qu_message("Cannot find compressed version of file\n%s", path);
    return FAILED;
  }
  int method = qu_file_compression(source.c_str());
  if (method == COMPRESSION_UNKNOWN) {
    qu_message("Cannot find compression method for file\n%s", path);
    return FAILED;
  }

  file_stream target;
  outcome result =
      method == COMPRESSION_GZIP ? expand_gzip(source, path, target) : expand_lzw(source, path, target);
  if (target) {
    // A tail that the close could not write is a failure while the archive is still there.
    if (!target.close() && method == COMPRESSION_GZIP && result == DONE) {
      report(source.c_str(), qu_strerror(1));
      result = FAILED;
    }
    timespec times[2] = {status.st_atim, status.st_mtim};
    utimensat(AT_FDCWD, path, times, 0);
  }

  // After a failure one form stays: the archive, unless there is no plain file to give up.
  bool give_up_plain = result == FAILED && qu_path_readable(path);
  unlink(give_up_plain ? path : source.c_str());
  return result;
}

}  // namespace qrd

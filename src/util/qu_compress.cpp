// Putting a data file back that lies compressed on disk: gzip (RFC 1952) or LZW.
//
// Several servers may find the same archive. Each expands it beside, and the first one puts its result in
// place: from then on the plain file counts, and may be written to. The archive goes before anybody gets at
// the plain file, so that no other program expands it over what has been written meanwhile.
#include "util/qu_compress.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_leftovers.h"
#include "util/qu_lzw.h"
#include "util/qu_message.h"
#include "util/qu_set_aside.h"
#include "util/qu_sync.h"

namespace qrd {

namespace {

enum compression : int { COMPRESSION_UNKNOWN = 0, COMPRESSION_GZIP = 1, COMPRESSION_LZW = 2 };

// The values are those of qu_file_uncompress.
enum class expanding { failed = 0, done = 1, short_write = 5, damaged_input = -1 };

void report(const char* path, const char* reason) {
  qu_message("Error while decompressing file\n%s\n%s", path, reason);
}

compression method_of(std::FILE* stream) {
  const int first = std::getc(stream);
  const int second = std::getc(stream);
  if (first != 0x1F) return COMPRESSION_UNKNOWN;
  return second == 0x8B ? COMPRESSION_GZIP : second == 0x9D ? COMPRESSION_LZW : COMPRESSION_UNKNOWN;
}

bool is_same_time(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The compressed form of a plain file: one stream from the first look to the last, whatever gets its name.
struct archive {
  enum class looking { found, none, unreadable };

  std::string path;
  file_stream stream;
  struct stat status = {};
  compression method = COMPRESSION_UNKNOWN;

  looking find(const char* plain) {
    for (const char* suffix : {".gz", ".Z"}) {
      path = std::string(plain) + suffix;
      stream = file_stream(qu_file_open_n(path.c_str(), read_binary));
      if (!stream) {
        const bool passed_over = errno == ENOENT || errno == EACCES || errno == EISDIR || errno == EINVAL ||
                                 errno == ENOTDIR || errno == ELOOP;
        if (passed_over) continue;
        return looking::unreadable;
      }
      // Before the first byte is read, which changes the time of access.
      bool seen = fstat(fileno(stream.get()), &status) == 0;
      method = method_of(stream.get());
      seen = seen && std::ferror(stream.get()) == 0;
      std::rewind(stream.get());
      return seen ? looking::found : looking::unreadable;
    }
    return looking::none;
  }

  // False if somebody else has taken it away, or has put another one there.
  bool is_in_place() const {
    struct stat named;
    return stat(path.c_str(), &named) == 0 ? qu_same_file(named, status) : errno != ENOENT;
  }

  // True if it is no longer there.
  bool remove() const { return !is_in_place() || unlink(path.c_str()) == 0 || errno == ENOENT; }
};

struct close_gzip {
  void operator()(gzFile_s* stream) const { gzclose(stream); }
};
using gzip_owner = std::unique_ptr<gzFile_s, close_gzip>;

expanding read_failure(const std::string& path, gzFile_s* stream) {
  int number = Z_OK;
  const char* text = gzerror(stream, &number);
  report(path.c_str(), text);
  return number == Z_DATA_ERROR || number == Z_BUF_ERROR ? expanding::damaged_input : expanding::failed;
}

// A null target leaves the output out, and gives its length alone; so with the next.
expanding expand_gzip(const archive& source, std::FILE* target, std::int64_t& length) {
  constexpr unsigned block_size = 16384;
  char block[block_size];
  length = 0;
  const int handle = fcntl(fileno(source.stream.get()), F_DUPFD_CLOEXEC, 0);
  if (handle < 0 || lseek(handle, 0, SEEK_SET) != 0) {
    if (handle >= 0) close(handle);
    qu_message("Cannot open compressed file\n%s\n%s", source.path.c_str(), qu_strerror(1));
    return expanding::failed;
  }
  gzip_owner stream(gzdopen(handle, "rb"));
  if (stream == nullptr) {
    close(handle);
    qu_message("Cannot open compressed file\n%s\n%s", source.path.c_str(), qu_strerror(1));
    return expanding::failed;
  }
  for (;;) {
    const int count = gzread(stream.get(), block, block_size);
    if (count == 0) break;
    if (count < 0) return read_failure(source.path, stream.get());
    const auto bytes = static_cast<std::size_t>(count);
    length += count;
    if (target != nullptr && std::fwrite(block, 1, bytes, target) != bytes) {
      report(source.path.c_str(), "failed to fwrite");
      return expanding::short_write;
    }
  }
  // Only the close tells that the stream ended before its time.
  if (const int status = gzclose(stream.release()); status != Z_OK) {
    report(source.path.c_str(), zError(status));
    return status == Z_BUF_ERROR ? expanding::damaged_input : expanding::failed;
  }
  return expanding::done;
}

expanding expand_lzw(const archive& source, std::FILE* target, std::int64_t& length) {
  std::rewind(source.stream.get());
  switch (qu_lzw_decode(source.stream.get(), target, length)) {
    case lzw_end::whole:
      return expanding::done;
    case lzw_end::damaged:
      return expanding::damaged_input;
    case lzw_end::unreadable:
      report(source.path.c_str(), qu_strerror(1));
      return expanding::failed;
    case lzw_end::unwritten:
      report(source.path.c_str(), "failed to fwrite");
      return expanding::short_write;
  }
  return expanding::failed;
}

expanding expand(const archive& source, std::FILE* target, std::int64_t& length) {
  return source.method == COMPRESSION_GZIP ? expand_gzip(source, target, length)
                                           : expand_lzw(source, target, length);
}

// What has been decoded is all on disk, and has the times of the archive.
bool finish(std::FILE* target, const struct stat& status) {
  const timespec times[2] = {status.st_atim, status.st_mtim};
  if (std::fflush(target) != 0 || !qu_sync_whole_file(fileno(target))) return false;
  return futimens(fileno(target), times) == 0 || errno == EPERM;
}

bool take_archive_away(const archive& source) {
  if (source.remove()) return true;
  report(source.path.c_str(), qu_strerror(1));
  return false;
}

// What expansions that were killed have left takes the room that this one needs.
void remove_leftovers(const std::string& folder) {
  std::vector<std::string> names;
  directory_listing listing(folder.c_str());
  while (const char* name = listing ? listing.next() : nullptr) names.emplace_back(name);
  qu_remove_leftovers(folder, names);
}

bool is_there(const char* path, struct stat& status) {
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

// What somebody else has put in place meanwhile stays: it may hold new values already.
expanding put_in_place(replaced_file& fresh, const archive& source, const char* path) {
  if (!finish(fresh.get(), source.status)) {
    report(source.path.c_str(), qu_strerror(1));
    return expanding::short_write;
  }
  struct stat plain;
  const bool placed = source.is_in_place() && fresh.commit_new();
  if (!placed && !is_there(path, plain)) {
    report(source.path.c_str(), qu_strerror(1));
    return expanding::failed;
  }
  if (qu_sync_folder_first(qu_folder_of(path))) return expanding::done;
  report(source.path.c_str(), qu_strerror(1));
  return expanding::failed;
}

// Whether a plain file beside its archive is whole. Somebody was killed, or is at work, between putting it in
// place and taking the archive away: then it is at least as long as what the archive holds, and newer. Other
// programs write it in its place: what is shorter is the beginning that one of them has left.
enum class beside { expanded, changed, cut_short, unknown };

beside compare(const archive& source, const struct stat& plain) {
  std::int64_t length = 0;
  switch (expand(source, nullptr, length)) {
    case expanding::done:
      if (plain.st_size < length) return beside::cut_short;
      return plain.st_size == length && is_same_time(plain.st_mtim, source.status.st_mtim) ? beside::expanded
                                                                                           : beside::changed;
    case expanding::damaged_input:
      return beside::changed;
    default:
      return beside::unknown;
  }
}

expanding expand_beside(const archive& source, const char* path) {
  const std::string folder = qu_folder_of(path);
  remove_leftovers(folder);
  replaced_file fresh(path, write_binary);
  if (!fresh) {
    if (source.method == COMPRESSION_LZW) qu_message("Cannot open decompressed file\n%s", path);
    return expanding::failed;
  }
  std::int64_t length = 0;
  const expanding expanded = expand(source, fresh.get(), length);
  const bool is_damaged_lzw = expanded == expanding::damaged_input && source.method == COMPRESSION_LZW;
  if (expanded == expanding::damaged_input && !is_damaged_lzw) return expanding::failed;
  if (expanded != expanding::done && !is_damaged_lzw) return expanded;
  if (const expanding placed = put_in_place(fresh, source, path); placed != expanding::done) return placed;
  // What could be decoded of a damaged LZW stream is the file. The rest may be of use to its owner.
  const bool gone =
      is_damaged_lzw ? qu_file_set_aside(source.path, source.stream.get()) : take_archive_away(source);
  return gone ? expanding::done : expanding::failed;
}

}  // namespace

int qu_file_uncompress(const char* path) {
  archive source;
  switch (source.find(path)) {
    case archive::looking::found:
      break;
    case archive::looking::none:
      qu_message("Cannot find compressed version of file\n%s", path);
      return 0;
    case archive::looking::unreadable:
      qu_message("Cannot open compressed file\n%s\n%s", source.path.c_str(), qu_strerror(1));
      return 0;
  }
  if (source.method == COMPRESSION_UNKNOWN) {
    qu_message("Cannot find compression method for file\n%s", path);
    return 0;
  }

  struct stat plain;
  if (!is_there(path, plain)) return static_cast<int>(expand_beside(source, path));
  switch (compare(source, plain)) {
    case beside::expanded:
      return take_archive_away(source) ? 1 : 0;
    case beside::changed:
      return qu_file_set_aside(source.path, source.stream.get()) ? 1 : 0;
    case beside::cut_short:
      return qu_path_set_aside(path) ? static_cast<int>(expand_beside(source, path)) : 0;
    case beside::unknown:
      break;
  }
  return 0;
}

bool qu_file_restore(const char* path) {
  constexpr int attempts = 4;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    archive source;
    switch (source.find(path)) {
      case archive::looking::none:
        return true;
      case archive::looking::unreadable:
        qu_message("Cannot open compressed file\n%s\n%s", source.path.c_str(), qu_strerror(1));
        return false;
      case archive::looking::found:
        break;
    }
    if (source.method == COMPRESSION_UNKNOWN || qu_file_uncompress(path) == 1) return true;
    struct stat named;
    // What has vanished meanwhile has been put back by somebody else.
    if (lstat(source.path.c_str(), &named) == 0 || errno != ENOENT) return false;
  }
  return false;
}

bool qu_file_measure(const char* path, std::int64_t& length, std::int64_t& to_expand) {
  length = to_expand = 0;
  struct stat plain;
  const bool plain_there = is_there(path, plain);
  if (plain_there) length = plain.st_size;
  archive source;
  switch (source.find(path)) {
    case archive::looking::none:
      return true;
    case archive::looking::unreadable:
      return false;
    case archive::looking::found:
      break;
  }
  if (source.method == COMPRESSION_UNKNOWN) return true;
  std::int64_t expanded = 0;
  const expanding end = expand(source, nullptr, expanded);
  if (end == expanding::failed || (end == expanding::damaged_input && source.method == COMPRESSION_GZIP))
    return false;
  if (!plain_there || length < expanded) length = to_expand = expanded;
  return true;
}

}  // namespace qrd

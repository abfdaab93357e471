// The line table "LINE" of a lines file: line_count + 1 XDR hypers (RFC 4506) without a header.
//
//   entry 0   1
//   entry i   number of the first sample behind line i; the last one is the sample count plus 1
#include "disk/qd_line_table.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>

#include "disk/qd_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "util/qu_big_endian.h"
#include "util/qu_file.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_sync.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr std::int64_t entry_bytes = 8;

void line_table_path(const char* file_path, path_text& path) {
  qu_path_join(path, {file_path, path_separator, line_file_name});
}

// True if a file of that length holds the table. It is asked before memory is taken for it.
bool holds_table(const struct stat& status, const qd_file_record& record) {
  return record.line_count >= 0 && status.st_size / entry_bytes > record.line_count;
}

bool holds_table(std::FILE* stream, const qd_file_record& record) {
  struct stat status;
  return fstat(fileno(stream), &status) == 0 && holds_table(status, record);
}

bool read_entries(std::FILE* stream, const qd_file_record& record, std::vector<std::int64_t>& offsets) {
  if (!holds_table(stream, record)) return false;
  xdr_stream xdr(stream, XDR_DECODE);
  if (!xdr) return false;

  offsets.resize(static_cast<std::size_t>(record.line_count + 1));
  std::int64_t before = 1;
  for (std::int64_t& offset : offsets) {
    if (qu_xdr_long(xdr.get(), &offset) == 0 || offset < before) return false;
    before = offset;
  }
  return offsets.front() == 1 && offsets.back() - 1 == record.sample_count;
}

bool read_table(const char* path, const qd_file_record& record, std::vector<std::int64_t>& offsets) {
  file_stream stream(qu_file_open_n(path, read_binary));
  if (stream && read_entries(stream.get(), record, offsets)) return true;
  offsets.clear();
  return false;
}

// A table of which single entries are read.
class open_table {
 public:
  open_table(const char* path, const qd_file_record& record)
      : stream_(qu_file_open_n(path, read_binary)), lines_(record.line_count), samples_(record.sample_count) {
    is_held_ = stream_ && holds_table(stream_.get(), record);
  }

  bool ends_hold() const {
    std::int64_t first = 0, last = 0;
    return is_held_ && read(0, first) && first == 1 && read(lines_, last) && last >= 1 &&
           last - 1 == samples_;
  }

  bool read_line(std::int64_t line, std::int64_t& first, std::int64_t& last) const {
    std::int64_t bounds[2];
    if (!read(line - 1, bounds) || bounds[0] < 1 || bounds[1] < bounds[0] || bounds[1] - 1 > samples_)
      return false;
    first = bounds[0];
    last = bounds[1] - 1;
    return true;
  }

  bool read_around(std::int64_t first, std::int64_t last, line_table_part& part) const {
    // Entry `part.begin` is not beyond the first sample, entry `behind` is.
    std::int64_t behind = lines_;
    part.begin = 0;
    while (behind - part.begin > 1) {
      const std::int64_t middle = part.begin + (behind - part.begin) / 2;
      std::int64_t entry = 0;
      if (!read(middle, entry)) return false;
      (entry <= first ? part.begin : behind) = middle;
    }
    constexpr std::int64_t most_at_once = 4096;
    std::int64_t at_once = 2;
    part.offsets.clear();
    for (std::int64_t next = part.begin; part.offsets.empty() || part.offsets.back() <= last;) {
      const std::int64_t count = std::min(at_once, lines_ + 1 - next);
      if (count <= 0) return false;
      const std::size_t size = part.offsets.size();
      part.offsets.resize(size + static_cast<std::size_t>(count));
      if (!read(next, std::span(part.offsets).subspan(size))) return false;
      next += count;
      at_once = most_at_once;
    }
    return part.offsets.size() > 1 && std::is_sorted(part.offsets.begin(), part.offsets.end()) &&
           part.offsets[0] >= 1 && part.offsets[0] <= first && first < part.offsets[1] &&
           part.offsets.back() - 1 <= samples_;
  }

 private:
  // Entries in a row.
  bool read(std::int64_t from, std::span<std::int64_t> entries) const {
    const auto bytes = static_cast<ssize_t>(entries.size_bytes());
    if (pread(fileno(stream_.get()), entries.data(), entries.size_bytes(), from * entry_bytes) != bytes)
      return false;
    qu_big_endian_block<std::uint64_t>(entries.data(), static_cast<std::int64_t>(entries.size()));
    return true;
  }
  bool read(std::int64_t place, std::int64_t& entry) const {
    return read(place, std::span<std::int64_t>(&entry, 1));
  }

  file_stream stream_;
  std::int64_t lines_, samples_;
  bool is_held_ = false;
};

// True if the descriptor of a file is no longer the one that a record was read from.
bool has_changed(const char* file_path, const qd_file_record& record) {
  qd_file_record now;
  const object_state state = qd_file_descriptor_read(file_path, now);
  if (state != object_state::sound) return state == object_state::gone;
  return std::strcmp(now.name, record.name) != 0 || now.organisation != record.organisation ||
         now.line_count != record.line_count || now.sample_count != record.sample_count;
}

// Always false, after a report unless another server has changed the file.
bool report_corrupted(const char* file_path, const qd_file_record& record, const char* path) {
  if (!has_changed(file_path, record)) qu_message("Line descriptor corrupted:\n%s", path);
  return false;
}

// What `use` finds in the open table, once its ends hold.
template <typename Use>
bool with_table(const char* file_path, const qd_file_record& record, const Use& use) {
  path_text path;
  line_table_path(file_path, path);
  const open_table table(path, record);
  return (table.ends_hold() && use(table)) || report_corrupted(file_path, record, path);
}

}  // namespace

bool qd_line_table_read(const char* file_path, const qd_file_record& record,
                        std::vector<std::int64_t>& offsets) {
  path_text path;
  line_table_path(file_path, path);
  return read_table(path, record, offsets) || report_corrupted(file_path, record, path);
}

bool qd_line_table_ends_hold(const char* file_path, const qd_file_record& record) {
  return with_table(file_path, record, [](const open_table&) { return true; });
}

bool qd_line_table_read_around(const char* file_path, const qd_file_record& record, std::int64_t first,
                               std::int64_t last, line_table_part& part) {
  return with_table(file_path, record,
                    [&](const open_table& table) { return table.read_around(first, last, part); });
}

bool qd_line_table_read_line(const char* file_path, const qd_file_record& record, std::int64_t line,
                             std::int64_t& first, std::int64_t& last) {
  return with_table(file_path, record,
                    [&](const open_table& table) { return table.read_line(line, first, last); });
}

bool qd_line_table_create(const char* file_path) {
  path_text path;
  line_table_path(file_path, path);
  file_stream stream(qu_file_open_n(path, write_binary));
  if (!stream) return false;
  xdr_stream xdr(stream.get(), XDR_ENCODE);
  std::int64_t first = 1;
  if (!xdr || qu_xdr_long(xdr.get(), &first) == 0) return false;
  return stream.close();
}

bool qd_line_table_holds(const char* file_path, const qd_file_record& record) {
  path_text path;
  line_table_path(file_path, path);
  struct stat status;
  return stat(path, &status) == 0 && S_ISREG(status.st_mode) && holds_table(status, record);
}

bool qd_line_table_append(const char* file_path, const qd_file_record& record, std::int64_t end) {
  path_text path;
  line_table_path(file_path, path);
  file_stream stream(qu_file_open_n(path, update_binary));
  if (!stream || !holds_table(stream.get(), record)) return false;
  // What an interrupted growth left behind the table is overwritten.
  if (qu_file_seek(stream.get(), (record.line_count + 1) * entry_bytes, 0) != 0) return false;
  xdr_stream xdr(stream.get(), XDR_ENCODE);
  if (!xdr || qu_xdr_long(xdr.get(), &end) == 0) return false;
  const bool is_written = std::fflush(stream.get()) == 0 && qu_sync_file(fileno(stream.get()));
  return stream.close() && is_written;
}

std::optional<std::int64_t> qd_line_table_bytes(const char* file_path) {
  path_text path;
  line_table_path(file_path, path);
  struct stat status;
  if (stat(path, &status) != 0) return std::nullopt;
  return status.st_size;
}

void qd_line_table_cut(const char* file_path, std::int64_t bytes) {
  path_text path;
  line_table_path(file_path, path);
  if (truncate(path, bytes) != 0 && errno != ENOENT)
    qu_message("Cannot make \"%s\" as short again as it was", path);
}

}  // namespace qrd

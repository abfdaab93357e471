#include "samples/qd_column_move.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "disk/qd_data_file.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_sync.h"
#include "util/qu_working_name.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

// Purposes of working names beside those of util/qu_working_name.h: nobody else tidies these files up.
constexpr char grown = 'G';
constexpr char column_kept = 'K';

constexpr std::uint32_t token_limit = 16;
constexpr std::int64_t piece_bytes = std::int64_t{1} << 20;

std::string journal_path(const std::string& file_path) {
  return file_path + path_separator + growth_journal_name;
}

std::string full_path(const std::string& file_path, const std::string& path) {
  return path.front() == '/' ? path : file_path + path_separator + path;
}

// A file beside a data file.
std::string beside(const std::string& data_path, char purpose, const std::string& token) {
  return qu_folder_of(data_path) + purpose + "_" + token;
}

bool move_text(XDR* xdr, std::string& text, std::uint32_t limit) {
  path_text buffer = "";
  qu_path_join(buffer, {text});
  if (qu_xdr_text(xdr, buffer, limit) == 0) return false;
  text = buffer;
  return !text.empty();
}

// Both directions.
bool move_journal(XDR* xdr, growth_journal& entries, std::int64_t most_paths) {
  std::int64_t version = DESCRIPTOR_VERSION;
  auto count = static_cast<std::int64_t>(entries.paths.size());
  if (qu_xdr_int(xdr, &version) == 0 || version != DESCRIPTOR_VERSION ||
      qu_xdr_long(xdr, &entries.old_samples) == 0 || qu_xdr_long(xdr, &entries.samples) == 0 ||
      !move_text(xdr, entries.token, token_limit) || qu_xdr_int(xdr, &count) == 0 || count < 0 ||
      count > most_paths)
    return false;
  entries.paths.resize(static_cast<std::size_t>(count));
  return std::all_of(entries.paths.begin(), entries.paths.end(),
                     [&](std::string& path) { return move_text(xdr, path, path_size - 1); });
}

bool write_journal(const std::string& file_path, growth_journal& entries) {
  replaced_file file(journal_path(file_path).c_str(), write_binary);
  if (!file) return false;
  xdr_stream xdr(file.get(), XDR_ENCODE);
  return xdr && move_journal(xdr.get(), entries, missing_int32 - 1) && file.commit_new();
}

enum class journal_state { read, none, unreadable };

journal_state read_journal(const std::string& file_path, growth_journal& entries) {
  const file_stream stream(qu_file_open_n(journal_path(file_path).c_str(), read_binary));
  struct stat status;
  if (!stream) return errno == ENOENT ? journal_state::none : journal_state::unreadable;
  xdr_stream xdr(stream.get(), XDR_DECODE);
  const bool is_read = xdr && fstat(fileno(stream.get()), &status) == 0 &&
                       move_journal(xdr.get(), entries, status.st_size / 4);
  return is_read ? journal_state::read : journal_state::unreadable;
}

// What another server has deleted is none of ours any more.
bool gone_with_its_folder(const std::string& path) {
  return errno == ENOENT && qd_folder_gone(qu_folder_of(path).c_str());
}

bool unlink_if_there(const std::string& path) {
  return unlink(path.c_str()) == 0 || errno == ENOENT;
}

// Gives a data file's name to its new layout, and keeps the old one.
bool change_over(const std::string& data_path, const std::string& token) {
  const std::string fresh = beside(data_path, grown, token), old = beside(data_path, column_kept, token);
  if (link(data_path.c_str(), old.c_str()) != 0) {
    // A file system without links: whoever finds no data file finds the journal.
    const bool no_links = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS || errno == EMLINK;
    if (!no_links || std::rename(data_path.c_str(), old.c_str()) != 0) return gone_with_its_folder(data_path);
  }
  return std::rename(fresh.c_str(), data_path.c_str()) == 0 || gone_with_its_folder(data_path);
}

bool change_back(const std::string& data_path, const std::string& token) {
  const std::string old = beside(data_path, column_kept, token);
  if (std::rename(old.c_str(), data_path.c_str()) != 0 && errno != ENOENT) return false;
  // A rename between two names of one file does nothing.
  return unlink_if_there(old) && unlink_if_there(beside(data_path, grown, token));
}

bool end_journal(const std::string& file_path) {
  return unlink_if_there(journal_path(file_path)) && qu_sync_folder(file_path);
}

bool undo(const std::string& file_path, const growth_journal& entries) {
  bool done = true;
  for (const std::string& path : entries.paths)
    if (!change_back(full_path(file_path, path), entries.token)) done = false;
  return done && end_journal(file_path);
}

bool finish(const std::string& file_path, const growth_journal& entries) {
  for (const std::string& path : entries.paths)
    unlink_if_there(beside(full_path(file_path, path), column_kept, entries.token));
  return end_journal(file_path);
}

// Which of the two a growth that has been broken off needs is told by the count of the file. False if neither
// can be done.
bool settle(const std::string& file_path, const growth_journal& entries) {
  qd_file_record record;
  if (qd_file_descriptor_read(file_path.c_str(), record) != object_state::sound)
    return qd_folder_gone(file_path.c_str());
  if (record.sample_count == entries.samples) return finish(file_path, entries);
  return record.sample_count == entries.old_samples && undo(file_path, entries);
}

// What killed growths have left beside a data file before there was a journal of them.
void remove_leftovers(const std::string& data_path) {
  const std::string folder = qu_folder_of(data_path);
  const std::size_t length = qu_working_file_name(grown).size();
  directory_listing listing(folder.c_str());
  while (const char* name = listing ? listing.next() : nullptr)
    if ((name[0] == grown || name[0] == column_kept) && name[1] == '_' && std::strlen(name) == length)
      unlink((folder + name).c_str());
}

// Bits from several sources, one behind the other in a file.
class bit_output {
 public:
  bit_output(int file, checked_array<unsigned char>& buffer) : file_(file), buffer_(buffer) {}

  // Adds bits of a source from a bit of its first byte on.
  bool put(const unsigned char* source, int skip, std::int64_t bits) {
    if (skip == 0 && held_ == 0) {
      const std::int64_t bytes = bits / 8;
      for (std::int64_t done = 0; done < bytes;) {
        const std::int64_t count = std::min(bytes - done, buffer_.count() - used_);
        std::memcpy(buffer_.data() + used_, source + done, static_cast<std::size_t>(count));
        used_ += count;
        done += count;
        if (used_ == buffer_.count() && !flush()) return false;
      }
      source += bytes;
      bits -= bytes * 8;
    }
    for (; bits > 0; bits -= 8, ++source) {
      const int count = static_cast<int>(std::min<std::int64_t>(bits, 8));
      unsigned value = static_cast<unsigned>(*source) << skip;
      if (skip + count > 8) value |= source[1] >> (8 - skip);
      if (!put_few((value & 0xFFU) >> (8 - count), count)) return false;
    }
    return true;
  }

  // Completes the last byte with bits that are set.
  bool end() { return (held_ == 0 || put_few(0xFFU >> held_, 8 - held_)) && flush(); }

 private:
  bool put_few(unsigned value, int count) {
    bits_ = bits_ << count | value;
    held_ += count;
    if (held_ < 8) return true;
    held_ -= 8;
    buffer_[used_++] = static_cast<unsigned char>(bits_ >> held_ & 0xFFU);
    bits_ &= (1U << held_) - 1U;
    return used_ < buffer_.count() || flush();
  }

  bool flush() {
    if (!qd_write_at(file_, position_, buffer_.data(), used_)) return false;
    position_ += used_;
    used_ = 0;
    return true;
  }

  int file_;
  checked_array<unsigned char>& buffer_;
  std::int64_t position_ = 0;
  std::int64_t used_ = 0;
  unsigned bits_ = 0;  // the last ones, of a byte that isn't complete
  int held_ = 0;
};

bool read_at(int file, std::int64_t position, unsigned char* bytes, std::int64_t count) {
  while (count > 0) {
    const ssize_t got = pread(file, bytes, static_cast<std::size_t>(count), position);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      if (got == 0) errno = EIO;
      return false;
    }
    position += got;
    bytes += got;
    count -= got;
  }
  return true;
}

// A data file in its new layout, from the old one.
class column_writer {
 public:
  column_writer(int from, std::int64_t old_bytes, int to, const column_layout& layout,
                checked_array<unsigned char>& output, checked_array<unsigned char>& input)
      : from_(from), old_bytes_(old_bytes), layout_(layout), output_(to, output), input_(input) {}

  bool write() {
    checked_array<unsigned char> missing, fill;
    // The missing value is the fill of a new block, but for the pattern of 2 bits.
    const std::int64_t missing_form = layout_.bit_length == 2 ? 4 : layout_.bit_length;
    if (!qd_stored_fill_block(missing_form, false, missing) ||
        !qd_stored_fill_block(layout_.bit_length, false, fill))
      return false;
    const std::int64_t old_bits = layout_.old_samples * layout_.bit_length;
    const std::int64_t added_bits = (layout_.samples - layout_.old_samples) * layout_.bit_length;
    for (std::int64_t column = 0; column < layout_.columns; ++column)
      if (!copy(column * old_bits, (column + 1) * old_bits) || !repeat(missing, 0, added_bits)) return false;

    // What stands behind the columns, in its place.
    std::int64_t position = layout_.columns * (old_bits + added_bits);
    const std::int64_t fill_begin = std::min(old_bytes_, layout_.capacity) * 8;
    const std::int64_t fill_end = fill_begin + layout_.added * 8;
    if (!copy(position, fill_begin)) return false;
    position = std::max(position, fill_begin);
    if (position < fill_end && !repeat(fill, position - fill_begin, fill_end - position)) return false;
    return copy(std::max(position, fill_end), old_bytes_ * 8) && output_.end();
  }

 private:
  // The bits of the old file from one position to another.
  bool copy(std::int64_t bit, std::int64_t end) {
    while (bit < end) {
      const int skip = static_cast<int>(bit % 8);
      const std::int64_t bits = std::min(end - bit, input_.count() * 8 - skip);
      if (!read_at(from_, bit / 8, input_.data(), (skip + bits + 7) / 8)) return false;
      if (!output_.put(input_.data(), skip, bits)) return false;
      bit += bits;
    }
    return true;
  }

  // So many bits of a block that is repeated, from a bit of it on.
  bool repeat(const checked_array<unsigned char>& block, std::int64_t bit, std::int64_t bits) {
    const std::int64_t block_bits = block.count() * 8;
    for (bit %= block_bits; bits > 0; bit = 0) {
      const std::int64_t count = std::min(bits, block_bits - bit);
      if (!output_.put(block.data() + bit / 8, static_cast<int>(bit % 8), count)) return false;
      bits -= count;
    }
    return true;
  }

  int from_;
  std::int64_t old_bytes_;
  const column_layout& layout_;
  bit_output output_;
  checked_array<unsigned char>& input_;
};

// Positions in bits must fit 63 bits.
bool can_be_addressed(const column_layout& layout) {
  std::int64_t samples = 0, bits = 0;
  return !__builtin_mul_overflow(layout.samples, layout.columns, &samples) &&
         !__builtin_mul_overflow(samples, layout.bit_length, &bits) &&
         !__builtin_add_overflow(layout.capacity, layout.added, &bits) &&
         !__builtin_mul_overflow(bits, std::int64_t{8}, &bits);
}

// The data file itself, where another name leads to it.
std::string real_data_path(const char* variable_path) {
  std::string path = std::string(variable_path) + path_separator + data_file_name;
  struct stat status;
  if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
  std::error_code error;
  return std::filesystem::canonical(path, error).string();
}

}  // namespace

column_move::column_move(const char* file_path, std::int64_t old_samples, std::int64_t samples)
    : file_path_(file_path), journal_{old_samples, samples, qu_working_file_name(grown).substr(2), {}} {}

column_move::~column_move() {
  for (const moved_file& file : files_) {
    if (file.stream != nullptr) std::fclose(file.stream);
    if (!begun_) unlink(file.fresh_path.c_str());
  }
  bool settled = !begun_;
  qu_tidy([&] { settled = settled || settle(file_path_, journal_); });
  if (!settled)
    qu_message("Cannot undo the growth of \"%s\": the next one who opens it has to\n%s", file_path_.c_str(),
               qu_strerror(1));
}

bool column_move::reserve() {
  return output_.allocate(piece_bytes) && input_.allocate(piece_bytes);
}

bool column_move::lay_out(const char* variable_path, const column_layout& layout) {
  const std::string path = real_data_path(variable_path);
  if (path.empty() || !can_be_addressed(layout)) return false;
  remove_leftovers(path);
  const file_stream old(qu_file_open_n(path.c_str(), read_binary));
  struct stat status;
  if (!old || fstat(fileno(old.get()), &status) != 0) return false;

  const std::string fresh_path = beside(path, grown, journal_.token);
  replaced_file fresh(fresh_path.c_str(), write_binary);
  if (!fresh) return false;
  const int to = fileno(fresh.get());
  column_writer writer(fileno(old.get()), status.st_size, to, layout, output_, input_);
  if (!writer.write() || fchmod(to, status.st_mode & 07777) != 0 || !qu_sync_whole_file(to) ||
      !fresh.commit_new())
    return false;

  const bool below = path.starts_with(file_path_ + path_separator);
  files_.push_back({variable_path, fresh_path, nullptr});
  journal_.paths.push_back(below ? path.substr(file_path_.size() + 1) : path);
  if (qd_selected_find(variable_path) == nullptr) return true;
  // It follows the file to its place. The opening may not fail then.
  files_.back().stream = qu_file_open_n(fresh_path.c_str(), update_binary);
  if (files_.back().stream == nullptr) return false;
  std::setvbuf(files_.back().stream, nullptr, _IONBF, 0);
  return true;
}

bool column_move::begin() {
  if (journal_.paths.empty()) return true;
  begun_ = true;
  if (!write_journal(file_path_, journal_)) {
    // It may stand all the same; or it is another one's, where no lock keeps that out.
    growth_journal seen;
    begun_ = read_journal(file_path_, seen) == journal_state::read && seen.token == journal_.token;
    return false;
  }
  return std::all_of(journal_.paths.begin(), journal_.paths.end(), [&](const std::string& path) {
    return change_over(full_path(file_path_, path), journal_.token);
  });
}

void column_move::commit() noexcept {
  for (moved_file& file : files_) {
    qd_selected_entry* entry = qd_selected_find(file.variable_path.c_str());
    if (entry == nullptr) continue;
    if (entry->stream != nullptr) std::fclose(entry->stream);
    entry->stream = std::exchange(file.stream, nullptr);
    entry->sample_count = journal_.samples;
  }
  if (begun_) qu_tidy([this] { finish(file_path_, journal_); });
  begun_ = false;
  files_.clear();
}

bool qd_columns_move(const char* file_path) {
  return access(journal_path(file_path).c_str(), F_OK) == 0 || errno != ENOENT;
}

bool qd_settle_columns(const char* file_path) {
  if (!qd_columns_move(file_path)) return true;
  const folder_lock lock(file_path);
  if (!lock) {
    if (errno != ENOENT)
      qu_message("The growth of \"%s\" by another server has not come to its end", file_path);
    return false;
  }
  growth_journal entries;
  const journal_state state = read_journal(file_path, entries);
  if (state == journal_state::none) return true;
  if (state == journal_state::read && settle(file_path, entries)) return true;
  qu_message("The growth of \"%s\" has been broken off, and cannot be undone: see its file %s", file_path,
             growth_journal_name);
  return false;
}

bool qd_columns_hold(const qd_selected_entry& entry) {
  if (entry.type != VAR_MACRO || entry.stream == nullptr) return true;
  qd_file_record record;
  return !qd_columns_move(entry.file_path) && qd_is_in_place(entry) &&
         qd_file_descriptor_read(entry.file_path, record) == object_state::sound &&
         record.sample_count == entry.sample_count;
}

}  // namespace qrd

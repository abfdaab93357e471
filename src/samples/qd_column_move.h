// The columns of macro variables at a new distance.
//
// Column p of a macro variable begins behind p N samples of its data file, N being the sample count of the
// file, so that all columns but the first move when the count grows. They are laid out anew beside, and all
// macro variables of a file change over together with its count:
//
//   1. "G_<token>" beside each data file holds its new layout, and is on disk
//   2. the journal "GROWTH" is put into the folder of the file
//   3. each data file becomes "K_<token>", its new layout the data file
//   4. the descriptor of the file gets the new count: from here on the new layouts count
//   5. the old layouts go, and then the journal
//
// Whoever meets a journal waits for its maker, who holds the lock of the file's folder, or undoes what a dead
// one has begun: up to step 4 no count tells of it. Who reads or writes a column has opened the layout that
// belongs to his count when afterwards there is no journal, the data file is the one that he has opened, and
// the count is still his.
//
// The journal is one XDR record (RFC 4506):
//
//   xint          version, 1100
//   xlong         old sample count, new sample count
//   xstring(16)   token
//   xint          number of data files
//   xstring(...)  path of each, from the folder of the file or from the root
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "samples/qd_io.h"
#include "samples/qd_variable_table.h"
#include "util/qu_constants.h"
#include "util/qu_memory.h"

namespace qrd {

inline constexpr char growth_journal_name[] = "GROWTH";

// What a data file becomes: its columns at a distance of `samples`, and behind them what stood behind the old
// ones. From the byte `capacity` on `added` bytes are fill.
struct column_layout {
  std::int64_t bit_length;
  std::int64_t columns;
  std::int64_t old_samples;
  std::int64_t samples;
  std::int64_t capacity;
  std::int64_t added;
};

struct growth_journal {
  std::int64_t old_samples = 0;
  std::int64_t samples = 0;
  std::string token;
  std::vector<std::string> paths;
};

// A move of the columns of all macro variables of one file. What is not committed is undone, unless the count
// of the file on disk is the new one.
// REQUIRES: the lock of the file's folder, and no journal there, for as long as it lives.
class column_move {
 public:
  column_move(const char* file_path, std::int64_t old_samples, std::int64_t samples);
  column_move(const column_move&) = delete;
  column_move& operator=(const column_move&) = delete;
  ~column_move();

  // Takes the memory that it needs; false without.
  bool reserve();
  // Step 1 for one variable. False after a failure.
  bool lay_out(const char* variable_path, const column_layout& layout);
  // Steps 2 and 3.
  bool begin();
  // Step 5. The entries of selected variables go over to the new layouts. Nothing can fail any more: what
  // stays of the old layouts and of the journal, also for want of memory, is the next one's to remove.
  void commit() noexcept;

 private:
  struct moved_file {
    std::string variable_path;
    std::string fresh_path;
    std::FILE* stream;  // on the new layout, for the entry of a selected variable
  };

  std::string file_path_;
  growth_journal journal_;
  std::vector<moved_file> files_;  // those of the journal
  checked_array<unsigned char> output_, input_;
  bool begun_ = false;
};

// True if a journal stands in that folder.
bool qd_columns_move(const char* file_path);
// Waits for the maker of a journal in that folder, or undoes the work of a dead one. False after a report if
// a journal still stands.
bool qd_settle_columns(const char* file_path);

// True if an entry's stream and sample count belong together, as told above. Always true of a variable that
// is no macro.
bool qd_columns_hold(const qd_selected_entry& entry);

}  // namespace qrd

// The path that all data requests share: the current variable, the range, the selection of what takes
// part, the io record. A step that gives false has refused the request.
#pragma once

#include <cstdint>
#include <optional>

#include "disk/qd_records.h"
#include "samples/qd_io.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_variable_table.h"
#include "util/qu_memory.h"
#include "wire/answer.h"

namespace qrd {

class data_request {
 public:
  enum direction { reading, writing };
  explicit data_request(direction way) : way_(way) {}
  data_request(const data_request&) = delete;
  data_request& operator=(const data_request&) = delete;
  ~data_request();

  // The sample range; -1 stands for the first and the last sample of the file. Not every client sends it
  // for floats and texts. False after a failed read, without a refusal.
  bool read_range();
  bool read_float_range();
  bool read_char_range();

  // The current variable, with what the catalogue says of it and of its file.
  bool find_variable();
  // A macro variable needs a current index.
  bool check_index() const;
  bool check_range();

  // The lines file of the current variable.
  bool find_lines_file();
  // The range of a line. False after a refusal. REQUIRES: line from 1 to file.line_count.
  bool set_line(std::int64_t line);

  // How many samples of the range the current selection selects; negative if that can't be told.
  std::optional<std::int64_t> count_selected();

  // Selects the current selection and variable, and binds them; the last step sets the current index.
  bool open(unit_choice choice);
  bool open();  // with the unit that the client wants
  bool set_index();
  // The current selection stays selected when the request ends.
  void keep_selection() { keeps_selection_ = true; }

  // Whether the opened variable has numbers that can be transferred this way.
  bool is_numeric() const;
  const qd_selected_entry& entry() const { return *qd_entry(variable_.handle.entry); }
  std::int64_t io() const { return io_.id; }
  // Samples of the range.
  std::int64_t count() const { return last - first + 1; }

  // "Problem while reading" or "writing".
  refused refuse_transfer() const;

  std::int64_t first = -1;
  std::int64_t last = -1;
  qd_file_info file;
  qd_var_info variable;

 private:
  // Selects the current selection if so many entries of the table are free.
  bool find_selection(int entries);
  bool select_selection();
  bool select_variable(unit_choice choice);

  direction way_;
  bool variable_found_ = false;
  qd_variable_place place_;
  qd_file_record lines_;  // of a lines file
  bool keeps_selection_ = false;
  // Released in the reverse order: first the io record.
  selected_variable selection_;
  selected_variable variable_;
  io_record io_;
};

// The product of two counts, as large as a 64-bit integer can tell.
std::int64_t limited_product(std::int64_t a, std::int64_t b);

// The refusal of `count` elements of so many bytes. `purpose` is empty or such as " for byte array".
refused refuse_memory(const char* purpose, std::int64_t count, std::int64_t size);
// The same, for an array that the client sends next: it is dropped from the socket.
refused clean_and_refuse_memory(const char* purpose, std::int64_t count, std::int64_t size);

// Memory for an answer or a conversion.
template <typename T>
bool allocate_or_refuse(checked_array<T>& array, std::int64_t count, const char* purpose = "") {
  if (count >= 0 && array.allocate(count)) return true;
  return refuse_memory(purpose, count, sizeof(T));
}

// Memory for an array that the client sends next.
template <typename T>
bool allocate_or_clean(checked_array<T>& array, std::int64_t count, const char* purpose = "") {
  if (count >= 0 && array.allocate(count)) return true;
  return clean_and_refuse_memory(purpose, count, sizeof(T));
}

}  // namespace qrd

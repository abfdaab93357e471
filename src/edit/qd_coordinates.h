// The stored coordinates of points and lines files.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "catalogue/qd_locked_file.h"
#include "disk/qd_records.h"
#include "edit/qd_file_content.h"
#include "samples/qd_io.h"
#include "samples/qd_variable_table.h"
#include "util/qu_memory.h"

namespace qrd {

// Coordinate variables that a file gets before it becomes one of the organisation that needs them. If it has
// not become one, settle() and the end remove what was created here; a kill leaves variables that nobody
// reads, which the next attempt takes over.
class prepared_coordinates {
 public:
  prepared_coordinates() = default;
  prepared_coordinates(const prepared_coordinates&) = delete;
  prepared_coordinates& operator=(const prepared_coordinates&) = delete;
  ~prepared_coordinates() {
    qu_tidy([this] { settle(); });
  }

  // Creates those of the tables, for the axes of a file, that are missing there. Null, or the name that can't
  // be created. REQUIRES: the file is locked until the end of this object. May end the process.
  const char* create(const char* directory, const char* file, const locked_file& locked,
                     std::initializer_list<std::span<const builtin_variable, 3>> tables,
                     std::int64_t dimension);
  // Before the answer: clients see no variable that is to go.
  void settle();

 private:
  path_text file_path_ = "";
  std::int64_t organisation_ = 0;
  std::vector<const char*> created_;
};

// The variables of one table for a file in the making, with values variable by variable in the units of the
// axes.
std::vector<initial_samples> qd_axis_content(const builtin_variable (&table)[3], std::int64_t dimension,
                                             std::span<const double> values);

// The coordinates of a file, selected with their own units and bound for transfer: those of each table in
// turn, axis by axis.
class coordinate_variables {
 public:
  enum class [[nodiscard]] status{done, not_found, not_selected, not_bound};
  status select(const char* directory, const char* file,
                std::initializer_list<std::span<const builtin_variable, 3>> tables, std::int64_t dimension);
  // Where select() failed: the position of the variable, and its name in the file (or, if the file has
  // none of its kind, its usual name).
  std::int64_t position() const { return count_; }
  const char* name() const { return name_; }

  // Values variable by variable, for the samples first to last. False if they can't be written.
  [[nodiscard]] bool write(std::int64_t first, std::int64_t last, std::span<const double> values) const;

 private:
  status select_one(const char* directory, const char* file, const builtin_variable& wanted,
                    const char* present);

  static constexpr std::int64_t most = 9;
  selected_variable variables_[most];
  io_record io_;
  std::int64_t count_ = 0;
  name_text name_ = "";
};

}  // namespace qrd

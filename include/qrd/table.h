// A file of a database as a table: a row is a sample, a column is a variable.
//
// Missing numbers are NaN, missing texts are empty. Samples and lines are counted from 1.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "qrd/database.h"
#include "qrd/export.h"
#include "qrd/types.h"

namespace qrd::client {

// A column of a macro variable: its number or its name.
using macro_index = std::variant<std::int32_t, std::string>;

// A variable as a user names it: "stem[12]" and "stem{gold}" are columns of the macro variable "stem[xxxxx]".
struct variable_name {
  std::string name = {};
  std::optional<macro_index> index = {};
  bool operator==(const variable_name&) const = default;
};
// What a user wrote, as a name; the text of a name; whether it is that of a macro variable as a whole.
QRD_EXPORT variable_name parse_variable_name(const std::string& text);
QRD_EXPORT std::string text_of(const variable_name& variable);
QRD_EXPORT bool is_macro_name(const std::string& name);  // ends with "[xxxxx]"

// A variable of numbers or texts, or one column of a macro variable.
struct column {
  std::string title = {};  // as a user reads it
  variable_name variable = {};
  variable_info info = {};

  bool is_text() const { return info.type == variable_type::text; }
  bool is_selection() const { return !is_text() && info.bits == 1; }
  // Of the values as they are read where each has its own unit; empty for none.
  QRD_EXPORT std::string unit() const;
};

// What a column holds in a part of the file; of texts `texts`, else `numbers`.
struct column_values {
  std::vector<double> numbers = {};     // NaN where missing
  std::vector<std::string> texts = {};  // without the blanks behind; empty where missing
};

// A line of a lines file.
struct line {
  std::int64_t number = 1;
  std::string name = {};  // empty if the file doesn't say
  // Its samples, both included; of an empty line `last` stands before `first`.
  std::int64_t first = 1;
  std::int64_t last = 0;
  std::int64_t size() const { return last - first + 1; }
};

// Which samples, and in what unit.
struct reading {
  std::optional<sample_range> range = {};     // none: all of the file
  std::string selection = {};                 // masks samples; empty for none
  selection_use use = selection_use::masked;  // compressed: what is masked is left out
  std::string unit = {};                      // of all lengths; empty: each in its variable's own
  progress_function progress = {};            // values done and in all
};

// Where values go, and in what unit they are told.
struct writing {
  std::optional<sample_range> range = {};
  std::string selection = {};  // what it masks keeps its value
  selection_use use = selection_use::masked;
  std::string unit = {};
  progress_function progress = {};
};

// A variable to be made.
struct new_variable {
  variable_name name = {};      // of a macro variable the one column of it that is made
  std::int32_t bits = 64;       // 1 for a selection
  std::int32_t characters = 0;  // above 0 it is a text of that width
  std::string unit = {};        // the symbol of a length unit, another text, or none
  bool unit_is_text = false;    // such as "feet", which is else refused as nearly a symbol
  number_format format = {};
  std::string comment = {};
};

// A file as it was when the table was made or refreshed; the samples are those on the disk at each call. The
// database has to outlive it.
class QRD_EXPORT table {
 public:
  table(database& owner, file_place place);

  const file_place& place() const { return place_; }
  database& owner() const { return *owner_; }
  // Looks at the file again.
  void refresh();
  const file_info& info() const { return info_; }
  std::int64_t samples() const { return info_.samples; }
  bool has_lines() const;
  bool is_grid() const { return info_.organisation == organisation::grid; }
  // Whether it has the variables of a file of wireframes. Only asking for these tells whether it is one.
  bool may_have_wireframes();

  // The names of the variables, as the server lists them.
  std::vector<std::string> names();
  // The column of that name; "x", "y" and "z" are the coordinates unless a variable has that very name.
  // `index` stands for the columns of a macro variable that is named without one, "stem" or "stem[xxxxx]". A
  // macro variable without an index is an `error`.
  column open(const std::string& name, const std::string& index = {});
  // Makes the variable of exactly that name the current one of the connection.
  connection& choose(const std::string& name);
  // One column for each index of a macro variable, else the one.
  std::vector<column> open_all(const std::string& name);
  // All columns of the file, those of macro variables too; without them where they are not asked for.
  std::vector<column> columns(bool with_macros = true);
  // What the coordinates are told in, axis by axis.
  std::vector<std::string> coordinate_units();

  // The lines of a lines file with their names, which the linked points file may give; none of another file.
  std::vector<line> lines();
  // The line of that name, or of that number if none has the name; an `error` if there is neither.
  line find_line(const std::string& name);

  // Reads the columns block by block, so that memory does not grow with the file: `take` gets as many values
  // for each. Under a compressing selection blocks differ in size and may be empty. Between two blocks others
  // may change the file.
  void read(std::span<const column> columns, const reading& wish,
            const std::function<void(std::span<const column_values>)>& take);
  // Reads one column whole.
  column_values read(const column& one, const reading& wish = {});

  // Writes one column. As many values as the range has samples, or as the selection leaves of them. A number
  // that the bits of the column can't hold is an `error`, and nothing is written.
  void write(const column& one, std::span<const double> numbers, const writing& wish = {});
  void write(const column& one, std::span<const std::string> texts, const writing& wish = {});

  // What write() looks at before it writes anything: whether the column can hold them.
  static void check(const column& one, std::span<const double> numbers);
  static void check(const column& one, std::span<const std::string> texts);

  // Makes a variable, or a column of a macro variable, which is made too if it isn't there. Name and unit are
  // checked first; nothing is left of what fails.
  column make(const new_variable& wish);
  // Takes a variable away, of a macro variable all columns.
  void remove(const std::string& name);

 private:
  connection& select(const column& one, const std::string& selection);
  static void add_index(connection& server, const macro_index& index);

  database* owner_;
  file_place place_;
  file_info info_;
};

// What kind of file, and where its samples lie. Coordinates stand axis by axis: all X, then all Y, then all
// Z.
struct points_geometry {
  std::int32_t dimension = 3;
  std::span<const double> coordinates = {};
};
struct grid_file_geometry {
  grid_geometry grid = {};
  double angles[3] = {0, 0, 0};  // degrees
};
// A line of gravity data without `start`; of cores with it: each segment goes from the end before to its own.
struct line_geometry {
  std::span<const double> coordinates = {};
  std::optional<point3> start = {};
};
struct lines_geometry {
  std::int32_t dimension = 3;
  std::span<const line_geometry> lines = {};
};
using new_geometry = std::variant<points_geometry, grid_file_geometry, lines_geometry>;

// How a file is made.
struct file_making {
  std::string coordinate_unit = "m";
  progress_function progress = {};
};

// Makes a file in a directory and lets `fill` make its columns. If that fails or is given up the file is
// taken away again, by another connection if this one broke; what went wrong comes out. A file that is there
// already is a `refusal`.
QRD_EXPORT table make_file(database& owner, const file_place& place, const new_geometry& geometry,
                           const std::function<void(table&)>& fill = nullptr, const file_making& how = {});

// Calls `act`, which sets `made` once something is there. If it fails after that, `undo` takes it away again,
// on another connection if this one broke. What went wrong first comes out; `undo` may fail silently.
QRD_EXPORT void make_or_undo(database& owner, const std::function<void(bool& made)>& act,
                             const std::function<void()>& undo);

}  // namespace qrd::client

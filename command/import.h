// What the imports of points, grids and lines have in common.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "command/cells.h"
#include "command/column.h"
#include "command/csv.h"
#include "command/options.h"
#include "command/session.h"

namespace qrd::command {

struct import_options {
  std::string study;
  std::string directory;
  std::string file;
  std::string table;
  std::vector<std::string> columns;  // empty: all
  std::vector<std::string> skipped;
  std::vector<std::string> texts;       // columns that are texts even if all their cells are numbers
  std::vector<std::string> bits;        // "BITS" for all, "COLUMN=BITS" for one
  std::vector<std::string> units;       // "COLUMN=SYMBOL"
  std::vector<std::string> unit_texts;  // "COLUMN=TEXT"
  std::string coordinate_unit = "m";
  cell_rules cells;
  bool dry_run = false;
};
void add_import_options(const command_line& command, import_options& options);
// What the cells of a table stand for.
void add_cell_options(const command_line& command, cell_rules& rules);

// One variable to be made from one column. A column named "stem[12]" or "stem{gold}" belongs to a macro
// variable.
struct planned_variable {
  std::string title;
  variable_name variable;
  column_type type;
  std::string unit;
};

// Which variables a table becomes. Every cell is checked, so that nothing is made from a table that does not
// fit. `places` are columns that have gone into the geometry already; they become variables only if asked for
// by name.
std::vector<planned_variable> plan_variables(const csv_table& table, const import_options& options,
                                             const std::vector<std::string>& places);

// Where each row stands among the samples of the file, from 0.
struct sample_places {
  std::int64_t samples = 0;
  std::vector<std::size_t> of_row;
};

// What the making of a file gets, and tells.
struct file_making {
  client::connection& server;
  bool& made;  // the file is there, and is ours to delete if the rest fails
  std::function<void(double part)> show;
};

// Makes the file by `make` in the directory, makes and fills the variables in it, and deletes the file again
// if anything of that fails. Tells what each column became, and the notes; a dry run does only that.
void import_file(const common_options& common, const import_options& options, const csv_table& table,
                 const std::vector<planned_variable>& plan, const sample_places& places,
                 const std::vector<std::string>& notes, const std::function<void(file_making&)>& make);

void add_points_import(const command_line& parent, const common_options& common);
void add_grid_import(const command_line& parent, const common_options& common);
void add_lines_import(const command_line& parent, const common_options& common);

}  // namespace qrd::command

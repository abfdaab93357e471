// What the imports of points, grids and lines have in common.
//
// The table is read twice: first what its columns hold, then their values in blocks, which are sent as they
// come. So memory does not grow with the table, but for the places of grids and lines.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "command/cells.h"
#include "command/options.h"

namespace qrd::command {

struct import_options {
  std::vector<std::string> words;  // study, directory, file
  std::string file;                // its name
  table_options table;
  std::vector<std::string> columns;  // empty: all
  std::vector<std::string> skipped;
  std::vector<std::string> texts;       // columns that are texts even if all their cells are numbers
  std::vector<std::string> bits;        // "BITS" for all, "COLUMN=BITS" for one
  std::vector<std::string> units;       // "COLUMN=SYMBOL"
  std::vector<std::string> unit_texts;  // "COLUMN=TEXT"
  std::string coordinate_unit;          // empty: what the names of the coordinates tell, or m
  bool dry_run = false;
};
void add_import_options(const command_line& command, import_options& options);
// Takes the table from the end of the words. To be called before anything else is done with the options.
void take_table(import_options& options);

// The columns of X, Y and Z that are given, or found under their usual names; Z only if it is given, or the
// column is named as in an export.
struct axis_options {
  std::string x;
  std::string y;
  std::string z;
};
void add_axis_options(const command_line& command, axis_options& axes, const char* without_z);
std::vector<std::size_t> axis_columns(const formats::text_table& table, const axis_options& axes);

// The column of that name, or where none is given the first of the usual ones that is there.
std::optional<std::size_t> place_column(const formats::text_table& table, const std::string& given,
                                        const std::vector<std::string>& usual);

// One variable to be made from one column. A column named "stem[12]" or "stem{gold}" belongs to a macro
// variable.
struct planned_variable {
  std::string title;
  std::size_t index = 0;
  client::variable_name variable;
  column_type type;
  std::string unit;
};

// What the first reading of a table gave.
struct scanned_table {
  std::size_t rows = 0;
  std::vector<looked_column> places;
  std::vector<planned_variable> variables;
  std::string coordinate_unit;
  std::vector<std::string> notes;
};

// Which rows of the places are kept.
enum class kept_places { first_block, all };
// Whether columns that went into the geometry become variables: only if asked for by name, or like the
// others.
enum class places_as { geometry, variables_too };

// Reads the table for the first time. Every cell is looked at, so that nothing is made from a table that does
// not fit. A table without rows is an `error`.
scanned_table scan_table(const common_options& common, const import_options& options,
                         formats::text_table& table, const std::vector<std::size_t>& places, kept_places kept,
                         const row_taker& take = nullptr, places_as role = places_as::geometry);

// The file that is made of a table.
struct planned_file {
  std::int64_t samples = 0;
  client::new_geometry geometry;
  // Where each row stands among the samples, from 0; empty: in their order.
  std::vector<std::size_t> sample_of_row;
};

// Makes the file with its variables, and takes it away again if anything of that fails. Of a points file
// whose table has more rows than its geometry the others follow from the table. Tells what each column
// became; a dry run does only that.
void import_file(const common_options& common, const import_options& options, formats::text_table& table,
                 const scanned_table& scan, const planned_file& file);

void add_points_import(const command_line& parent, const common_options& common);
void add_grid_import(const command_line& parent, const common_options& common);
void add_lines_import(const command_line& parent, const common_options& common);

}  // namespace qrd::command

// The options that all subcommands share, and the subcommands.
#pragma once

#include <string>

#include "command/command_line.h"

namespace qrd::command {

struct common_options {
  std::string server;  // see qrd/database.h; empty: one of its own
  std::string via;     // a command that is the connection; goes before `server`
  std::string root;
  bool json = false;
  bool quiet = false;
  bool paged = true;  // on a terminal
  int timeout = 600;  // seconds of silence; 0: none
};

// Each adds its subcommands to the program. `common` has to outlive the parsing.
void add_list_commands(const command_line& program, const common_options& common);     // ls, tree, info, find
void add_read_commands(const command_line& program, const common_options& common);     // read, export
void add_stat_command(const command_line& program, const common_options& common);      // stat
void add_write_command(const command_line& program, const common_options& common);     // write
void add_create_commands(const command_line& program, const common_options& common);   // new, link
void add_selection_command(const command_line& parent, const common_options& common);  // new selection
void add_remove_command(const command_line& program, const common_options& common);    // rm
void add_import_commands(const command_line& program, const common_options& common);   // import
void add_object_commands(const command_line& program,
                         const common_options& common);  // polygons, wireframes, faults
void add_resource_commands(const command_line& program,
                           const common_options& common);  // palettes, scales, vendor
void add_change_commands(const command_line& program,
                         const common_options& common);  // append, set, comment, grid
void add_units_command(const command_line& program, const common_options& common);  // units
void add_view_command(const command_line& program, const common_options& common);   // view
void add_plot_command(const command_line& program, const common_options& common);   // plot

}  // namespace qrd::command

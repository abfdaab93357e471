// The commands that are not built in: they are known, and say so whatever stands behind them.
#include "command/options.h"
#include "qrd/error.h"

namespace qrd::command {

namespace {

[[maybe_unused]] void add_left_out(const command_line& program, const std::string& name,
                                   const std::string& needs) {
  const std::string why = "Not built in: where qrd was built it was turned off, or " + needs + " was missing";
  const command_line command = program.add_subcommand(name, why);
  command.takes_anything();
  command.callback([name, why] { throw client::error(name + ": " + why); });
}

}  // namespace

#ifndef QRD_WITH_VIEW
void add_view_command(const command_line& program, const common_options& /*common*/) {
  add_left_out(program, "view", "cpp-httplib or three.js");
}
#endif

#ifndef QRD_WITH_PLOT
void add_plot_command(const command_line& program, const common_options& /*common*/) {
  add_left_out(program, "plot", "cairo");
}
#endif

}  // namespace qrd::command

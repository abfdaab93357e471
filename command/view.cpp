// qrd view: the database in the browser.
#include "view/serve.h"

#include <memory>

#include "command/options.h"
#include "command/session.h"

namespace qrd::command {

void add_view_command(const command_line& program, const common_options& common) {
  const command_line command =
      program.add_subcommand("view", "Show the database in the browser, until Ctrl-C");
  struct view_options {
    std::int32_t port = 0;
    bool no_browser = false;
  };
  auto options = std::make_shared<view_options>();
  command.add_option("--port", options->port, "Port on 127.0.0.1 (default: a free one)").range(0, 65535);
  command.add_flag("--no-browser", options->no_browser, "Only print the link");
  command.callback([options, &common] {
    view::serve({database_of(common, root_use::existing), static_cast<std::uint16_t>(options->port),
                 !options->no_browser});
  });
}

}  // namespace qrd::command

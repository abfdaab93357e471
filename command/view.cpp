// qrd view: the database in the browser.
#include <dlfcn.h>

#include <filesystem>
#include <memory>

#include "command/options.h"
#include "command/session.h"
#include "view/serve.h"

namespace qrd::command {

namespace {

void serve(const view::serving& wish) {
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  const auto module = (program.parent_path() / QRD_MODULES / "view.so").lexically_normal();
  void* opened = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (opened == nullptr) throw client::error(std::string("qrd view needs a part of its own: ") + dlerror());
  const auto act = reinterpret_cast<decltype(&view::serve)>(dlsym(opened, "qrd_view_serve"));
  if (act == nullptr) throw client::error(module.string() + " is no part of qrd");
  act(wish);
}

}  // namespace

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
    serve({database_of(common, root_use::existing), static_cast<std::uint16_t>(options->port),
           !options->no_browser});
  });
}

}  // namespace qrd::command

#include "command/undo.h"

#include <cstdio>

#include "command/interruption.h"

namespace qrd::command {

namespace {

void take_away(const common_options& common, client::connection& server,
               const std::function<void(client::connection&)>& undo) {
  try {
    server.set_progress(nullptr);
    try {
      undo(server);
    } catch (const client::protocol_error&) {
      session again(common, root_use::existing);
      undo(*again);
    }
  } catch (const client::error& problem) {
    std::fprintf(stderr, "qrd: what was made could not be removed again: %s\n", problem.what());
  }
}

}  // namespace

void make_or_undo(const common_options& common, client::connection& server,
                  const std::function<void(bool& made)>& act,
                  const std::function<void(client::connection&)>& undo) {
  const interruption_guard guard;
  bool made = false;
  try {
    act(made);
    check_interruption();
  } catch (const client::protocol_error&) {
    if (made)
      take_away(common, server, undo);
    else
      std::fputs("qrd: the connection broke while something was made; it may be there, or not\n", stderr);
    throw;
  } catch (...) {
    if (made) take_away(common, server, undo);
    throw;
  }
}

}  // namespace qrd::command

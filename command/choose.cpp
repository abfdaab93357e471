#include "command/choose.h"

#include <algorithm>

#include "qrd/names.h"

namespace qrd::command {

namespace {

// Tries it; at a refusal the names that there are decide what is said.
template <typename Choose, typename List>
void choose(const std::string& name, const Choose& set, const List& list) {
  try {
    set();
  } catch (const client::refusal& refused) {
    std::vector<std::string> known;
    try {
      known = list();
    } catch (const client::refusal&) {
      // Without a list there is nothing to add.
    }
    // What is there and refused has another reason than its name.
    if (std::find(known.begin(), known.end(), name) != known.end()) throw;
    throw client::refusal(refused.what() + client::did_you_mean(name, known));
  }
}

}  // namespace

void choose_study(client::connection& server, const std::string& name) {
  choose(
      name, [&] { server.set_study(name); }, [&] { return server.studies(); });
}

void choose_directory(client::connection& server, const std::string& name) {
  choose(
      name, [&] { server.set_directory(name); }, [&] { return server.directories(); });
}

void choose_file(client::connection& server, const std::string& name) {
  choose(
      name, [&] { server.set_file(name); }, [&] { return server.files(); });
}

void choose_variable(client::connection& server, const std::string& name) {
  choose(
      name, [&] { server.set_variable(name); }, [&] { return server.variables(); });
}

void choose_selection(client::connection& server, const std::string& name) {
  choose(
      name, [&] { server.set_selection(name); },
      [&] { return server.variables(client::variable_filter::selections); });
}

}  // namespace qrd::command

#include "command/session.h"

#include <cstdlib>

#include "command/server_texts.h"
#include "qrd/error.h"

namespace qrd::command {

client::database_options database_of(const common_options& common, root_use use) {
  if (common.root.empty()) {
    if (!common.server.empty() || !common.via.empty())
      throw client::error("--server needs the database too: give --root DIR, or set QRD_ROOT");
    if (std::getenv("QRD_INIT") == nullptr)
      throw client::error("no database: give --root DIR or --server HOST:PORT");
  }
  client::database_options options;
  options.server = common.server;
  options.via = common.via;
  options.root = common.root;
  options.make_root = use == root_use::made_if_missing;
  options.timeout = std::chrono::seconds(common.timeout);
  return options;
}

namespace {

client::database opened(const common_options& common, root_use use) {
  try {
    return client::database(database_of(common, use));
  } catch (const client::refusal& problem) {
    throw client::refusal(with_help(problem.what()));
  } catch (const client::protocol_error& problem) {
    throw client::protocol_error(with_help(problem.what()));
  }
}

}  // namespace

session::session(const common_options& common, root_use use) : database_(opened(common, use)) {}

void with_session(const common_options& common, const std::function<void(session&)>& act, root_use use) {
  session opened(common, use);
  try {
    act(opened);
  } catch (const client::protocol_error& problem) {
    const std::string words = opened.last_words();
    if (words.empty()) throw;
    throw client::protocol_error(with_help(std::string(problem.what()) + ":\n" + words));
  } catch (const client::refusal& problem) {
    throw client::refusal(with_help(problem.what()));
  }
}

}  // namespace qrd::command

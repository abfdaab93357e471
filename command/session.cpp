#include "command/session.h"

#include <cstdlib>

#include "command/interruption.h"
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

void with_database(const common_options& common, const std::function<void(client::database&)>& act,
                   root_use use) {
  std::optional<client::database> opened;
  try {
    opened.emplace(database_of(common, use));
    opened->set_wait(check_interruption);
    act(*opened);
  } catch (const client::protocol_error& problem) {
    const std::string words = opened ? opened->last_words() : std::string();
    throw client::protocol_error(with_help(problem.what() + (words.empty() ? words : ":\n" + words)));
  } catch (const client::refusal& problem) {
    throw client::refusal(with_help(problem.what()));
  }
}

}  // namespace qrd::command

#include "client/command/session.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <sstream>
#include <utility>

#include "client/command/place.h"
#include "client/command/server_texts.h"
#include "client/error.h"

namespace qrd::command {

namespace {

// A file without a name for what the server prints. Its name is there until the server has opened it.
struct output_file {
  std::string path = (std::filesystem::temp_directory_path() / "qrd_XXXXXX").string();
  int descriptor = mkostemp(path.data(), O_CLOEXEC);
  output_file() = default;
  output_file(const output_file&) = delete;
  output_file& operator=(const output_file&) = delete;
  ~output_file() {
    if (descriptor >= 0) unlink(path.c_str());
  }
};

// The last lines of a file, without blank ones.
std::string last_lines(int descriptor) {
  constexpr off_t looked_at = 16000;
  constexpr std::size_t most_lines = 20;
  const off_t size = lseek(descriptor, 0, SEEK_END);
  if (size <= 0) return {};
  std::string text(static_cast<std::size_t>(std::min(size, looked_at)), '\0');
  const ssize_t got = pread(descriptor, text.data(), text.size(), size - static_cast<off_t>(text.size()));
  text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  std::deque<std::string> lines;
  std::istringstream words(text);
  for (std::string line; std::getline(words, line);) {
    line.erase(line.find_last_not_of(" \r") + 1);
    if (line.empty()) continue;
    lines.push_back(line);
    if (lines.size() > most_lines) lines.pop_front();
  }
  std::string told;
  for (const std::string& line : lines) told += (told.empty() ? "" : "\n") + line;
  return told;
}

}  // namespace

session::session(const common_options& common, root_use use) {
  client::connection_options options;
  options.timeout = std::chrono::seconds(common.timeout);
  if (!common.server.empty() || !common.via.empty()) {
    // The server would make and open a root of its own in the home of its account.
    if (common.root.empty())
      throw client::error("--server needs the database too: give --root DIR, or set QRD_ROOT");
    connection_.emplace(common.via.empty() ? connect_to(common.server, options)
                                           : client::connection::through(common.via, options));
    connection_->open_root(common.root);
    return;
  }
  if (common.root.empty() && std::getenv("QRD_INIT") == nullptr)
    throw client::error("no database: give --root DIR or --server HOST:PORT");

  std::string root = common.root;
  client::server_options server;
  if (!root.empty()) {
    root = std::filesystem::absolute(root).lexically_normal().string();
    // A server makes nothing but its default root.
    if (use == root_use::made_if_missing && access((root + "/study_names.def").c_str(), R_OK) != 0)
      server.environment.emplace_back("QRD_INIT", std::exchange(root, ""));
  }
  output_file output;
  if (output.descriptor >= 0) server.output_file = output.path;
  output_ = output.descriptor;
  try {
    process_.emplace(server);
    connection_.emplace(process_->connect(options));
    connection_->open_root(root);
  } catch (const client::refusal& problem) {
    release();
    throw client::refusal(with_help(problem.what()));
  } catch (const client::error& problem) {
    const std::string words = last_words();
    release();
    throw client::protocol_error(problem.what() + (words.empty() ? words : with_help(":\n" + words)));
  }
}

session::~session() {
  release();
}

void session::release() {
  connection_.reset();
  // The server takes a second to end after its goodbye; nothing depends on it any more.
  if (process_) process_->leave();
  if (output_ >= 0) close(output_);
  output_ = -1;
}

std::string session::last_words() const {
  if (output_ < 0) return {};
  // The server may just be about to say why.
  constexpr useconds_t time_to_speak = 100000;
  usleep(time_to_speak);
  return last_lines(output_);
}

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

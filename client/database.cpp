#include "qrd/database.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <sstream>
#include <utility>

#include "client/choose.h"
#include "qrd/server_process.h"

namespace qrd::client {

// A file without a name for what a server prints. Its name is there until the server has opened it.
class console_file {
 public:
  console_file() : path_((std::filesystem::temp_directory_path() / "qrd_XXXXXX").string()) {
    descriptor_ = mkostemp(path_.data(), O_CLOEXEC);
    if (descriptor_ < 0) path_.clear();
  }
  console_file(const console_file&) = delete;
  console_file& operator=(const console_file&) = delete;
  ~console_file() {
    hide();
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  // Empty if there is none.
  const std::string& path() const { return path_; }
  void hide() {
    if (!path_.empty()) unlink(path_.c_str());
    path_.clear();
  }

  // The last lines, without blank ones.
  std::string last_lines() const {
    constexpr off_t looked_at = 16000;
    constexpr std::size_t most_lines = 20;
    const off_t size = descriptor_ >= 0 ? lseek(descriptor_, 0, SEEK_END) : 0;
    if (size <= 0) return {};
    std::string text(static_cast<std::size_t>(std::min(size, looked_at)), '\0');
    const ssize_t got = pread(descriptor_, text.data(), text.size(), size - static_cast<off_t>(text.size()));
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

 private:
  std::string path_;
  int descriptor_ = -1;
};

struct database::state {
  database_options options;
  std::optional<console_file> console;
  std::optional<server_process> process;
  std::optional<connection> wire;
  std::string wanted_unit;

  // What is current on the server, as far as it is known. Known below a name that isn't known is nothing.
  std::optional<std::string> study;
  std::optional<std::string> directory;
  std::optional<std::string> file;
  std::optional<std::string> selection;
  std::optional<std::string> unit;
  std::uint64_t refusals = 0;

  void forget() {
    study.reset();
    directory.reset();
    file.reset();
    selection.reset();
    unit.reset();
  }

  void close() {
    wire.reset();
    // The server takes a second to end after its goodbye; nothing depends on it any more.
    if (process) process->leave();
    process.reset();
    forget();
  }

  void open() {
    close();
    connection_options settings;
    settings.timeout = options.timeout;
    settings.wait = options.wait;
    if (!options.server.empty() || !options.via.empty())
      open_theirs(settings);
    else
      open_own(settings);
  }

  void open_theirs(const connection_options& settings) {
    // The server would make and open a root of its own in the home of its account.
    if (options.root.empty())
      throw bad_argument("a server has to be told the database: its root is not given");
    wire.emplace(options.via.empty() ? connect_to(options.server, settings)
                                     : connection::through(options.via, settings));
    wire->open_root(options.root);
  }

  void open_own(const connection_options& settings) {
    server_options server;
    std::string root = options.root;
    if (root.empty() && std::getenv("QRD_INIT") == nullptr) throw bad_argument("no database is given");
    if (!root.empty()) {
      root = std::filesystem::absolute(root).lexically_normal().string();
      // A server makes nothing but its default root.
      if (options.make_root && access((root + "/study_names.def").c_str(), R_OK) != 0)
        server.environment.emplace_back("QRD_INIT", std::exchange(root, ""));
    }
    console.emplace();
    server.output_file = console->path();
    try {
      process.emplace(server);
      console->hide();
      wire.emplace(process->connect(settings));
      wire->open_root(root);
    } catch (const refusal&) {
      close();
      throw;
    } catch (const error& problem) {
      const std::string words = last_words();
      close();
      throw protocol_error(problem.what() + (words.empty() ? words : ":\n" + words));
    } catch (...) {
      close();
      throw;
    }
  }

  std::string last_words() const {
    if (!console) return {};
    // The server may just be about to say why.
    constexpr useconds_t time_to_speak = 100000;
    usleep(time_to_speak);
    return console->last_lines();
  }

  connection& ready() {
    if (!wire || !wire->wire().is_open()) open();
    if (std::exchange(refusals, wire->refusals()) != wire->refusals()) forget();
    return *wire;
  }
};

database::database(database_options options) : state_(std::make_unique<state>()) {
  state_->options = std::move(options);
  state_->open();
}

database::database(database&& other) noexcept = default;

database& database::operator=(database&& other) noexcept {
  if (state_) state_->close();
  state_ = std::move(other.state_);
  return *this;
}

database::~database() {
  if (state_) state_->close();
}

const database_options& database::options() const {
  return state_->options;
}

connection& database::at_root() {
  return state_->ready();
}

connection& database::at(const std::string& study) {
  connection& server = state_->ready();
  if (state_->study != study) {
    state_->forget();
    choose(
        study, [&] { server.set_study(study); }, [&] { return server.studies(); });
    state_->study = study;
  }
  if (state_->unit != state_->wanted_unit) {
    state_->unit.reset();
    server.set_unit_mode(state_->wanted_unit.empty() ? unit_mode::own : unit_mode::distance);
    if (!state_->wanted_unit.empty()) server.set_distance_unit(state_->wanted_unit);
    state_->unit = state_->wanted_unit;
  }
  return server;
}

connection& database::at(const std::string& study, const std::string& directory) {
  connection& server = at(study);
  if (state_->directory != directory) {
    state_->directory.reset();
    state_->file.reset();
    choose(
        directory, [&] { server.set_directory(directory); }, [&] { return server.directories(); });
    state_->directory = directory;
  }
  return server;
}

connection& database::at(const file_place& place) {
  return at(place, {});
}

connection& database::at(const file_place& place, const std::string& selection) {
  connection& server = at(place.study, place.directory);
  if (state_->file != place.file) {
    state_->file.reset();
    choose(
        place.file, [&] { server.set_file(place.file); }, [&] { return server.files(); });
    state_->file = place.file;
    // Whatever was selected before is gone with the file before.
    state_->selection = "";
  }
  if (state_->selection != selection) {
    state_->selection.reset();
    choose(
        selection, [&] { server.set_selection(selection); },
        [&] { return server.variables(variable_filter::selections); });
    state_->selection = selection;
  }
  return server;
}

void database::use_unit(std::string symbol) {
  state_->wanted_unit = std::move(symbol);
}

const std::string& database::unit() const {
  return state_->wanted_unit;
}

void database::set_wait(wait_function wait) {
  state_->options.wait = std::move(wait);
  if (state_->wire) state_->wire->set_wait(state_->options.wait);
}

void database::forget() {
  state_->forget();
}

void database::reopen() {
  state_->open();
}

bool database::is_open() const {
  return state_ && state_->wire && state_->wire->wire().is_open();
}

void database::close() {
  state_->close();
}

std::string database::last_words() const {
  return state_->last_words();
}

}  // namespace qrd::client

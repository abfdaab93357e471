// A PostgreSQL of one's own for the time of a run, reached by a UNIX socket, with one table of rows of a
// number and one of a row with an array. It waits for no disk, and writes no log of what is copied in.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bench/peers/peer_process.h"
#include "bench/scratch_folder.h"

struct pg_conn;

namespace qrd::bench {

// The folder of its programs; nothing if it isn't installed.
std::optional<std::filesystem::path> find_postgres();

class postgres_store {
 public:
  // It refuses to be run by root, and is then run as the account "postgres".
  postgres_store(const std::filesystem::path& programs, const std::filesystem::path& parent);

  // How the samples lie in it.
  enum class layout { rows, one_array };
  // Empties a table and leaves the transaction open: what is copied in then needs no log.
  void begin_writing(layout where);
  // COPY FROM in binary form, and the end of the transaction.
  void write(layout where, std::span<const double> values);
  // Takes back an emptying that nothing was written after.
  void abandon_writing() { execute("ROLLBACK"); }
  // Puts a table into the state that is read fastest.
  void settle(layout where);
  // COPY TO in binary form.
  std::vector<double> read(layout where, std::size_t count);

 private:
  struct ending {
    void operator()(pg_conn* connection) const;
  };
  void execute(const std::string& statement);
  [[noreturn]] void fail(const std::string& what);
  void put(const std::string& bytes);
  void end_copy();

  scratch_folder folder_;
  std::optional<account> user_;
  std::unique_ptr<peer_process> process_;
  std::unique_ptr<pg_conn, ending> connection_;
};

}  // namespace qrd::bench

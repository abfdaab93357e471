#include "bench/peers/postgres.h"

#include <libpq-fe.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>

#include "qrd/error.h"

namespace qrd::bench {

namespace fs = std::filesystem;

namespace {

// The binary form of COPY: this, two zero ints, the rows, a short of -1. A row is the number of its fields as
// a short, and each field its length as an int and its value. All numbers are big-endian.
constexpr std::string_view signature("PGCOPY\n\377\r\n\0", 11);
constexpr std::size_t head_size = signature.size() + 2 * sizeof(std::int32_t);
constexpr std::int32_t double_type = 701;
// An array: the number of dimensions, whether there are nulls, the type, for each dimension its size and its
// first index; then the elements as fields.
constexpr std::size_t array_head = 5 * sizeof(std::int32_t);
constexpr std::size_t element_size = sizeof(std::int32_t) + sizeof(double);

template <typename T>
void append(std::string& bytes, T value) {
  char stored[sizeof value];
  std::memcpy(stored, &value, sizeof value);
  if constexpr (std::endian::native == std::endian::little) std::reverse(stored, stored + sizeof value);
  bytes.append(stored, sizeof value);
}

// Takes values off the front.
class reader {
 public:
  explicit reader(std::string_view bytes) : bytes_(bytes) {}
  bool is_empty() const { return bytes_.empty(); }
  void skip(std::size_t size) {
    if (bytes_.size() < size) throw client::error("PostgreSQL sends less than a row");
    bytes_.remove_prefix(size);
  }
  template <typename T>
  T take() {
    char stored[sizeof(T)];
    const std::string_view from = bytes_;
    skip(sizeof stored);
    from.copy(stored, sizeof stored);
    if constexpr (std::endian::native == std::endian::little) std::reverse(stored, stored + sizeof stored);
    T value;
    std::memcpy(&value, stored, sizeof value);
    return value;
  }
  void take_double(std::vector<double>& values) {
    if (take<std::int32_t>() != sizeof(double)) throw client::error("PostgreSQL sends no number");
    values.push_back(take<double>());
  }

 private:
  std::string_view bytes_;
};

const char* table_of(postgres_store::layout where) {
  return where == postgres_store::layout::rows ? "of_rows" : "of_arrays";
}

std::string binary_copy(postgres_store::layout where, const char* direction) {
  return std::string("COPY ") + table_of(where) + direction + " (FORMAT binary)";
}

}  // namespace

std::optional<fs::path> find_postgres() {
  // Where the distribution keeps the programs of each release, out of PATH: the newest.
  std::vector<fs::path> folders;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator("/usr/lib/postgresql", none))
    folders.push_back(entry.path() / "bin");
  std::sort(folders.begin(), folders.end(), std::greater<>());
  const std::optional<fs::path> program = find_program("initdb", folders);
  if (!program) return std::nullopt;
  return program->parent_path();
}

void postgres_store::ending::operator()(pg_conn* connection) const {
  PQfinish(connection);
}

postgres_store::postgres_store(const fs::path& programs, const fs::path& parent) : folder_(parent, "qrd_pg") {
  const std::string folder = folder_.path();
  if (geteuid() == 0) {
    user_ = find_account("postgres");
    if (!user_) throw client::error("PostgreSQL can't be run by root, and there is no account \"postgres\"");
    if (chown(folder.c_str(), user_->user, user_->group) != 0)
      throw client::error("cannot give a folder to the account \"postgres\"");
  }
  peer_process({programs / "initdb", "-D", folder + "/data", "-U", "qrd", "-A", "trust", "-E", "UTF8",
                "--no-locale", "--no-sync"},
               folder_.path(), user_)
      .finish();
  std::vector<std::string> command = {programs / "postgres", "-D", folder + "/data", "-k", folder};
  for (const char* setting : {"listen_addresses=", "fsync=off", "full_page_writes=off", "wal_level=minimal",
                              "max_wal_senders=0", "autovacuum=off", "shared_buffers=256MB"})
    command.insert(command.end(), {"-c", setting});
  process_ = std::make_unique<peer_process>(command, folder_.path(), user_);
  process_->wait_until([&] {
    connection_.reset(PQconnectdb(("host='" + folder + "' user=qrd dbname=postgres").c_str()));
    return PQstatus(connection_.get()) == CONNECTION_OK;
  });
  execute("CREATE TABLE of_rows (v float8 NOT NULL)");
  // An array is neither packed nor divided more than it has to be.
  execute("CREATE TABLE of_arrays (v float8[] NOT NULL)");
  execute("ALTER TABLE of_arrays ALTER v SET STORAGE EXTERNAL");
}

void postgres_store::fail(const std::string& what) {
  throw client::error("PostgreSQL: " + what + ": " + PQerrorMessage(connection_.get()));
}

void postgres_store::execute(const std::string& statement) {
  const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(connection_.get(), statement.c_str()),
                                                             PQclear);
  switch (PQresultStatus(result.get())) {
    case PGRES_COMMAND_OK:
    case PGRES_COPY_IN:
    case PGRES_COPY_OUT:
      return;
    default:
      fail(statement);
  }
}

void postgres_store::put(const std::string& bytes) {
  if (PQputCopyData(connection_.get(), bytes.data(), static_cast<int>(bytes.size())) != 1) fail("COPY FROM");
}

void postgres_store::end_copy() {
  while (PGresult* result = PQgetResult(connection_.get())) {
    const bool is_done = PQresultStatus(result) == PGRES_COMMAND_OK;
    PQclear(result);
    if (!is_done) fail("COPY");
  }
}

void postgres_store::begin_writing(layout where) {
  execute("BEGIN");
  execute(std::string("TRUNCATE ") + table_of(where));
}

void postgres_store::write(layout where, std::span<const double> values) {
  constexpr std::size_t sent_at_once = std::size_t{1} << 16;
  const bool is_array = where == layout::one_array;
  execute(binary_copy(where, " FROM STDIN"));
  std::string bytes(signature);
  bytes.reserve(sent_at_once + head_size + array_head);
  append<std::int32_t>(bytes, 0);
  append<std::int32_t>(bytes, 0);
  if (is_array) {
    append<std::int16_t>(bytes, 1);
    append(bytes, static_cast<std::int32_t>(array_head + values.size() * element_size));
    for (const std::int32_t number : {1, 0, double_type, static_cast<std::int32_t>(values.size()), 1})
      append(bytes, number);
  }
  for (const double value : values) {
    if (!is_array) append<std::int16_t>(bytes, 1);
    append<std::int32_t>(bytes, sizeof value);
    append(bytes, value);
    if (bytes.size() < sent_at_once) continue;
    put(bytes);
    bytes.clear();
  }
  append<std::int16_t>(bytes, -1);
  put(bytes);
  if (PQputCopyEnd(connection_.get(), nullptr) != 1) fail("COPY FROM");
  end_copy();
  execute("COMMIT");
}

void postgres_store::settle(layout where) {
  execute(std::string("VACUUM (FREEZE) ") + table_of(where));
}

std::vector<double> postgres_store::read(layout where, std::size_t count) {
  execute(binary_copy(where, " TO STDOUT"));
  std::vector<double> values;
  values.reserve(count);
  bool is_first = true;
  char* row = nullptr;
  int size = 0;
  while ((size = PQgetCopyData(connection_.get(), &row, 0)) > 0) {
    const std::unique_ptr<char, decltype(&PQfreemem)> owner(row, PQfreemem);
    reader bytes({row, static_cast<std::size_t>(size)});
    if (is_first) bytes.skip(head_size);
    is_first = false;
    while (!bytes.is_empty() && bytes.take<std::int16_t>() == 1) {
      if (where == layout::rows) {
        bytes.take_double(values);
        continue;
      }
      bytes.skip(sizeof(std::int32_t) + array_head);
      for (std::size_t i = 0; i < count; ++i) bytes.take_double(values);
    }
  }
  if (size != -1) fail("COPY TO");
  end_copy();
  return values;
}

}  // namespace qrd::bench

// Twenty servers at work in one study: they make and delete one another's directories, files and variables
// while others read and write them. Nobody ends, nobody is left without an answer, and what remains is whole.
#include "disk/qd_file_descriptor.h"
#include "disk/qd_variable_descriptor.h"
#include "support/database.h"

namespace qrd::test {
namespace {

constexpr int server_count = 20;
constexpr int rounds = 25;
constexpr std::int64_t block = 512;

// How the refusals of a call begin that the deletions of others, or what this client has made already,
// explain.
const std::map<std::string, strings>& explained() {
  const std::string file_gone = "Cannot get file info", variable_gone = "Cannot get variable info",
                    no_formats = "Cannot get coords formats", no_directory = "Not a valid Velmar directory: ",
                    no_file = "Not a valid Velmar file: ", no_deletion = "An error happened during ",
                    file_there = "File Shared: ", no_creation = "Cannot create file ",
                    not_read = "Problem while reading ", not_written = "Problem while writing ",
                    no_coordinate = "Error selecting variable ", not_added = "Cannot add ";
  const strings new_variable = {"Variable ", "Cannot create variable "};
  const strings read = {"Error while getting file or Variable information", "Cannot select variable",
                        "First read Sample Number", not_read};
  const strings line = {file_gone,
                        "Cannot get file descriptor",
                        "Cannot append ",
                        not_read,
                        not_written,
                        no_coordinate,
                        read[1],
                        "Cannot retrieve coordinate ",
                        "Error creating variable ",
                        "Link between lines file "};
  static const std::map<std::string, strings> refusals = {
      {"new_directory", {"Directory Shared: ", "Cannot create directory "}},
      {"set_directory", {no_directory}},
      {"files", {no_directory}},
      {"set_file", {no_file}},
      {"variables", {no_file}},
      {"set_variable", {"Not a valid Velmar variable: "}},
      {"file_info", {file_gone, "Cannot get physical file path", line[1], no_formats}},
      {"variable_info", {variable_gone}},
      {"new_points", {file_there, no_creation, not_added}},
      {"new_lines", {file_there, no_creation}},
      {"new_grid", {file_there, "Cannot create grid file "}},
      {"new_text_variable", new_variable},
      {"new_float_variable", new_variable},
      {"new_macro_variable", new_variable},
      {"add_macro_indices", {variable_gone, not_written}},
      {"set_index", {variable_gone}},
      {"read_floats", read},
      {"read_texts", read},
      {"write_floats",
       {read[0], read[1], "Cannot set macro indices for variable", not_written, "No indice is defined"}},
      {"append_points", {file_gone, not_added, no_coordinate, not_written}},
      {"append_line", line},
      {"append_cores", line},
      {"link_lines",
       {"Cannot link this Lines file ", "Line File Shared: ", "Cannot delete previous link of "}},
      {"line_lengths", {"Error while getting file information"}},
      {"set_comment", {"Enable to update file or variable comment"}},
      {"set_grid_origin", {file_gone, no_formats, "Impossible to write the file_descriptor"}},
      {"delete_directory", {no_deletion}},
      {"delete_file", {no_deletion}},
      {"delete_variable", {no_deletion, "Cannot get info on Variable "}},
  };
  return refusals;
}

struct tally {
  int served = 0, refused = 0;
};

// One client and its server. Everybody deletes and reads everything; files and what is in them are made under
// names of the client's own, since no lock keeps two clients from growing one file at the same time.
class worker {
 public:
  worker(int number, const fs::path& root)
      : own_(std::to_string(number)), choice_(static_cast<unsigned>(number)), server_(root) {}

  void work() {
    client_.set_study("Shared");
    for (int round = 0; round < rounds; ++round) {
      attempt("new_directory", [&] { client_.new_directory(directory()); });
      const auto acts = {&worker::make_points, &worker::make_lines, &worker::make_grid, &worker::look_around,
                         &worker::delete_something};
      (this->*acts.begin()[pick(5)])();
    }
  }

  int finish() { return server_.finish(); }
  std::string said() const { return server_.said(); }
  const std::map<std::string, tally>& calls() const { return calls_; }

 private:
  int pick(int count) { return static_cast<int>(choice_() % static_cast<unsigned>(count)); }
  std::string directory() { return "directory " + std::to_string(pick(3)); }
  std::string own(const char* name) const { return name + own_; }

  // True if it is done; a refusal must be one that others can cause.
  bool attempt(const std::string& call, const std::function<void()>& act) {
    try {
      act();
      ++calls_[call].served;
      return true;
    } catch (const client::refusal& refused) {
      const std::string text = refused.what();
      const strings& known = explained().at(call);
      EXPECT_TRUE(std::any_of(known.begin(), known.end(),
                              [&](const std::string& start) { return text.starts_with(start); }))
          << call << ": " << text;
      ++calls_[call].refused;
      return false;
    }
  }
  void make_points() {
    const std::string name = own("points ");
    const std::vector<double> coordinates(2 * 300, 1.5);
    if (!attempt("set_directory", [&] { client_.set_directory(directory()); })) return;
    attempt("new_points", [&] { client_.new_points(name, 2, coordinates); });
    if (!attempt("set_file", [&] { client_.set_file(name); })) return;
    attempt("new_text_variable", [&] { client_.new_text_variable("name", 7); });
    if (attempt("new_macro_variable", [&] { client_.new_macro_variable("runs[xxxxx]", 32); }) &&
        attempt("set_variable", [&] { client_.set_variable("runs[xxxxx]"); })) {
      const std::vector<std::int32_t> indices = {3, 1, 2};
      attempt("add_macro_indices", [&] { client_.add_macro_indices(indices); });
      attempt("set_index", [&] { client_.set_index(2); });
      attempt("write_floats", [&] {
        client_.write_floats(std::vector<double>(300, 2.0), client::sample_range{1, 300});
      });
    }
    attempt("append_points", [&] { client_.append_points(2, coordinates); });
    attempt("set_comment", [&] { client_.set_comment(client::comment_owner::file, "points of " + own_); });
  }

  void make_lines() {
    const std::string name = own("lines "), header = own("header "), cores = own("cores ");
    const std::vector<double> coordinates = {1, 2, 3, 4, 5, 6};
    if (!attempt("set_directory", [&] { client_.set_directory(directory()); })) return;
    attempt("new_lines", [&] { client_.new_lines(name, 2); });
    attempt("new_points", [&] { client_.new_points(header, 2, std::vector<double>{7, 8}); });
    if (!attempt("set_file", [&] { client_.set_file(name); })) return;
    attempt("append_line", [&] { client_.append_line(2, coordinates); });
    attempt("link_lines", [&] { client_.link_lines(header); });
    attempt("line_lengths", [&] { client_.line_lengths(); });
    if (attempt("set_variable", [&] { client_.set_variable("LN+ Line Number (READONLY)"); }))
      attempt("read_floats", [&] { client_.read_floats(); });
    attempt("new_lines", [&] { client_.new_lines(cores, 2); });
    if (!attempt("set_file", [&] { client_.set_file(cores); })) return;
    attempt("append_cores", [&] { client_.append_cores(2, {}, coordinates); });
  }

  void make_grid() {
    const std::string name = own("grid ");
    client::grid_geometry grid;
    grid.nx = 20;
    grid.ny = 30;
    if (!attempt("set_directory", [&] { client_.set_directory(directory()); })) return;
    attempt("new_grid", [&] { client_.new_grid(name, grid); });
    if (!attempt("set_file", [&] { client_.set_file(name); })) return;
    for (int bits : {1, 16, 64}) {
      const std::string variable = "bits " + std::to_string(bits);
      attempt("new_float_variable", [&] { client_.new_float_variable(variable, bits, {}, "g/t"); });
      if (attempt("set_variable", [&] { client_.set_variable(variable); }))
        attempt("write_floats", [&] { client_.write_floats(std::vector<double>(600, 1.0)); });
    }
    attempt("set_grid_origin", [&] { client_.set_grid_origin({1, 2, 3}); });
  }

  void look_around() {
    for (const std::string& name : client_.directories()) {
      strings files;
      if (!attempt("set_directory", [&] { client_.set_directory(name); })) continue;
      if (!attempt("files", [&] { files = client_.files(); }) || files.empty()) continue;
      const std::string& file = files[static_cast<std::size_t>(pick(static_cast<int>(files.size())))];
      if (!attempt("set_file", [&] { client_.set_file(file); })) continue;
      attempt("file_info", [&] { client_.file_info(); });
      strings variables;
      attempt("variables", [&] { variables = client_.variables(); });
      for (const std::string& variable : variables) {
        if (!attempt("set_variable", [&] { client_.set_variable(variable); })) continue;
        client::variable_info info;
        if (!attempt("variable_info", [&] { info = client_.variable_info(); })) continue;
        if (info.type == client::variable_type::text) attempt("read_texts", [&] { client_.read_texts(); });
        if (info.type == client::variable_type::number)
          attempt("read_floats", [&] { client_.read_floats(); });
      }
    }
  }

  void delete_something() {
    if (!attempt("set_directory", [&] { client_.set_directory(directory()); })) return;
    if (pick(4) == 0) {
      attempt("delete_directory", [&] { client_.delete_directory(); });
      return;
    }
    strings names;
    if (!attempt("files", [&] { names = client_.files(); }) || names.empty()) return;
    const std::string& file = names[static_cast<std::size_t>(pick(static_cast<int>(names.size())))];
    if (!attempt("set_file", [&] { client_.set_file(file); })) return;
    if (pick(2) == 0) {
      attempt("delete_file", [&] { client_.delete_file(); });
      return;
    }
    for (const char* variable : {"name", "runs[xxxxx]", "bits 16"})
      if (attempt("set_variable", [&] { client_.set_variable(variable); }))
        attempt("delete_variable", [&] { client_.delete_variable(); });
  }

  std::string own_;
  std::minstd_rand choice_;
  std::map<std::string, tally> calls_;
  served server_;
  client::connection& client_ = server_.connection;
};

void expect_whole_file(const fs::path& folder) {
  SCOPED_TRACE(folder);
  qd_file_record file;
  ASSERT_EQ(qd_file_descriptor_read(folder.c_str(), file), object_state::sound);
  EXPECT_GE(file.allocated_samples, file.sample_count);
  EXPECT_EQ(file.allocated_samples % block, 0);
  if (is_lines(file.organisation)) {
    const std::string table = read_file(folder / "LINE"), end = bytes().i64(file.sample_count + 1);
    EXPECT_EQ(table.substr(static_cast<std::size_t>(8 * file.line_count), 8), end);
  }
  for (const auto& entry : fs::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path());
    const std::string name = entry.path().filename();
    EXPECT_TRUE(name.starts_with("VARI.") || name == "DESCR" || name == "LINE" || name == "COMMENT");
    if (!entry.is_directory()) continue;
    qd_variable_record variable;
    ASSERT_EQ(qd_variable_descriptor_read(entry.path().c_str(), variable), object_state::sound);
    std::int64_t columns = 1;
    if (variable.type == VAR_MACRO)
      columns = static_cast<unsigned char>(read_file(entry.path() / "MACRO").at(7));
    EXPECT_GE(columns, 1);
    EXPECT_TRUE(fs::exists(entry.path() / "COMMENT"));
    ASSERT_TRUE(fs::exists(entry.path() / "DATAVAR"));
    const std::int64_t wanted = file.allocated_samples / 8 * variable.bit_length * columns;
    EXPECT_GE(static_cast<std::int64_t>(fs::file_size(entry.path() / "DATAVAR")),
              variable.implicit != 0 ? 0 : wanted);
  }
}

TEST(concurrency, twenty_servers_share_a_study) {
  const database copy;
  {
    served first(copy.root());
    first.connection.new_study("Shared", copy / "shared");
    first.finish();
  }
  std::vector<std::unique_ptr<worker>> workers;
  for (int i = 0; i < server_count; ++i) workers.push_back(std::make_unique<worker>(i, copy.root()));
  {
    std::vector<std::jthread> threads;
    for (const auto& each : workers)
      threads.emplace_back([&each] {
        try {
          each->work();
          EXPECT_EQ(each->finish(), 0) << each->said();
        } catch (const std::exception& problem) {
          ADD_FAILURE() << problem.what() << "\n" << each->said();
        }
      });
  }

  // Of every call some are refused, and most are served; a directory is made by the first who wants it.
  std::map<std::string, tally> calls;
  for (const auto& each : workers)
    for (const auto& [call, own] : each->calls()) {
      calls[call].served += own.served;
      calls[call].refused += own.refused;
    }
  for (const auto& [call, refusals] : explained()) {
    const auto& [served, refused] = calls[call];
    EXPECT_GE(served, 5) << call << ", refused: " << refused;
    EXPECT_TRUE(call == "new_directory" || 2 * served > refused) << call << ": " << served << " " << refused;
  }

  for (const auto& directory : fs::directory_iterator(copy / "shared/QRD")) {
    if (directory.path().filename() == "DESCR") continue;
    EXPECT_TRUE(directory.path().filename().string().starts_with("DIRE.")) << directory.path();
    EXPECT_TRUE(read_file(directory.path() / "DESCR").starts_with(bytes().i32(1100).str()));
    for (const auto& file : fs::directory_iterator(directory)) {
      const std::string name = file.path().filename();
      if (name == "DESCR") continue;
      EXPECT_TRUE(name.starts_with("FILE.")) << file.path();
      expect_whole_file(file.path());
    }
  }
}

}  // namespace
}  // namespace qrd::test

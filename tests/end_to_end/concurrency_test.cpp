// Twenty servers at work in one study: they make and delete one another's directories, files and variables
// while others read and write them. Nobody ends, nobody is left without an answer, and what remains is whole.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "client/connection.h"
#include "support/database.h"
#include "support/bytes.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

constexpr int server_count = 20;
constexpr int rounds = 25;
constexpr std::int64_t block = 512;

// How the refusals begin that a client may meet when others have been faster.
constexpr const char* known_refusals[] = {
    "Directory ",                                 // ... already exists
    "Cannot create directory ",                   //
    "Not a valid Velmar ",                        // directory, file, variable
    "An error happened during ",                  // deletion
    "Cannot get info on Variable ",               //
    "File ",                                      // ... already exists
    "Line File ",                                 // ... does not exist
    "Cannot create file ",                        //
    "Cannot create grid file ",                   //
    "Error creating variable ",                   //
    "Error selecting variable ",                  //
    "Cannot select ",                             // variable, selection variable
    "Cannot add ",                                // samples
    "Cannot append ",                             // samples
    "Cannot retrieve coordinate ",                //
    "Cannot get file info",                       //
    "Cannot get physical file path",              //
    "Cannot get file descriptor",                 //
    "Cannot get coords formats",                  //
    "Cannot get variable info",                   //
    "Cannot get File Information",                //
    "Cannot set macro indices for variable",      //
    "Cannot create variable ",                    //
    "Cannot delete previous link of ",            //
    "Cannot link this Lines file ",               // another one of that name
    "Linked file should be a points file ",       // another one of that name
    "Current file ",                              // another one of that name
    "Link between lines file and its header ",    // cannot be deleted
    "Variable ",                                  // already exists, is of another sort
    "Error while getting ",                       // file information
    "Problem while ",                             // reading, writing
    "First ",                                     // sample number: another file of that name
    "Last ",                                      //
    "Array size does not match ",                 // likewise
    "Wrong line index",                           // likewise
    "Enable to update file or variable comment",  //
    "No indice is defined for current macro variable",
    "Impossible to write the file_descriptor",
};

bool is_known(const std::string& text) {
  return std::any_of(std::begin(known_refusals), std::end(known_refusals),
                     [&](const char* start) { return text.starts_with(start); });
}

// One client and its server. Everybody deletes and reads everything; files and what is in them are made under
// names of the client's own, since no lock keeps two clients from growing one file at the same time.
class worker {
 public:
  worker(int number, const fs::path& root)
      : own_(std::to_string(number)), choice_(static_cast<unsigned>(number)), client_(connected(process_)) {
    client_.open_root(root.string());
  }

  void work() {
    client_.set_study("Shared");
    for (int round = 0; round < rounds; ++round) {
      attempt([&] { client_.new_directory(directory()); });
      switch (pick(5)) {
        case 0:
          make_points();
          break;
        case 1:
          make_lines();
          break;
        case 2:
          make_grid();
          break;
        case 3:
          look_around();
          break;
        default:
          delete_something();
          break;
      }
    }
  }

  int finish() {
    client_.bye();
    return process_.wait().value_or(-1);
  }
  std::string said() const { return process_.output() + process_.errors(); }

 private:
  static client::connection connected(const server_process& process) {
    client::connection_options options;
    options.timeout = std::chrono::seconds(60);
    return client::connection::connect("127.0.0.1", process.port(), options);
  }
  int pick(int count) { return static_cast<int>(choice_() % static_cast<unsigned>(count)); }
  std::string directory() { return "directory " + std::to_string(pick(3)); }
  std::string own(const char* name) const { return name + own_; }

  // True if it is done; a refusal must be one that others can cause.
  bool attempt(const std::function<void()>& act) {
    try {
      act();
      return true;
    } catch (const client::refusal& refused) {
      EXPECT_TRUE(is_known(refused.what())) << refused.what();
      return false;
    }
  }
  bool open_file(const std::string& name) {
    return attempt([&] { client_.set_directory(directory()); }) && attempt([&] { client_.set_file(name); });
  }

  void make_points() {
    const std::string name = own("points ");
    const std::vector<double> coordinates(2 * 300, 1.5);
    if (!attempt([&] { client_.set_directory(directory()); })) return;
    attempt([&] { client_.new_points(name, 2, coordinates); });
    if (!attempt([&] { client_.set_file(name); })) return;
    attempt([&] { client_.new_text_variable("name", 7); });
    if (attempt([&] { client_.new_macro_variable("runs[xxxxx]", 32); }) &&
        attempt([&] { client_.set_variable("runs[xxxxx]"); })) {
      const std::vector<std::int32_t> indices = {3, 1, 2};
      attempt([&] { client_.add_macro_indices(indices); });
      attempt([&] { client_.set_index(2); });
      attempt([&] { client_.write_floats(std::vector<double>(300, 2.0), client::sample_range{1, 300}); });
    }
    attempt([&] { client_.append_points(2, coordinates); });
    attempt([&] { client_.set_comment(client::comment_owner::file, "points of " + own_); });
  }

  void make_lines() {
    const std::string name = own("lines "), header = own("header ");
    const std::vector<double> coordinates = {1, 2, 3, 4, 5, 6};
    if (!attempt([&] { client_.set_directory(directory()); })) return;
    attempt([&] { client_.new_lines(name, 2); });
    attempt([&] { client_.new_points(header, 2, std::vector<double>{7, 8}); });
    if (!attempt([&] { client_.set_file(name); })) return;
    attempt([&] { client_.append_line(2, coordinates); });
    attempt([&] { client_.link_lines(header); });
    attempt([&] { client_.line_lengths(); });
    if (attempt([&] { client_.set_variable("LN+ Line Number (READONLY)"); }))
      attempt([&] { client_.read_floats(); });
    attempt([&] { client_.append_cores(2, {}, coordinates); });
  }

  void make_grid() {
    const std::string name = own("grid ");
    client::grid_geometry grid;
    grid.nx = 20;
    grid.ny = 30;
    if (!attempt([&] { client_.set_directory(directory()); })) return;
    attempt([&] { client_.new_grid(name, grid); });
    if (!attempt([&] { client_.set_file(name); })) return;
    for (int bits : {1, 16, 64}) {
      const std::string variable = "bits " + std::to_string(bits);
      attempt([&] { client_.new_float_variable(variable, bits, {}, "g/t"); });
      if (attempt([&] { client_.set_variable(variable); }))
        attempt([&] { client_.write_floats(std::vector<double>(600, 1.0)); });
    }
    attempt([&] { client_.set_grid_origin({1, 2, 3}); });
  }

  void look_around() {
    for (const std::string& name : client_.directories()) {
      std::vector<std::string> files;
      if (!attempt([&] { client_.set_directory(name); })) continue;
      if (!attempt([&] { files = client_.files(); }) || files.empty()) continue;
      const std::string& file = files[static_cast<std::size_t>(pick(static_cast<int>(files.size())))];
      if (!attempt([&] { client_.set_file(file); })) continue;
      attempt([&] { client_.file_info(); });
      std::vector<std::string> variables;
      attempt([&] { variables = client_.variables(); });
      for (const std::string& variable : variables) {
        if (!attempt([&] { client_.set_variable(variable); })) continue;
        client::variable_info info;
        if (!attempt([&] { info = client_.variable_info(); })) continue;
        if (info.type == client::variable_type::text) attempt([&] { client_.read_texts(); });
        if (info.type == client::variable_type::number) attempt([&] { client_.read_floats(); });
      }
    }
  }

  void delete_something() {
    if (!attempt([&] { client_.set_directory(directory()); })) return;
    if (pick(4) == 0) {
      attempt([&] { client_.delete_directory(); });
      return;
    }
    std::vector<std::string> names;
    if (!attempt([&] { names = client_.files(); }) || names.empty()) return;
    const std::string& file = names[static_cast<std::size_t>(pick(static_cast<int>(names.size())))];
    if (!attempt([&] { client_.set_file(file); })) return;
    if (pick(2) == 0) {
      attempt([&] { client_.delete_file(); });
      return;
    }
    for (const char* variable : {"name", "runs[xxxxx]", "bits 16"})
      if (attempt([&] { client_.set_variable(variable); })) attempt([&] { client_.delete_variable(); });
  }

  std::string own_;
  std::minstd_rand choice_;
  server_process process_;
  client::connection client_;
};

// Fields of descriptors, by their places in the file.
std::int64_t number_at(const std::string& data, std::size_t at, int size) {
  if (at + static_cast<std::size_t>(size) > data.size()) return -1;
  std::uint64_t value = 0;
  for (int i = 0; i < size; ++i)
    value = value << 8 | static_cast<unsigned char>(data[at + static_cast<std::size_t>(i)]);
  return static_cast<std::int64_t>(value);
}
std::size_t text_end(const std::string& data, std::size_t at) {
  return at + 4 + static_cast<std::size_t>((number_at(data, at, 4) + 3) / 4 * 4);
}

void expect_whole_variable(const fs::path& folder, std::int64_t capacity) {
  SCOPED_TRACE(folder);
  const std::string descriptor = read_file((folder / "DESCR").string());
  EXPECT_EQ(number_at(descriptor, 0, 4), 1100);
  const std::size_t type = text_end(descriptor, 4);
  const std::int64_t bits = number_at(descriptor, type + 8, 4);
  const bool is_implicit = number_at(descriptor, type + 12, 4) != 0;
  std::int64_t columns = 1;
  if (number_at(descriptor, type, 4) == 2) columns = number_at(read_file((folder / "MACRO").string()), 4, 4);
  EXPECT_TRUE(fs::exists(folder / "COMMENT"));
  ASSERT_TRUE(fs::exists(folder / "DATAVAR"));
  EXPECT_GE(columns, 1);
  const auto size = static_cast<std::int64_t>(fs::file_size(folder / "DATAVAR"));
  EXPECT_GE(size, is_implicit ? 0 : capacity / 8 * bits * columns);
}

void expect_whole_file(const fs::path& folder) {
  SCOPED_TRACE(folder);
  const std::string descriptor = read_file((folder / "DESCR").string());
  EXPECT_EQ(number_at(descriptor, 0, 4), 1100);
  const std::size_t organisation = text_end(descriptor, 4);
  const std::int64_t lines = number_at(descriptor, organisation + 8, 4);
  const std::size_t counts = text_end(descriptor, organisation + 12 + 6 * 8 + 3 * 4 + 3 * 8);
  const std::int64_t samples = number_at(descriptor, counts, 8);
  const std::int64_t capacity = number_at(descriptor, counts + 8, 8);
  EXPECT_EQ(descriptor.size(), counts + 16);
  EXPECT_GE(capacity, samples);
  EXPECT_EQ(capacity % block, 0);
  const std::int64_t kind = number_at(descriptor, organisation, 4);
  if (kind == 2 || kind == 3) {
    EXPECT_EQ(number_at(read_file((folder / "LINE").string()), static_cast<std::size_t>(8 * lines), 8),
              samples + 1);
  }
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename();
    if (name.starts_with("VARI."))
      expect_whole_variable(entry.path(), capacity);
    else
      EXPECT_TRUE(name == "DESCR" || name == "LINE" || name == "COMMENT") << name;
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

  for (const auto& directory : fs::directory_iterator(copy / "shared/QRD")) {
    if (directory.path().filename() == "DESCR") continue;
    EXPECT_TRUE(directory.path().filename().string().starts_with("DIRE.")) << directory.path();
    EXPECT_EQ(number_at(read_file((directory.path() / "DESCR").string()), 0, 4), 1100) << directory.path();
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

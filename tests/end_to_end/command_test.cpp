// The program qrd as a whole: the tree, reading and writing, complaints.
#include <thread>

#include "end_to_end/command.h"
#include "qrd/server_process.h"
#include "support/programs.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

TEST_F(commands, makes_a_root_studies_and_directories) {
  good({"new", "study", "North / 2"});
  good({"new", "study", "Elsewhere", "--path", scratch_ / "far"});
  EXPECT_TRUE(std::filesystem::is_directory(root_ + "/North _ 2/QRD"));
  EXPECT_TRUE(std::filesystem::is_directory(scratch_ / "far/QRD"));
  EXPECT_EQ(good({"ls"}), "North / 2\nElsewhere\n");
  good({"new", "directory", "North / 2", "a / b"});
  EXPECT_EQ(good({"ls", "North / 2"}), "a / b\n");
  EXPECT_NE(complaint({"new", "study", "Elsewhere"}).find("already exists"), std::string::npos);

  complaint({"rm", "--yes", "Elsewhere"});
  complaint({"rm", "--yes", "North / 2", "a / b"});
  EXPECT_EQ(good({"ls", "North / 2"}), "a / b\n");
  good({"rm", "--yes", "-r", "North / 2", "a / b"});
  EXPECT_EQ(good({"ls", "North / 2"}), "");
  good({"rm", "--yes", "-r", "Elsewhere"});
  EXPECT_EQ(good({"ls"}), "North / 2\n");
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "far"));
}

TEST_F(commands, macro_columns_are_named_by_their_index) {
  make_directory();
  const std::string table = "x,y,m[12],m[3],grade{au},grade{ag}\n0,0,1,2,3,4\n1,1,,5,6,\n";
  good({"import", "points", "S", "D", "P", "-"}, table);
  EXPECT_EQ(good({"export", "S", "D", "P", "m[xxxxx]", "grade{ag}"}),
            "X+ Gravity Center,Y+ Gravity Center,m[3],m[12],grade{ag}\n0,0,2,1,4\n1,1,5,,\n");
  EXPECT_EQ(good({"read", "S", "D", "P", "grade", "--index", "au"}), "grade{au}\n3\n6\n");
  EXPECT_EQ(good({"read", "S", "D", "P", "m[xxxxx]", "--index", "12"}), "m[12]\n1\n\"\"\n");
  complaint({"read", "S", "D", "P", "m[4]"});
  complaint({"read", "S", "D", "P", "m[xxxxx]"});

  good({"new", "macro", "S", "D", "P", "extra", "7", "2", "--bits", "8"});
  good({"new", "macro", "S", "D", "P", "extra", "5"});
  const json info = json::parse(good({"info", "--json", "S", "D", "P", "extra[xxxxx]"}));
  EXPECT_EQ(info["index numbers"], json({2, 5, 7}));
  for (const strings& wrong : {strings{"0"}, strings{"100000"}, strings{"4", "4"}}) {
    strings arguments = {"new", "macro", "S", "D", "P", "extra"};
    arguments.insert(arguments.end(), wrong.begin(), wrong.end());
    complaint(arguments);
  }
  complaint({"new", "macro", "S", "D", "P", "extra", "9", "--names", "None"});
}

TEST_F(commands, writes_into_what_is_there) {
  make_directory();
  good({"new", "grid", "S", "D", "G", "--nodes", "2", "2"});
  good({"new", "variable", "S", "D", "G", "v", "--bits", "8"});
  good({"new", "variable", "S", "D", "G", "t", "--text", "3"});
  good({"new", "variable", "S", "D", "G", "s", "--bits", "1"});
  good({"new", "variable", "S", "D", "G", "len", "--length"});
  good({"write", "S", "D", "G", "v", "t", "--missing", "NA", "--missing", "-9"},
       "t,v\nabc,1\nNA,-9\n,NA\nd,4\n");
  EXPECT_EQ(good({"read", "S", "D", "G", "v", "t"}), "v,t\n1,abc\n,\n,\n4,d\n");
  // All is looked at before anything is written.
  for (const char* table :
       {"t,v\nx,9\nx,9\nx,9\nlong,9\n", "t,v\nx,9\nx,9\nx,9\nx,255\n", "t,v\nx,9\nx,9\nx,9\n"})
    complaint({"write", "S", "D", "G", "v", "t"}, table);
  EXPECT_EQ(good({"read", "S", "D", "G", "v"}), "v\n1\n\"\"\n\"\"\n4\n");

  good({"write", "S", "D", "G", "s", "--column", "c", "--first", "2", "--last", "3"}, "c\n1\n1\n");
  good({"write", "S", "D", "G", "v", "--selection", "s", "--compress"}, "v\n22\n33\n");
  EXPECT_EQ(good({"read", "S", "D", "G", "v"}), "v\n1\n22\n33\n4\n");
  good({"write", "S", "D", "G", "len", "--unit", "ft", "--last", "1"}, "len\n10\n");
  EXPECT_EQ(good({"read", "S", "D", "G", "len", "--last", "2"}), "len\n3.048\n\"\"\n");

  good({"rm", "--yes", "S", "D", "G", "v"});
  complaint({"read", "S", "D", "G", "v"});
  complaint({"rm", "--yes", "S", "D", "G", "X+ Coordinate (READONLY)"});
  good({"rm", "--yes", "S", "D", "G"});
  EXPECT_EQ(good({"ls", "S", "D"}), "");
}

TEST_F(commands, complains_in_one_line) {
  const std::string no_root = complaints({"ls"});
  EXPECT_TRUE(no_root.starts_with("qrd: QRD_INIT=" + root_ + ": Cannot access directory\n  help: "))
      << no_root;
  complaint({"frob"}, {}, 2);
  complaint({}, {}, 2);
  complaint({"read", "S", "D", "F"}, {}, 2);
  make_directory();
  EXPECT_EQ(complaint({"ls", "T"}), "qrd: Study Unknown: \"T\"");
  EXPECT_EQ(complaint({"ls", "S", "E"}), "qrd: Not a valid Velmar directory: S: E");
  complaint({"--server", "127.0.0.1:1", "ls"}, {}, 3);
  complaint({"--server", "127.0.0.1:x", "ls"});

  // A server that is none.
  for (const std::string& answer :
       {std::string("SSH-2.0-none\r\n"), bytes().text("SWRONG").str(), std::string()}) {
    listening_port listener;
    std::thread impostor([&] {
      auto connection = listener.accept(std::chrono::seconds(20));
      if (!connection) return;
      connection->receive(12);
      connection->send(answer);
    });
    complaint({"--server", "127.0.0.1:" + std::to_string(listener.port()), "ls"}, {}, 3);
    impostor.join();
  }
}

TEST_F(commands, shows_what_the_server_said_at_its_end) {
  make_directory();
  write_file(root_ + "/DATA", "fifteen\n");
  const std::string told = complaints({"ls"}, {}, 3);
  EXPECT_NE(told.find("\n  help: the file DATA of the root is damaged"), std::string::npos) << told;
  EXPECT_LT(told.find("Badly formatted version number"), told.find("help:")) << told;
  EXPECT_LE(std::count(told.begin(), told.end(), '\n'), 22) << told;
}

TEST_F(commands, takes_database_and_server_from_its_environment) {
  make_directory();
  const auto with = [&](const strings& environment, strings arguments) {
    strings all = environment;
    all.push_back(client_program);
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run_program("/usr/bin/env", all);
  };
  EXPECT_EQ(with({"QRD_ROOT=" + root_}, {"ls"}).output, "S\n");
  EXPECT_EQ(with({"QRD_ROOT=" + root_, "QRD_SERVER=127.0.0.1:1"}, {"ls"}).status, 3);
  // A server without a root would make one where nobody looks.
  const program_run refused = with({"HOME=" + scratch_ / "home"}, {"--server", "127.0.0.1:1", "ls"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.errors.find("QRD_ROOT"), std::string::npos) << refused.errors;
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "home"));
  const program_run version = with({}, {"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(version.output.starts_with("qrd ")) << version.output;
}

TEST_F(commands, every_json_parses) {
  make_directory();
  good({"import", "points", "S", "D", "P", "-", "--json"}, "x,y,v,t\n1,2,,\"caf\xe9\"\n");
  EXPECT_EQ(json::parse(good({"ls", "--json"})), json({"S"}));
  EXPECT_EQ(json::parse(good({"ls", "--json", "S", "D"})), json({"P"}));
  EXPECT_EQ(json::parse(good({"ls", "--json", "-l", "S", "D"}))[0]["samples"], 1);
  EXPECT_EQ(json::parse(good({"ls", "--json", "-l", "S", "D", "P"})).size(), 5U);
  EXPECT_EQ(json::parse(good({"info", "--json", "S", "D", "P"}))["coordinates"].size(), 2U);
  EXPECT_EQ(json::parse(good({"info", "--json", "S", "D", "P", "t"}))["characters"], 5);
  EXPECT_EQ(json::parse(good({"read", "--columns", "S", "D", "P", "v", "t"}))[0]["values"],
            json::array({nullptr}));
  EXPECT_EQ(json::parse(good({"stat", "--json", "S", "D", "P", "v"}))[0]["missing"], 1);
}

TEST_F(commands, json_has_three_shapes) {
  make_directory();
  good({"import", "points", "S", "D", "P", "-", "--bits", "g=32", "--unit", "g=%"},
       "x,y,g,\"a \"\"t\"\"\"\n1,2,0.1,\"\xC3\xA9,\"\n1,2,,\n");
  // A number of 32 bits has its short form, and a name is quoted.
  const auto with = [&](const char* option) {
    return good({"read", "S", "D", "P", "g", "a \"t\"", "X+ Gravity Center", option});
  };
  EXPECT_EQ(with("--json"),
            "[\n{\"g\":0.1,\"a \\\"t\\\"\":\"\xC3\xA9,\",\"X+ Gravity Center\":1},\n"
            "{\"g\":null,\"a \\\"t\\\"\":null,\"X+ Gravity Center\":1}\n]\n");
  EXPECT_EQ(with("--ndjson"),
            "{\"g\":0.1,\"a \\\"t\\\"\":\"\xC3\xA9,\",\"X+ Gravity Center\":1}\n"
            "{\"g\":null,\"a \\\"t\\\"\":null,\"X+ Gravity Center\":1}\n");
  EXPECT_EQ(with("--columns"),
            "[{\"variable\":\"g\",\"unit\":\"%\",\"values\":[0.1,null]},"
            "{\"variable\":\"a \\\"t\\\"\",\"unit\":null,\"values\":[\"\xC3\xA9,\",null]},"
            "{\"variable\":\"X+ Gravity Center\",\"unit\":\"m\",\"values\":[1,1]}]\n");
  EXPECT_EQ(json::parse(with("--json")).size(), 2U);
  EXPECT_EQ(json::parse(good({"stat", "--json", "S", "D", "P", "g"}))[0]["maximum"], 0.1);
  good({"new", "lines", "S", "D", "L"});
  EXPECT_EQ(good({"read", "--json", "S", "D", "L", "X+ Gravity Center"}), "[]\n");
}

TEST_F(commands, exports_replace_nothing_unasked) {
  make_directory();
  good({"import", "points", "S", "D", "P", "-"}, "x,y,v\n1,2,3\n");
  const std::string path = scratch_ / "out.csv";
  const strings to_file = {"export", "S", "D", "P", "v", "-o", path};
  const std::string table = "X+ Gravity Center,Y+ Gravity Center,v\n1,2,3\n";
  good(to_file);
  EXPECT_EQ(read_file(path), table);
  write_file(path, "mine");
  EXPECT_NE(complaint(to_file).find("--force"), std::string::npos);
  EXPECT_EQ(read_file(path), "mine");

  // One that goes wrong leaves what is there, and nothing else.
  complaint({"export", "S", "D", "P", "nothing", "-o", path, "--force"});
  complaint({"export", "S", "D", "P", "v", "--last", "9", "-o", scratch_ / "other.csv"});
  complaint({"export", "S", "D", "P", "v", "-o", scratch_ / "no folder/out.csv"});
  EXPECT_EQ(read_file(path), "mine");
  std::filesystem::create_symlink("out.csv", scratch_ / "link.csv");
  good({"export", "S", "D", "P", "v", "-f", "-o", scratch_ / "link.csv"});
  EXPECT_EQ(read_file(path), table);
  EXPECT_TRUE(std::filesystem::is_symlink(scratch_ / "link.csv"));
  good({"export", "S", "D", "P", "v", "-o", "/dev/null"});
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(scratch_.path()))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, strings({"link.csv", "out.csv", "root"}));
}

TEST_F(commands, asks_a_multi_session_server_for_a_session) {
  make_directory();
  client::server_options options;
  options.program = server_program;
  options.arguments = {"-multi"};
  client::server_process parent(options);
  const strings server = {"--server", "127.0.0.1:" + std::to_string(parent.port())};
  std::vector<std::thread> users;
  for (int i = 0; i < 4; ++i)
    users.emplace_back([&, i] {
      strings arguments = server;
      const std::string name = "made " + std::to_string(i);
      arguments.insert(arguments.end(), {"new", "directory", "S", name});
      good(arguments);
    });
  for (std::thread& user : users) user.join();
  EXPECT_EQ(good({"ls", "S"}), "D\nmade 0\nmade 1\nmade 2\nmade 3\n");
  EXPECT_EQ(parent.wait(std::chrono::milliseconds(0)), std::nullopt);
  parent.end(std::chrono::milliseconds(0));
}

}  // namespace
}  // namespace qrd::test

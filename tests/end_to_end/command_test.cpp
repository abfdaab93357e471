// The program qrd, run as a user runs it, against real servers on roots of its own making.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <thread>

#include "client/server_process.h"
#include "support/program_run.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

using json = nlohmann::json;
using strings = std::vector<std::string>;

class Command : public testing::Test {
 protected:
  program_run run(strings arguments, const std::string& input = {}) {
    arguments.insert(arguments.begin(), {"--root", root_});
    return run_program(QRD_CLIENT_PROGRAM, std::move(arguments), input);
  }

  // What a run prints that has to go well.
  std::string good(const strings& arguments, const std::string& input = {}) {
    const program_run result = run(arguments, input);
    EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments);
    EXPECT_EQ(result.errors, "") << testing::PrintToString(arguments);
    return result.output;
  }

  // The complaint of a run that has to fail: one line, and nothing else.
  std::string complaint(const strings& arguments, const std::string& input = {}, int status = 1) {
    const program_run result = run(arguments, input);
    EXPECT_EQ(result.status, status) << testing::PrintToString(arguments);
    EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_TRUE(result.errors.starts_with("qrd: ")) << result.errors;
    return result.errors.substr(0, result.errors.size() - 1);
  }

  void make_directory() {
    good({"new", "study", "S"});
    good({"new", "directory", "S", "D"});
  }

  temporary_directory scratch_;
  std::string root_ = scratch_ / "root";
};

TEST_F(Command, MakesARootStudiesAndDirectories) {
  good({"new", "study", "North / 2"});
  good({"new", "study", "Elsewhere", "--path", scratch_ / "far"});
  EXPECT_TRUE(std::filesystem::is_directory(root_ + "/North _ 2/QRD"));
  EXPECT_TRUE(std::filesystem::is_directory(scratch_ / "far/QRD"));
  EXPECT_EQ(good({"ls"}), "North / 2\nElsewhere\n");
  good({"new", "directory", "North / 2", "a / b"});
  EXPECT_EQ(good({"ls", "North / 2"}), "a / b\n");
  EXPECT_NE(complaint({"new", "study", "Elsewhere"}).find("already exists"), std::string::npos);

  complaint({"rm", "Elsewhere"});
  complaint({"rm", "North / 2", "a / b"});
  EXPECT_EQ(good({"ls", "North / 2"}), "a / b\n");
  good({"rm", "-r", "North / 2", "a / b"});
  EXPECT_EQ(good({"ls", "North / 2"}), "");
  good({"rm", "-r", "Elsewhere"});
  EXPECT_EQ(good({"ls"}), "North / 2\n");
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "far"));
}

TEST_F(Command, PointsGoInAndComeOut) {
  make_directory();
  const std::string table =
      "east,north,name,Cu,depth,class,used\n"
      "181072.25,333611.5,\"a, \"\"b\"\"\",0.1,820,3,1\n"
      "181025,333558,,,830.5,,0\n"
      "-1e-3,0,zz,1e+30,,14,1\n";
  EXPECT_EQ(good({"import", "points", "S", "D", "P", "-", "--x", "east", "--y", "north", "--unit", "depth=ft",
                  "--bits", "class=4", "--bits", "used=1", "--unit", "Cu=%"},
                 table),
            "P: 3 samples, 5 variables\n");
  EXPECT_EQ(good({"ls", "-l", "S", "D"}), "P\tpoints\t2D\t3 samples\n");
  EXPECT_EQ(good({"export", "S", "D", "P"}),
            "X+ Gravity Center,Y+ Gravity Center,Cu,class,depth,name,used\n"
            "181072.25,333611.5,0.1,3,820,\"a, \"\"b\"\"\",1\n"
            "181025,333558,,,830.5,,0\n"
            "-0.001,0,1e+30,14,,zz,1\n");
  // Lengths in a unit of choice; others stay.
  EXPECT_EQ(good({"read", "S", "D", "P", "depth", "Cu", "--unit", "m", "--last", "2"}),
            "depth,Cu\n249.93599999999998,0.1\n253.1364,\n");
  EXPECT_EQ(
      good({"read", "S", "D", "P", "depth", "name", "--selection", "used", "--compress", "--own-units"}),
      "depth,name\n820,\"a, \"\"b\"\"\"\n,zz\n");
  EXPECT_EQ(good({"read", "S", "D", "P", "class", "--selection", "used", "--first", "2"}),
            "class\n\"\"\n14\n");

  const json stat = json::parse(good({"stat", "--json", "S", "D", "P", "class", "name"}));
  EXPECT_EQ(stat[0]["count"], 3);
  EXPECT_EQ(stat[0]["missing"], 1);
  EXPECT_EQ(stat[0]["minimum"], 3.0);
  EXPECT_EQ(stat[0]["maximum"], 14.0);
  EXPECT_EQ(stat[0]["mean"], 8.5);
  EXPECT_EQ(stat[0]["standard deviation"], 5.5);
  EXPECT_EQ(stat[1], json({{"variable", "name"}, {"count", 3}, {"blank", 1}, {"distinct", 2}}));
}

TEST_F(Command, GridsFindTheirNodes) {
  make_directory();
  const std::string table =
      "x,y,v\n"
      "30,0.5,5\n"
      "10,0.6,\n"
      "10,0.5,1\n"
      "30,0.7,6\n";
  good({"import", "grid", "S", "D", "G", "-"}, table);
  const json info = json::parse(good({"info", "--json", "S", "D", "G"}));
  EXPECT_EQ(info["organisation"], "grid");
  EXPECT_EQ(info["nodes"], json({2, 3}));
  EXPECT_EQ(info["origin"], json({10, 0.5}));
  EXPECT_EQ(info["mesh"][0], 20);
  EXPECT_NEAR(info["mesh"][1].get<double>(), 0.1, 1e-12);
  EXPECT_EQ(good({"read", "S", "D", "G", "v"}), "v\n1\n\"\"\n\"\"\n5\n\"\"\n6\n");
  EXPECT_EQ(good({"export", "S", "D", "G", "v", "--skip-missing"}),
            "X+ Coordinate (READONLY),Y+ Coordinate (READONLY),v\n10,0.5,1\n30,0.5,5\n30,0.7,6\n");

  // Node numbers of a turned grid of three dimensions; the last axis is the fastest.
  good({"import", "grid",    "S",          "D",        "N",   "-",          "--x", "i",      "--y", "j",
        "--z",    "k",       "--numbered", "--origin", "100", "200",        "-5",  "--mesh", "10",  "20",
        "1",      "--nodes", "1",          "2",        "2",   "--rotation", "90",  "0",      "0"},
       "i,j,k,v\n1,2,1,3\n1,1,2,2\n1,2,2,4\n");
  EXPECT_EQ(good({"read", "S", "D", "N", "v", "X+ Coordinate (READONLY)", "Z+ Coordinate (READONLY)"}),
            "v,X+ Coordinate (READONLY),Z+ Coordinate (READONLY)\n,100,-5\n2,100,-4\n3,80,-5\n4,80,-4\n");
  EXPECT_EQ(json::parse(good({"info", "--json", "S", "D", "N"}))["angles"], json({90, 0, 0}));

  EXPECT_NE(complaint({"import", "grid", "S", "D", "X", "-"}, "x,y\n0,0\n1,0\n2.5,0\n").find("row 3"),
            std::string::npos);
  EXPECT_NE(complaint({"import", "grid", "S", "D", "X", "-"}, "x,y\n0,0\n1,0\n0,0\n").find("row 3"),
            std::string::npos);
}

TEST_F(Command, HolesFollowTheirSurveys) {
  make_directory();
  write_file(scratch_ / "collars.csv", "BHID,XCOLLAR,YCOLLAR,ZCOLLAR\nA,100,200,50\nB,0,0,0\n");
  // Hole A goes down 10, then level to the east; hole B has no survey.
  write_file(scratch_ / "surveys.csv", "BHID,AT,AZ,DIP\nA,10,90,0\nA,0,0,90\n");
  write_file(scratch_ / "assays.csv", "BHID,FROM,TO,Cu\nA,0,8,1\nA,8,14,\nB,2,3,5\nB,4,6,7\n");
  const program_run imported =
      run({"import", "lines", "S", "D", "L", scratch_ / "assays.csv", "--line", "BHID", "--from", "FROM",
           "--to", "TO", "--collars", scratch_ / "collars.csv", "--surveys", scratch_ / "surveys.csv"});
  EXPECT_EQ(imported.status, 0);
  EXPECT_EQ(imported.output, "L: 5 samples, 4 variables\n");
  EXPECT_NE(imported.errors.find("1 gap"), std::string::npos);

  const json table =
      json::parse(good({"read", "--json", "S", "D", "L", "LN+ Line Number (READONLY)", "BHID", "Cu",
                        "XE+ End of Sample", "ZB+ Begin of Sample", "ZE+ End of Sample"}));
  const auto column = [&](std::size_t i) { return table[i]["values"]; };
  EXPECT_EQ(column(0), json({1, 1, 2, 2, 2}));
  EXPECT_EQ(column(1), json({"A", "A", "B", nullptr, "B"}));
  EXPECT_EQ(column(2), json({1, nullptr, 5, nullptr, 7}));
  const double xe[] = {100, 104, 0, 0, 0};
  const double zb[] = {50, 42, -2, -3, -4};
  const double ze[] = {42, 40, -3, -4, -6};
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_NEAR(column(3)[i].get<double>(), xe[i], 1e-12) << i;
    EXPECT_NEAR(column(4)[i].get<double>(), zb[i], 1e-12) << i;
    EXPECT_NEAR(column(5)[i].get<double>(), ze[i], 1e-12) << i;
  }
  EXPECT_EQ(good({"read", "S", "D", "L", "Cu", "--line", "2"}), "Cu\n5\n\"\"\n7\n");

  good({"import", "points", "S", "D", "C", scratch_ / "collars.csv", "--x", "XCOLLAR", "--y", "YCOLLAR",
        "--z", "ZCOLLAR"});
  good({"link", "S", "D", "L", "C", "--names", "BHID"});
  const json collars = json::parse(good({"info", "--json", "S", "D", "C"}));
  EXPECT_EQ(collars["linked file"], "L");
  EXPECT_EQ(collars["line name"], "BHID");

  // Its export makes the same file again.
  const std::string exported = good({"export", "S", "D", "L"});
  good({"import",
        "lines",
        "S",
        "D",
        "L2",
        "-",
        "--line",
        "LN+ Line Number (READONLY)",
        "--begin",
        "XB+ Begin of Sample",
        "YB+ Begin of Sample",
        "ZB+ Begin of Sample",
        "--end",
        "XE+ End of Sample",
        "YE+ End of Sample",
        "ZE+ End of Sample",
        "--column",
        "BHID",
        "--column",
        "Cu",
        "--column",
        "FROM",
        "--column",
        "TO"},
       exported);
  EXPECT_EQ(good({"export", "S", "D", "L2"}), exported);

  EXPECT_NE(complaint({"import", "lines", "S", "D", "X", "-", "--line", "BHID", "--from", "FROM", "--to",
                       "TO", "--collars", scratch_ / "collars.csv"},
                      "BHID,FROM,TO\nA,0,5\nA,4,6\n")
                .find("row 2"),
            std::string::npos);
  EXPECT_NE(complaint({"import", "lines", "S", "D", "X", "-", "--line", "BHID", "--from", "FROM", "--to",
                       "TO", "--collars", scratch_ / "collars.csv"},
                      "BHID,FROM,TO\nZ,0,5\n")
                .find("no collar of \"Z\""),
            std::string::npos);
}

TEST_F(Command, TraversesKeepTheirRowsTogether) {
  make_directory();
  good({"import", "lines", "S", "D", "T", "-", "--line", "trace"}, "trace,x,y\nq,1,10\np,2,20\nq,3,30\n");
  EXPECT_EQ(
      good({"export", "S", "D", "T"}),
      "LN+ Line Number (READONLY),X+ Gravity Center,Y+ Gravity Center,trace\n1,1,10,q\n1,3,30,q\n2,2,20,p\n");
}

TEST_F(Command, MacroColumnsAreNamedByTheirIndex) {
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

TEST_F(Command, WritesIntoWhatIsThere) {
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

  good({"rm", "S", "D", "G", "v"});
  complaint({"read", "S", "D", "G", "v"});
  complaint({"rm", "S", "D", "G", "X+ Coordinate (READONLY)"});
  good({"rm", "S", "D", "G"});
  EXPECT_EQ(good({"ls", "S", "D"}), "");
}

TEST_F(Command, AFailedImportLeavesNothing) {
  make_directory();
  // The last column's name is not allowed: the file and its first variables exist when that is found out.
  complaint({"import", "points", "S", "D", "P", "-"}, "x,y,v,New Variable\n1,2,3,4\n");
  EXPECT_EQ(good({"ls", "S", "D"}), "");
  good({"import", "points", "S", "D", "P", "-"}, "x,y,v\n1,2,3\n");
  // A file of that name is somebody else's.
  complaint({"import", "points", "S", "D", "P", "-"}, "x,y,v\n1,2,3\n");
  EXPECT_EQ(good({"read", "S", "D", "P", "v"}), "v\n3\n");
  for (const char* table : {"", "x,y\n", "x,y\n1\n", "x,y\n1,\n", "x\n1\n", "x,y,v\n1,2,300\n"})
    complaint({"import", "points", "S", "D", "Q", "-", "--bits", "8"}, table);
  EXPECT_EQ(good({"ls", "S", "D"}), "P\n");
}

TEST_F(Command, ComplainsInOneLine) {
  EXPECT_EQ(complaint({"ls"}), "qrd: QRD_INIT=" + root_ + ": Cannot access directory");
  complaint({"frob"}, {}, 2);
  complaint({}, {}, 2);
  complaint({"read", "S", "D", "F"}, {}, 2);
  make_directory();
  EXPECT_EQ(complaint({"ls", "T"}), "qrd: Study Unknown: \"T\"");
  EXPECT_EQ(complaint({"ls", "S", "E"}), "qrd: Not a valid Velmar directory: S: E");
  complaint({"--server", "127.0.0.1:1", "ls"});
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
    complaint({"--server", "127.0.0.1:" + std::to_string(listener.port()), "ls"});
    impostor.join();
  }
}

TEST_F(Command, EveryJsonParses) {
  make_directory();
  good({"import", "points", "S", "D", "P", "-", "--json"}, "x,y,v,t\n1,2,,\"caf\xe9\"\n");
  EXPECT_EQ(json::parse(good({"ls", "--json"})), json({"S"}));
  EXPECT_EQ(json::parse(good({"ls", "--json", "S", "D"})), json({"P"}));
  EXPECT_EQ(json::parse(good({"ls", "--json", "-l", "S", "D"}))[0]["samples"], 1);
  EXPECT_EQ(json::parse(good({"ls", "--json", "-l", "S", "D", "P"})).size(), 5U);
  EXPECT_EQ(json::parse(good({"info", "--json", "S", "D", "P"}))["coordinates"].size(), 2U);
  EXPECT_EQ(json::parse(good({"info", "--json", "S", "D", "P", "t"}))["characters"], 4);
  EXPECT_EQ(json::parse(good({"read", "--json", "S", "D", "P", "v", "t"}))[0]["values"],
            json::array({nullptr}));
  EXPECT_EQ(json::parse(good({"stat", "--json", "S", "D", "P", "v"}))[0]["missing"], 1);
}

TEST_F(Command, AsksAMultiSessionServerForASession) {
  make_directory();
  client::server_options options;
  options.program = QRD_SERVER_PROGRAM;
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

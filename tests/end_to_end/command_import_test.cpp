// qrd import: tables become files.
#include "end_to_end/command.h"

namespace qrd::test {
namespace {

TEST_F(commands, points_go_in_and_come_out) {
  make_directory();
  const std::string table =
      "east,north,name,Cu,depth,class,used\n"
      "181072.25,333611.5,\"a, \"\"b\"\"\",0.1,820,3,1\n"
      "181025,333558,,,830.5,,0\n"
      "-1e-3,0,zz,1e+30,,14,1\n";
  EXPECT_EQ(good({"import", "points", "S", "D", "P", "-", "--x", "east", "--y", "north", "--unit", "depth=ft",
                  "--bits", "class=4", "--bits", "used=1", "--unit", "Cu=%"},
                 table),
            "P: 3 samples, 5 variables\n"
            "  name: text of 6 characters, 1 missing\n"
            "  Cu: number of 64 bits in %, 1 missing\n"
            "  depth: number of 64 bits in ft, 1 missing\n"
            "  class: number of 4 bits, 1 missing\n"
            "  used: selection, 0 missing\n");
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

TEST_F(commands, imports_tell_what_columns_become) {
  make_directory();
  const strings import = {"import", "points", "S", "D", "P", "-"};
  const auto with = [&](const strings& more) {
    strings arguments = import;
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  };
  const std::string table =
      "x,y,Cu,rock,flag\n0,0,1.5,NA,1\n1,0,NaN,Na,0\n2,0,n/a,null,1\n3,0,<0.02,ox,1\n4,0,-99,,0\n";
  EXPECT_NE(complaint(import, table).find("\"<0.02\" on line 5"), std::string::npos);
  const std::string told =
      "  Cu: number of 64 bits, 4 missing\n"
      "  rock: text of 2 characters, 3 missing\n"
      "  flag: selection, 0 missing\n";
  const strings options = {"--below-detection", "missing", "--missing", "-99", "--bits", "flag=1"};
  strings dry = options;
  dry.push_back("--dry-run");
  EXPECT_EQ(good(with(dry), table), "P: 5 samples, 3 variables (dry run: nothing is made)\n" + told);
  EXPECT_EQ(good({"ls", "S", "D"}), "");
  EXPECT_EQ(good(with(options), table), "P: 5 samples, 3 variables\n" + told);
  EXPECT_EQ(good({"read", "S", "D", "P", "Cu", "rock"}), "Cu,rock\n1.5,\n,Na\n,\n,ox\n,\n");
  const json columns =
      json::parse(good(with({"--below-detection", "half", "--json", "--dry-run"}), table))["columns"];
  EXPECT_EQ(columns[0],
            json({{"column", "Cu"}, {"type", "number"}, {"bits", 64}, {"unit", nullptr}, {"missing", 2}}));

  // Words among numbers are a mistake, or missing values, or make texts.
  const std::string mixed = "x,y,v\n0,0,1\n1,0,2\n\n2,0,lost\n3,0,3\n4,0,4\n5,0,bad\n6,0,5\n7,0,6\n8,0,7\n";
  const std::string refused = complaint(import, mixed);
  EXPECT_NE(refused.find("7 numbers, and 2 cells that are none: \"lost\" on line 5, \"bad\" on line 8."),
            std::string::npos)
      << refused;
  EXPECT_NE(complaint(with({"--missing", "lost"}), mixed).find("\"bad\" on line 8"), std::string::npos);
  EXPECT_NE(good(with({"--dry-run", "--missing", "lost", "--missing", "bad"}), mixed)
                .find("v: number of 64 bits, 2 missing"),
            std::string::npos);
  EXPECT_NE(good(with({"--dry-run", "--text", "v"}), mixed).find("v: text of 4 characters, 0 missing"),
            std::string::npos);
  EXPECT_NE(complaint(with({"--bits", "v=8"}), mixed).find("line 5: column \"v\": \"lost\" is not a number"),
            std::string::npos);
  complaint(with({"--below-detection", "some"}), table, 2);
}

TEST_F(commands, grids_find_their_nodes) {
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

  EXPECT_NE(complaint({"import", "grid", "S", "D", "X", "-"}, "x,y\n0,0\n1,0\n2.5,0\n").find("line 4"),
            std::string::npos);
  EXPECT_NE(complaint({"import", "grid", "S", "D", "X", "-"}, "x,y\n0,0\n1,0\n0,0\n").find("line 4"),
            std::string::npos);
}

TEST_F(commands, traverses_keep_their_rows_together) {
  make_directory();
  good({"import", "lines", "S", "D", "T", "-", "--line", "trace"}, "trace,x,y\nq,1,10\np,2,20\nq,3,30\n");
  EXPECT_EQ(
      good({"export", "S", "D", "T"}),
      "LN+ Line Number (READONLY),X+ Gravity Center,Y+ Gravity Center,trace\n1,1,10,q\n1,3,30,q\n2,2,20,p\n");
}

TEST_F(commands, a_failed_import_leaves_nothing) {
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

}  // namespace
}  // namespace qrd::test

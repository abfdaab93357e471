// qrd import: tables become files.
#include "end_to_end/command.h"

namespace qrd::test {
namespace {

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

TEST_F(Command, TraversesKeepTheirRowsTogether) {
  make_directory();
  good({"import", "lines", "S", "D", "T", "-", "--line", "trace"}, "trace,x,y\nq,1,10\np,2,20\nq,3,30\n");
  EXPECT_EQ(
      good({"export", "S", "D", "T"}),
      "LN+ Line Number (READONLY),X+ Gravity Center,Y+ Gravity Center,trace\n1,1,10,q\n1,3,30,q\n2,2,20,p\n");
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

}  // namespace
}  // namespace qrd::test

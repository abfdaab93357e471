// qrd import lines: drill holes from collars, surveys and intervals.
#include <cmath>

#include "end_to_end/command.h"

namespace qrd::test {
namespace {

// The options of an import by depths, on tables in the scratch folder.
strings by_depths(const std::string& folder, const strings& more = {}) {
  strings arguments = {"import", "lines", "S",    "D",  "L",         folder + "/assays.csv", "--line", "BHID",
                       "--from", "FROM",  "--to", "TO", "--collars", folder + "/collars.csv"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST_F(commands, holes_follow_their_surveys) {
  make_directory();
  const std::string folder = scratch_.path().string();
  write_file(scratch_ / "collars.csv", "BHID,XCOLLAR,YCOLLAR,ZCOLLAR\nA,100,200,50\nB,0,0,0\n");
  // Hole A goes down 10, then level to the east; hole B has no survey.
  write_file(scratch_ / "surveys.csv", "BHID,AT,AZ,DIP\nA,10,90,0\nA,0,0,90\n");
  write_file(scratch_ / "assays.csv", "BHID,FROM,TO,Cu\nA,8,14,\nA,0,8,1\nB,2,3,5\nB,4,6,7\n");
  const std::string surveys = scratch_ / "surveys.csv";
  const std::string refused = complaints(by_depths(folder, {"--surveys", surveys}));
  EXPECT_NE(refused.find("assays.csv, line 4: hole \"B\": the hole has no surveys"), std::string::npos)
      << refused;
  EXPECT_EQ(good({"ls", "S", "D"}), "");

  const program_run imported =
      run(by_depths(folder, {"--surveys", surveys, "--vertical", "--desurvey", "tangential"}));
  EXPECT_EQ(imported.status, 0);
  EXPECT_TRUE(imported.output.starts_with("L: 5 samples, 4 variables\n")) << imported.output;
  EXPECT_NE(imported.output.find("2 holes by tangential, dips positive downwards"), std::string::npos);
  EXPECT_NE(imported.output.find("1 gap "), std::string::npos);
  EXPECT_NE(imported.errors.find("surveys.csv, line 2: hole \"A\" at 10: the last survey"),
            std::string::npos);

  const json table =
      json::parse(good({"read", "--columns", "S", "D", "L", "LN+ Line Number (READONLY)", "BHID", "Cu",
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
}

TEST_F(commands, holes_are_arcs_by_default) {
  make_directory();
  const std::string folder = scratch_.path().string();
  write_file(scratch_ / "collars.csv", "BHID,XCOLLAR,YCOLLAR,ZCOLLAR\nA,1000,2000,300\n");
  write_file(scratch_ / "surveys.csv",
             "BHID,AT,AZ,DIP\nA,110,25,-70.5\nA,10,350,-80\nA,160,200,-88\nA,60,10,-72\n");
  write_file(scratch_ / "assays.csv", "BHID,FROM,TO,Cu\nA,35,100,2\nA,0,35,1\n");
  const std::string surveys = scratch_ / "surveys.csv";
  EXPECT_NE(complaints(by_depths(folder, {"--surveys", surveys})).find("--dip-down-negative"),
            std::string::npos);
  const std::string told = good(by_depths(folder, {"--surveys", surveys, "--dip-down-negative"}));
  EXPECT_NE(told.find("1 hole by minimum-curvature, dips positive upwards"), std::string::npos) << told;
  const json table = json::parse(good({"read", "--columns", "S", "D", "L", "Cu", "XE+ End of Sample",
                                       "YE+ End of Sample", "ZE+ End of Sample"}));
  EXPECT_EQ(table[0]["values"], json({1, 2}));
  const double ends[3][2] = {
      {999.468812172, 1003.835187137}, {2006.831005985, 2025.772214191}, {265.690008784, 203.715279899}};
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (std::size_t i = 0; i < 2; ++i)
      EXPECT_NEAR(table[axis + 1]["values"][i].get<double>(), ends[axis][i], 2e-9) << axis << i;
}

TEST_F(commands, checks_tables_of_holes_without_making_anything) {
  const std::string folder = scratch_.path().string();
  write_file(scratch_ / "collars.csv", "BHID,XCOLLAR,YCOLLAR,ZCOLLAR\nA,0,0,0\n");
  write_file(scratch_ / "assays.csv", "BHID,FROM,TO\nA,5,9\n\nA,0,6\nZ,2,1\n");
  const program_run checked = run(by_depths(folder, {"--check"}));
  EXPECT_EQ(checked.status, 1);
  EXPECT_NE(
      checked.output.find("assays.csv, line 2: hole \"A\" at 5: the interval overlaps one that reaches 6"),
      std::string::npos)
      << checked.output;
  EXPECT_NE(checked.output.find("assays.csv, line 5: hole \"Z\": the hole has no collar"), std::string::npos);
  EXPECT_NE(checked.output.find("2 holes, 3 intervals, 0 surveys: 5 mismatches\n"), std::string::npos);
  const json told = json::parse(run(by_depths(folder, {"--check", "--json"})).output);
  EXPECT_EQ(told["mismatches"].size(), 5U);

  write_file(scratch_ / "assays.csv", "BHID,FROM,TO\nA,5,9\n");
  EXPECT_EQ(good(by_depths(folder, {"--check", "--vertical"})),
            "1 holes, 1 intervals, 0 surveys: 0 mismatches\n");
  EXPECT_FALSE(std::filesystem::exists(root_));
}

}  // namespace
}  // namespace qrd::test

// qrd import lines: drill holes from collars, surveys and intervals.
#include <cmath>

#include "end_to_end/command.h"

namespace qrd::test {
namespace {

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

}  // namespace
}  // namespace qrd::test

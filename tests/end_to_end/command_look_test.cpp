// qrd as a way to look at a database: names, conditions, statistics, and what a terminal shows.
#include "end_to_end/command.h"

namespace qrd::test {
namespace {

TEST_F(commands, take_paths_and_patterns) {
  use_sample_database();
  EXPECT_EQ(good({"ls", "Holes/Drilling/"}), "collars\ncores\ndomains\n");
  const std::string three = good({"read", "Holes", "Drilling", "cores", "Cu", "--last", "3"});
  EXPECT_EQ(good({"read", "Holes/Drilling/cores/Cu", "--last", "3"}), three);
  EXPECT_EQ(good({"read", "Holes/Drilling", "cor*", "C?", "--last", "3"}), three);
  EXPECT_TRUE(has_part(complaint({"read", "Holes/Drilling/co*", "Cu"}),
                       "2 files: Holes/Drilling/collars, Holes/Drilling/cores"));
  complaint({"ls", "Holes/Nothing*"});
  complaint({"read", "Holes/Drilling/cores"}, {}, 2);
  // A name that has a slash is itself.
  good({"new", "directory", "Holes", "a/b"});
  good({"new", "grid", "Holes", "a/b", "c/d", "--nodes", "2", "2"});
  good({"new", "variable", "Holes", "a/b", "c/d", "g/t"});
  EXPECT_EQ(good({"ls", "Holes", "a/b"}), "c/d\n");
  EXPECT_EQ(good({"find", "g/t"}), "Holes/a/b/c/d/g/t\n");
  good({"rm", "--yes", "Holes", "a/b", "c/d", "g/*"});
  EXPECT_EQ(good({"find", "G/T"}), "");
  EXPECT_EQ(good({"find", "cu", "--type", "variable", "Holes"}),
            "Holes/Drilling/cores/Cu\nHoles/Drilling/cores/Cu class\n");

  EXPECT_TRUE(has_part(good({"ls", "-R", "Holes"}), "\nHoles/Drilling:\ncollars\ncores\n"));
  EXPECT_TRUE(has_part(good({"tree", "Archive"}), "Archive\n└── Old data\n    └── cube\n"));
  const json study = json::parse(good({"info", "--json", "Archive"}));
  EXPECT_EQ(study["samples"], 24);
  EXPECT_EQ(json::parse(good({"info", "--json", "Holes/Drilling/collars"}))["extents"]["z"],
            json({1562.2, 1633}));
  EXPECT_EQ(json::parse(good({"info", "--json", "Holes/Drilling/cores/Cu"}))["missing"], 522);
}

TEST_F(commands, choose_samples) {
  make_directory();
  good({"import", "points", "S/D/P", "-", "--bits", "ok=1"},
       "x,y,Cu,rock,ok\n0,0,3,A,1\n1,0,,B,1\n2,1,1,B,0\n3,1,2,,1\n4,2,5,A,0\n");
  const auto read = [&](const strings& options) {
    strings arguments = {"read", "S/D/P", "Cu", "x"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const std::string text = good(arguments);
    return text.substr(text.find('\n') + 1);
  };
  EXPECT_EQ(read({"--where", "Cu > 1 and rock == \"A\""}), "3,0\n5,4\n");
  EXPECT_EQ(read({"--where", "ok", "--sort", "-Cu"}), "3,0\n2,3\n,1\n");
  EXPECT_EQ(read({"--sort", "rock", "--sort", "-x", "--limit", "3"}), "5,4\n3,0\n1,2\n");
  EXPECT_EQ(read({"--box", "1:3,:1", "--limit", "2"}), ",1\n1,2\n");
  EXPECT_EQ(read({"--box", "1:3,1", "--selection", "ok", "--compress"}), "2,3\n");
  EXPECT_EQ(read({"--limit", "1"}), "3,0\n");
  EXPECT_TRUE(has_part(complaint({"read", "S/D/P", "Cu", "--where", "Cu > rock"}), "character 6"));
  complaint({"read", "S/D/P", "Cu", "--nodes", "1,1"});

  EXPECT_EQ(good({"new", "selection", "S/D/P/rich", "--where", "Cu >= 2"}), "rich: 3 of 5 samples\n");
  EXPECT_EQ(good({"read", "S/D/P", "rich"}), "rich\n1\n0\n0\n1\n1\n");
  complaint({"new", "selection", "S/D/P/rich", "--where", "Cu >= 2"});
  complaint({"new", "selection", "S/D/P/other"}, {}, 2);

  // The last axis is the fastest.
  good({"new", "grid", "S/D/G", "--nodes", "2", "3", "4"});
  EXPECT_EQ(good({"read", "S/D/G", "x", "y", "z", "--nodes", "2,2:,:1"}),
            "X+ Coordinate (READONLY),Y+ Coordinate (READONLY),Z+ Coordinate (READONLY)\n1,1,0\n1,2,0\n");
  complaint({"read", "S/D/G", "x", "--nodes", "3"});

  const json groups = json::parse(
      good({"stat", "--json", "S/D/P", "Cu", "--by", "rock", "--quantiles", "0.5", "--weights", "x"}));
  ASSERT_EQ(groups.size(), 3U);
  EXPECT_EQ(groups[0]["rock"], nullptr);
  EXPECT_EQ(groups[1]["rock"], "A");
  // The sample at x = 0 weighs nothing.
  EXPECT_EQ(groups[1]["missing"], 1);
  EXPECT_EQ(groups[1]["quantile 0.5"], 5);
  EXPECT_TRUE(has_part(good({"stat", "S/D/P", "--histogram", "2", "--where", "ok"}), "\n  2.0  2.5  "));
}

TEST_F(commands, cores_weigh_their_length) {
  use_sample_database();
  const strings stat = {"stat", "--json", "Holes/Drilling/cores", "Cu", "--line", "B1-116"};
  strings weighted = stat;
  weighted.insert(weighted.end(), {"--weights", "length"});
  const json line = json::parse(good(stat))[0];
  const json told = json::parse(good(weighted))[0];
  EXPECT_EQ(told["count"], line["count"]);
  EXPECT_NE(told["mean"], line["mean"]);
  EXPECT_EQ(told["maximum"], line["maximum"]);
  EXPECT_TRUE(
      has_part(complaint({"stat", "Holes/Drilling/cores", "Cu", "--line", "B1-1"}), "there is no line B1-1"));
}

// On a terminal of its own, made by script(1).
TEST_F(commands, show_tables_colours_and_a_pager_on_a_terminal) {
  if (!std::filesystem::exists("/usr/bin/script")) GTEST_SKIP() << "needs script(1)";
  use_sample_database();
  const auto shown = [&](const std::string& environment, const std::string& words) {
    const std::string line =
        "env -u NO_COLOR TERM=xterm " + environment + " " + client_program + " --root " + root_ + " " + words;
    return run_program("/usr/bin/script", {"-qec", line, "/dev/null"}, "").output;
  };
  const std::string table = shown("QRD_PAGER=cat", "read Holes/Drilling/collars hole z --limit 2");
  EXPECT_TRUE(has_part(table, "\033[1m")) << table;
  EXPECT_TRUE(has_part(shown("NO_COLOR=1 QRD_PAGER=", "read Holes/Drilling/collars hole z --limit 2"),
                       "B1-105               1611\r\n"));
  EXPECT_TRUE(has_part(shown("QRD_PAGER='sed s/^/paged:/'", "ls Holes"), "paged:Drilling"));
  EXPECT_FALSE(has_part(shown("QRD_PAGER='sed s/^/paged:/'", "--no-pager ls Holes"), "paged"));
  EXPECT_TRUE(has_part(shown("QRD_PAGER=cat", "palettes Holes Grades"), "\033[48;2;"));
  EXPECT_FALSE(has_part(shown("NO_COLOR=1 QRD_PAGER=cat", "palettes Holes Grades"), "\033["));
  EXPECT_TRUE(has_part(shown("QRD_PAGER=cat", "export Holes/Drilling/collars hole --limit 1"),
                       "\r\n2301130.51,418592.89,1611,B1-105\r\n"));
}

}  // namespace
}  // namespace qrd::test

// What qrd keeps a user from, and what it tells one who has mistyped.
#include "end_to_end/command.h"
#include "qrd/connection.h"
#include "qrd/server_process.h"
#include "support/programs.h"

namespace qrd::test {
namespace {

TEST_F(commands, guards_what_a_file_needs) {
  use_sample_database();
  const std::string before = good({"read", "Holes", "Drilling", "collars", "X+ Gravity Center"});
  const strings write = {"write", "Holes", "Drilling", "collars", "X+ Gravity Center", "--last", "1"};
  const std::string table = "X+ Gravity Center\n5\n";
  EXPECT_TRUE(has_part(complaint(write, table), "coordinates"));
  const strings rm = {"rm", "Holes", "Drilling", "cores"};
  for (const char* name : {"ZE+ End of Sample", "SN+ Sample Number (READONLY)", "Y+ Gravity Center"}) {
    strings arguments = rm;
    arguments.insert(arguments.end(), {name, "--yes"});
    EXPECT_TRUE(has_part(complaint(arguments), "--force")) << name;
  }
  EXPECT_EQ(good({"read", "Holes", "Drilling", "collars", "X+ Gravity Center"}), before);
  strings forced = write;
  forced.push_back("--force");
  good(forced, table);
  EXPECT_EQ(good({"read", "Holes", "Drilling", "collars", "X+ Gravity Center", "--last", "1"}),
            "X+ Gravity Center\n5\n");

  // Where nobody can answer, a deletion needs a word.
  EXPECT_TRUE(has_part(complaint({"rm", "Holes", "Drilling", "cores", "Fe"}, "y\n"), "--yes"));
  good({"rm", "Holes", "Drilling", "cores", "Fe", "--yes"});
  complaint({"rm", "Holes", "Drilling", "cores", "Fe", "--yes"});
}

// On a terminal of its own, made by script(1).
TEST_F(commands, a_deletion_asks_on_a_terminal) {
  make_directory();
  good({"import", "points", "S", "D", "P", "-", "--bits", "v=32"}, "x,y,v\n1,2,3\n4,5,6\n");
  if (!std::filesystem::exists("/usr/bin/script")) GTEST_SKIP() << "needs script(1)";
  const auto answered = [&](const std::string& word) {
    const std::string line = std::string(client_program) + " --root " + root_ + " rm S D P";
    return run_program("/usr/bin/script", {"-qec", line, "/dev/null"}, word + "\n");
  };
  const program_run kept = answered("n");
  EXPECT_EQ(kept.status, 1);
  // Two coordinates of 64 bits and a number of 32, twice.
  EXPECT_TRUE(has_part(kept.output, "file S/D/P: 3 variables, 2 samples, 40 bytes of values. Go on?"))
      << kept.output;
  EXPECT_EQ(good({"ls", "S", "D"}), "P\n");
  EXPECT_EQ(answered("y").status, 0);
  EXPECT_EQ(good({"ls", "S", "D"}), "");
}

TEST_F(commands, near_names_are_told) {
  use_sample_database();
  EXPECT_TRUE(has_part(complaint({"reed"}, {}, 2), "no subcommand \"reed\" of qrd: did you mean \"read\""));
  EXPECT_TRUE(has_part(complaint({"import", "point"}, {}, 2),
                       "no subcommand \"point\" of qrd import: did you mean \"points\""));
  const auto told = [&](const strings& arguments, const char* name) {
    return has_part(complaint(arguments), "did you mean \"" + std::string(name) + "\"");
  };
  EXPECT_TRUE(told({"ls", "holes"}, "Holes"));
  EXPECT_TRUE(told({"ls", "Holes", "Driling"}, "Drilling"));
  EXPECT_TRUE(told({"info", "Holes", "Drilling", "core"}, "cores"));
  EXPECT_TRUE(told({"read", "Holes", "Drilling", "cores", "cu"}, "Cu"));
  EXPECT_TRUE(told({"read", "Holes", "Drilling", "cores", "Cu", "--selection", "sample"}, "sampled"));
  EXPECT_FALSE(has_part(complaint({"ls", "Elsewhere"}), "did you mean"));
  EXPECT_TRUE(has_part(
      complaint({"import", "points", "Holes", "Drilling", "P", "-", "--x", "east"}, "easting,y\n1,2\n"),
      "\"east\": did you mean \"easting\""));
}

TEST_F(commands, impossible_names_are_refused_by_their_rule) {
  make_directory();
  for (const auto& [name, rule] :
       std::initializer_list<std::pair<std::string, const char*>>{{"", "blank"},
                                                                  {"   ", "blank"},
                                                                  {std::string(50, 'n'), "49"},
                                                                  {"a\tb", "control characters"},
                                                                  {"New File", "reserved"},
                                                                  {"a{b}", "brackets"}}) {
    EXPECT_TRUE(has_part(complaint({"new", "study", name, "--path", scratch_ / "p"}), rule)) << name;
    EXPECT_TRUE(has_part(complaint({"new", "directory", "S", name}), rule)) << name;
    EXPECT_TRUE(has_part(complaint({"new", "grid", "S", "D", name, "--nodes", "2", "2"}), rule)) << name;
    EXPECT_TRUE(has_part(complaint({"import", "points", "S", "D", name, "-"}, "x,y\n1,2\n"), rule)) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "p"));
  EXPECT_EQ(good({"ls", "S"}), "D\n");
  good({"new", "directory", "S", std::string(49, 'n')});
}

TEST_F(commands, missing_values_hold_their_place) {
  use_sample_database();
  good({"new", "grid", "Holes", "Drilling", "G", "--nodes", "2", "2"});
  client::server_options options;
  options.program = server_program;
  client::server_process server(options);
  {
    client::connection connection = server.connect();
    connection.open_root(root_);
    connection.set_study("Holes");
    const double missing = client::missing_value;
    connection.write_vendor_data("bag", client::vendor_scope::study,
                                 {1, {{"one", missing}, {"list", std::vector<double>{1.5, missing, 2}}}});
    connection.set_directory("Drilling");
    connection.set_file("G");
    client::fault_set faults;
    faults.has_attributes = true;
    faults.missing = -1;
    faults.faults = {{"F", true, {{{{0, 0, 0}, {1, 1, 0}, {0, 0, 0}}, {7, -1, 9}, 1}}}};
    connection.write_faults(faults);
  }
  server.end();
  EXPECT_TRUE(has_part(good({"faults", "--points", "Holes", "Drilling", "G"}), "attributes: 7 - 9\n"));
  const json told = json::parse(good({"faults", "--json", "--points", "Holes", "Drilling", "G"}));
  EXPECT_EQ(told["faults"][0]["pieces"][0]["attributes"], json({7, nullptr, 9}));
  EXPECT_TRUE(has_part(good({"vendor", "bag", "Holes"}), "value: 1.5 - 2\n"));
  const json bag = json::parse(good({"vendor", "--json", "bag", "Holes"}))["attributes"];
  EXPECT_EQ(bag[0]["value"], nullptr);
  EXPECT_EQ(bag[1]["value"], json({1.5, nullptr, 2}));
}

TEST_F(commands, exports_keep_macro_names_and_skip_what_is_missing) {
  make_directory();
  good({"import", "points", "S", "D", "P", "-", "--bits", "s=1"},
       "x,y,metal{zinc},metal{lead},rock,s,Cu\n0,0,1,,a,1,\n1,1,,,b,1,\n2,2,,3,,0,4\n");
  EXPECT_EQ(good({"export", "S", "D", "P"}),
            "X+ Gravity Center,Y+ Gravity Center,Cu,metal{zinc},metal{lead},rock,s\n"
            "0,0,,1,,a,1\n1,1,,,,b,1\n2,2,4,,3,,0\n");
  // Texts and selections don't count.
  EXPECT_EQ(good({"export", "S", "D", "P", "Cu", "rock", "s", "--skip-missing"}),
            "X+ Gravity Center,Y+ Gravity Center,Cu,rock,s\n2,2,4,,0\n");
  const std::string exported = good({"export", "S", "D", "P", "--skip-missing"});
  EXPECT_FALSE(has_part(exported, "\n1,1")) << exported;
  EXPECT_TRUE(has_part(exported, "\n0,0,,1")) << exported;
}

}  // namespace
}  // namespace qrd::test

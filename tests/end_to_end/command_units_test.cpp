// Units as qrd tells and takes them.
#include "end_to_end/command.h"

namespace qrd::test {
namespace {

// The cores of the sample database are in feet; "from" of its second sample is 884 ft, 269.4432 m.
TEST_F(commands, tells_every_length_in_its_own_unit_unless_asked) {
  use_sample_database();
  const strings cores = {"Holes", "Drilling", "cores"};
  const auto on_cores = [&](strings before, const strings& behind) {
    before.insert(before.end(), cores.begin(), cores.end());
    before.insert(before.end(), behind.begin(), behind.end());
    return before;
  };
  const strings second = {"--first", "2", "--last", "2"};
  const auto read = [&](const char* command, strings options) {
    options.insert(options.end(), second.begin(), second.end());
    options.insert(options.begin(), {"thickness", "from", "Cu"});
    const std::string text = good(on_cores({command}, options));
    // The last two cells: an export has the places in front.
    return text.substr(text.rfind(',', text.rfind(',') - 1) + 1);
  };
  EXPECT_EQ(read("read", {}), "884,0.02\n");
  EXPECT_EQ(read("export", {}), "884,0.02\n");
  EXPECT_EQ(read("export", {"--own-units"}), "884,0.02\n");
  for (const char* command : {"read", "export"}) {
    EXPECT_EQ(read(command, {"--metres"}), "269.4432,0.02\n");
    EXPECT_EQ(read(command, {"--unit", "m"}), "269.4432,0.02\n");
  }
  EXPECT_EQ(good(on_cores({"read"}, {"from", "Cu", "hole", "--last", "1", "--header-units"})),
            "from [ft],Cu [%],hole\n0,,B1-105\n");
  EXPECT_EQ(good(on_cores({"read"}, {"from", "--last", "1", "--header-units", "--unit", "km"})),
            "from [km]\n0\n");

  EXPECT_EQ(json::parse(good(on_cores({"info", "--json"}, {"from"})))["unit symbol"], "ft");
  EXPECT_EQ(json::parse(good(on_cores({"info", "--json"}, {})))["units"], json({"ft", "ft", "ft"}));
  EXPECT_NE(good(on_cores({"ls", "-l"}, {})).find("\nfrom\tnumber\t64 bits\tft\n"), std::string::npos);
  const json stat = json::parse(good(on_cores({"stat", "--json"}, {"from", "Cu", "ore", "hole"})));
  EXPECT_EQ(stat[0]["unit"], "ft");
  EXPECT_EQ(stat[0]["maximum"], 2085);
  EXPECT_EQ(stat[1]["unit"], "%");
  EXPECT_EQ(stat[2]["unit"], nullptr);
  EXPECT_EQ(json::parse(good(on_cores({"stat", "--json"}, {"from", "--metres"})))[0]["unit"], "m");
  EXPECT_EQ(json::parse(good(on_cores({"read", "--columns"}, {"from", "--last", "1"})))[0]["unit"], "ft");
  const json domains = json::parse(good({"polygons", "--json", "Holes", "Drilling", "domains"}));
  EXPECT_EQ(domains["units"], json({"ft", "ft", "ft"}));
  EXPECT_EQ(domains["lowest"][2], -608);

  // What is read can be written back.
  good(on_cores({"write"}, {"from", "--last", "1"}), "from\n12.5\n");
  EXPECT_EQ(good(on_cores({"read"}, {"from", "--last", "1"})), "from\n12.5\n");
}

TEST_F(commands, refuses_almost_a_unit) {
  const std::string units = good({"units"});
  EXPECT_TRUE(units.starts_with("micr\tMicron\t1e-06 m\n")) << units;
  EXPECT_NE(units.find("\nft\tFoot\t0.3048 m\n"), std::string::npos);
  EXPECT_EQ(json::parse(good({"units", "--json"})).size(), 16U);

  make_directory();
  const auto names = [](const std::string& text, const char* symbol) {
    return text.find("write \"" + std::string(symbol) + "\"") != std::string::npos;
  };
  const std::string table = "x,y,d\n1,2,3\n";
  for (const auto& [wrong, right] : std::initializer_list<std::pair<const char*, const char*>>{
           {"feet", "ft"}, {"FT", "ft"}, {"metre", "m"}}) {
    const strings import = {"import", "points", "S", "D", "P", "-"};
    const auto with = [&](const char* option, const std::string& value) {
      strings arguments = import;
      arguments.insert(arguments.end(), {option, value});
      return arguments;
    };
    EXPECT_TRUE(names(complaint(with("--unit", std::string("d=") + wrong), table), right));
    EXPECT_TRUE(names(complaint(with("--coordinate-unit", wrong), table, 2), right));
    EXPECT_TRUE(names(complaint({"read", "S", "D", "P", "d", "--unit", wrong}, {}, 2), right));
  }
  good({"import", "points", "S", "D", "P", "-", "--unit-text", "d=feet", "--coordinate-unit", "km"}, table);
  EXPECT_TRUE(names(complaint({"new", "variable", "S", "D", "P", "v", "--unit", "Feet"}), "ft"));
  good({"new", "variable", "S", "D", "P", "v", "--unit-text", "metre"});
  complaint({"new", "variable", "S", "D", "P", "w", "--unit-text", "ft"});
  const auto info = [&](const char* variable) {
    return json::parse(good({"info", "--json", "S", "D", "P", variable}));
  };
  EXPECT_EQ(info("d")["length"], false);
  EXPECT_EQ(info("d")["unit symbol"], "feet");
  EXPECT_EQ(info("v")["unit symbol"], "metre");
  EXPECT_EQ(info("X+ Gravity Center")["unit symbol"], "km");
}

}  // namespace
}  // namespace qrd::test

// Truncated packets, impossible counts, and files that are damaged: each ends as it should, and nothing is
// touched that should not be.
#include "end_to_end/hostile.h"
#include "support/layout.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

// Holes / Drilling / cores / Cu.
strings choice_of_copper() {
  return {bytes("CSTUDYSET").text("Holes"), bytes("CDIRSET").text("Drilling"),
          bytes("CFILESET").text("cores"), bytes("CVARSET").text("Cu")};
}

// Requests that would change much, were they whole.
std::map<std::string, bytes> changing_requests() {
  bytes polygon = bytes("CPOLYNEW").text("new").i32(0).f64(0, 1, 2, 3, 4, 5).i64(1).text("c").text("p");
  bytes faults = bytes("CWRITFAUL").i32(1, 0).f64(0).i32(1).text("F").i32(0, 1);
  return {{"write", bytes("CWRITVARF").i64(1, 3).i32(0).f64(0).i64(3).f64(1, 2, 3)},
          {"points", bytes("CPFILENEW").text("new").i64(2).i32(2).f64(1, 2, 3, 4)},
          {"palette", bytes("CPALWRIT").text("Grades").i32(1, 1, 2, 3)},
          {"polygon", polygon.f64(0, 0).i32(3).f64(0, 0, 1, 0, 1, 1)},
          {"comment", bytes("CCOMSET").i32(3, 0).text("text")},
          {"bag", bytes("CVDATWRIT").text("project").i32(1, 0, 1).text("a").i32(4, 2, 1, 2)},
          {"faults", faults.f64(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11).i32(1)}};
}

TEST(bad_input, a_truncated_request_changes_nothing) {
  std::vector<std::pair<std::string, std::string>> cuts;
  for (const auto& [what, packet] : changing_requests()) {
    const std::size_t size = packet.str().size();
    for (std::size_t length : {std::size_t{3}, std::size_t{10}, size / 2, size - 9, size - 1})
      cuts.emplace_back(what + " cut to " + std::to_string(length), packet.str().substr(0, length));
  }
  in_parallel(static_cast<int>(cuts.size()), shipped_root, [&](int i, workspace& space) {
    const auto& [what, beginning] = cuts[static_cast<std::size_t>(i)];
    SCOPED_TRACE(what);
    strings conversation = choice_of_copper();
    conversation.push_back(beginning);
    const ending result = end_of(space.root(), conversation);
    expect_orderly(result);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(space.restore(), strings{});
  });
}

// Values that fit, but for one number, which no request can have.
class one_impossible : public value_source {
 public:
  one_impossible(int place, std::int64_t impossible) : place_(place), impossible_(impossible) {}
  std::int64_t number(const layout_value& value) override {
    if (value.name == "owner") return 3;
    if (value.name == "bit_length") return 8;
    return value.name == "dimension" || value.name == "last" || value.name == "count" ? 2 : 1;
  }
  std::int64_t sent(const layout_value& value, std::int64_t number) override {
    const bool matters =
        value.decides || value.name == "first" || value.name == "last" || value.name == "line";
    if (!matters || numbers++ != place_) return number;
    return value.type == value_type::wide ? impossible_
                                          : std::clamp<std::int64_t>(impossible_, INT32_MIN, INT32_MAX);
  }
  std::string text(const layout_value& /*value*/) override { return "new"; }
  int numbers = 0;  // that say how much follows, or where

 private:
  int place_;
  std::int64_t impossible_;
};

// Each number that says how much follows, and each range, in turn.
TEST(bad_input, impossible_numbers_change_nothing_else) {
  strings requests;
  for (const request_row& row : request_table) {
    // Its root must be the one that is looked after.
    if (std::string_view(row.arguments).find("text path") != std::string_view::npos) continue;
    int places = 1;
    for (int place = 0; place < places; ++place)
      for (const std::int64_t number : {std::int64_t{-1}, std::int64_t{2147483647}, std::int64_t{1} << 61,
                                        std::numeric_limits<std::int64_t>::min()}) {
        one_impossible source(place, number);
        const std::string request = packed_request(row, source, protocol_version);
        places = source.numbers;
        if (places > 0) requests.push_back(request);
      }
  }
  ASSERT_GT(requests.size(), 180u);
  // One server takes several of them: whatever it makes of the first, the next finds it alive or ended.
  constexpr std::size_t each = 6;
  const auto groups = static_cast<int>((requests.size() + each - 1) / each);
  in_parallel(groups, shipped_root, [&](int group, workspace& space) {
    SCOPED_TRACE("group " + std::to_string(group));
    strings conversation = choice_of_copper();
    const std::size_t first = static_cast<std::size_t>(group) * each;
    for (std::size_t i = first; i < std::min(requests.size(), first + each); ++i)
      conversation.push_back(requests[i]);
    expect_orderly(end_of(space.root(), conversation));
    // Of what was there, only the variable that was chosen may be different.
    for (const std::string& path : space.restore()) {
      EXPECT_TRUE(path.starts_with("Holes/QRD/DIRE.1/FILE.2/VARI.16/") || !space.held(path)) << path;
    }
  });
}

// A file of the database is replaced by something else; then everything is listed, described and read.
struct damage : testing::Test {
  // What a damaged file is made of, out of a sound one.
  static strings variants(const std::string& sound) {
    strings made = {"", sound.substr(0, sound.size() / 2), std::string(64, '\xff'), std::string(64, '\0')};
    if (sound.size() > 8) made.push_back(sound.substr(0, 4) + "\x7f\xff\xff\xff" + sound.substr(8));
    std::string larger = sound;
    for (std::size_t i = 7; i < larger.size(); i += 12) larger[i] = '\x7f';
    made.push_back(larger);
    std::string negative = sound;
    for (std::size_t i = 4; i < negative.size(); i += 16) negative[i] = '\xff';
    made.push_back(negative);
    return made;
  }

  static strings walk() {
    strings requests = {bytes("CSTUDYLST").str()};
    const auto ask = [&](const char* name, const bytes& arguments = {}) {
      requests.push_back(bytes(name).raw(arguments).str());
    };
    const auto choose = [&](const char* level, const char* name) { ask(level, bytes(name)); };
    choose("CSTUDYSET", "Holes");
    ask("CDIRLST");
    ask("CPALLST");
    choose("CPALREAD", "Grades");
    ask("CSCALST");
    choose("CSCAREAD", "Zones");
    choose("CDIRSET", "Drilling");
    ask("CVDATREAD", bytes("project").i32(0));
    ask("CFILELST");
    for (const char* file : {"collars", "domains", "cores"}) {
      choose("CFILESET", file);
      ask("CFILEINFO");
      ask("CVARLST");
    }
    ask("CLFILECNT");
    for (const char* variable : {"Cu", "LN+ Line Number (READONLY)", "M[xxxxx]"}) {
      choose("CVARSET", variable);
      ask("CVARINFO");
      ask("CMACROALP");
      ask("CINDSET", bytes().i32(2));
      ask("CREADVARF", bytes().i64(-1, -1).i32(0));
      ask("CREADLINF", bytes().i32(50));
    }
    choose("CVARSET", "hole");
    ask("CREADVARC", bytes().i64(1, 3762).i32(1));
    choose("CFILESET", "domains");
    ask("CPOLYGONS");
    choose("CSTUDYSET", "Archive");
    choose("CDIRSET", "Old data");
    choose("CFILESET", "cube");
    choose("CVARSET", "number");
    ask("CREADVARF", bytes().i64(-1, -1).i32(0));
    ask("CBYE BYE");
    return requests;
  }
};

TEST_F(damage, of_any_file_is_met_in_an_orderly_way) {
  strings paths = {"study_names.def",
                   "DATA",
                   "PAL.0",
                   "Holes/DESCR",
                   "Holes/QRD/DESCR",
                   "Holes/VENDOR.0",
                   "Holes/CSCALE/CSCA.3",
                   "Holes/U_COLOR/PAL.0",
                   "Holes/QRD/DIRE.1/DESCR",
                   "Holes/QRD/DIRE.1/FILE.3/POLYGON",
                   "OLD/ARCHIVE/QRD/DIRE.2/FILE.4/DESCR",
                   "OLD/ARCHIVE/QRD/DIRE.2/FILE.4/VARI.8/DESCR"};
  for (const char* name :
       {"DESCR", "LINE", "VARI.16/DESCR", "VARI.16/DATAVAR", "VARI.24/MACRO", "VARI.24/DATAVAR"})
    paths.push_back("Holes/QRD/DIRE.1/FILE.2/" + std::string(name));

  // The database gets a macro variable first.
  const database sound;
  {
    served server(sound.root());
    server.choose("Holes", "Drilling", "cores");
    server.connection.new_macro_variable("M[xxxxx]", 4);
    server.connection.set_variable("M[xxxxx]");
    server.connection.add_macro_indices(std::vector<std::int32_t>{1, 2});
  }
  std::vector<std::pair<std::string, std::string>> damages;
  for (const std::string& path : paths)
    for (const std::string& content : variants(read_file(sound / path))) damages.emplace_back(path, content);

  in_parallel(static_cast<int>(damages.size()), sound.root().string(), [&](int i, workspace& space) {
    const auto& [path, content] = damages[static_cast<std::size_t>(i)];
    SCOPED_TRACE(path + " damaged in the way " + std::to_string(i));
    write_file(space / path, content);
    expect_orderly(end_of(space.root(), walk()));
    // What may change: the damaged file and what lies beside it, and the old study as it is upgraded.
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    for (const std::string& changed : space.restore())
      EXPECT_TRUE(changed.starts_with(folder) || changed.starts_with("OLD/ARCHIVE/")) << changed;
  });
}

}  // namespace
}  // namespace qrd::test

// A database and its files as tables, against the real server.
#include "qrd/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

#include "support/database.h"

namespace qrd::client {
namespace {

using strings = std::vector<std::string>;
using numbers = std::vector<double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
const file_place cores_place = {"Holes", "Drilling", "cores"};

template <typename Act>
std::string error_of(const Act& act) {
  try {
    act();
  } catch (const error& problem) {
    return problem.what();
  }
  return "";
}

struct opened_copy {
  test::database copy;
  database all{{.root = copy.root()}};
};

TEST(database, things_of_one_database_do_not_disturb_each_other) {
  opened_copy with;
  table cores(with.all, cores_place);
  table collars(with.all, {"Holes", "Drilling", "collars"});
  const column depth = cores.open("z");
  const reading few = {.range = sample_range{1, 3}};
  const numbers first = cores.read(depth, few).numbers;
  EXPECT_EQ(first.size(), 3U);
  const numbers x = collars.read(collars.open("x"), few).numbers;
  with.all.at("Archive");
  EXPECT_EQ(cores.read(depth, few).numbers, first);
  EXPECT_EQ(collars.read(collars.open("x"), few).numbers, x);
  // A unit or a selection of one reading is not that of the next.
  reading metres = few;
  metres.unit = "m";
  EXPECT_EQ(collars.open("x").unit(), "ft");
  EXPECT_NEAR(collars.read(collars.open("x"), metres).numbers[0], x[0] * 0.3048, 1e-6);
  EXPECT_EQ(collars.read(collars.open("x"), few).numbers, x);
}

TEST(database, a_name_that_is_not_there_is_told_with_the_near_ones) {
  opened_copy with;
  try {
    table(with.all, {"Holes", "Drilling", "core"});
    FAIL();
  } catch (const not_found& problem) {
    EXPECT_EQ(problem.name(), "core");
    EXPECT_EQ(problem.near_names(), strings{"cores"});
    EXPECT_EQ(problem.asked(), "CFILESET");
  }
  table cores(with.all, cores_place);
  EXPECT_THROW(cores.open("cu"), not_found);
  EXPECT_THROW(cores.read(cores.open("Cu"), {.selection = "none"}), not_found);
  // A refusal leaves nothing half chosen.
  EXPECT_EQ(cores.read(cores.open("Cu"), {.range = sample_range{2, 2}}).numbers.size(), 1U);
}

TEST(database, a_wait_that_is_given_up_closes_the_connection_and_the_next_use_opens_one) {
  opened_copy with;
  table cores(with.all, cores_place);
  struct given_up {};
  const column copper = cores.open("Cu");
  reading wish;
  wish.progress = [](std::uint64_t, std::uint64_t) { throw given_up(); };
  EXPECT_THROW(cores.read(copper, wish), given_up);
  EXPECT_FALSE(with.all.is_open());
  EXPECT_EQ(cores.read(copper).numbers.size(), 3762U);
  // The same by what is told while a request lasts, also when its values come without a pause.
  with.all.set_wait([] { throw given_up(); });
  EXPECT_THROW(cores.read(copper), given_up);
  EXPECT_THROW(database{with.all.options()}, given_up);
  with.all.set_wait(nullptr);
  EXPECT_EQ(cores.read(copper).numbers.size(), 3762U);
}

TEST(table, reads_lines_by_name_and_columns_of_macros) {
  opened_copy with;
  table cores(with.all, cores_place);
  const std::vector<line> lines = cores.lines();
  ASSERT_EQ(lines.size(), 50U);
  EXPECT_EQ(lines.back().last, 3762);
  const strings holes =
      table(with.all, {"Holes", "Drilling", "collars"}).lines().empty() ? strings{} : strings{"?"};
  EXPECT_TRUE(holes.empty());
  EXPECT_EQ(cores.find_line("2").first, lines[0].last + 1);
  ASSERT_FALSE(lines[3].name.empty());
  EXPECT_EQ(cores.find_line(lines[3].name).number, 4);
  EXPECT_EQ(error_of([&] { cores.find_line("51"); }), "there is no line 51: the file has 50 lines");
}

TEST(table, makes_a_file_whole_or_not_at_all) {
  opened_copy with;
  const file_place place = {"Holes", "Drilling", "made"};
  const numbers coordinates = {1, 2, 3, 10, 20, 30};
  const points_geometry points{2, coordinates};
  EXPECT_EQ(error_of([&] {
              make_file(with.all, place, points, [](table& made) {
                made.make({.name = {"a", {}}});
                throw error("changed my mind");
              });
            }),
            "changed my mind");
  EXPECT_FALSE(with.all.at("Holes", "Drilling").file_exists("made"));
  // The same when the connection breaks meanwhile.
  EXPECT_THROW(make_file(with.all, place, points,
                         [&](table&) {
                           with.all.at_root().abandon();
                           throw protocol_error("gone");
                         }),
               protocol_error);
  EXPECT_FALSE(with.all.at("Holes", "Drilling").file_exists("made"));

  table made = make_file(with.all, place, points, [](table& filled) {
    filled.write(filled.make({.name = {"a", {}}, .unit = "ft"}), numbers{5, nan, -7});
    filled.write(filled.make({.name = {"few", {}}, .bits = 4}), numbers{0, 14, nan});
    filled.write(filled.make({.name = {"ore", {}}, .bits = 1}), numbers{1, nan, 1});
    filled.write(filled.make({.name = {"rock", {}}, .characters = 5}), strings{"slate", "", "lime"});
    filled.write(filled.make(new_variable{parse_variable_name("sim{low}"), 32}), numbers{1, 2, 3});
    filled.write(filled.make(new_variable{parse_variable_name("sim{high}"), 32}), numbers{4, 5, 6});
  });
  EXPECT_EQ(made.samples(), 3);
  const auto read = [&](const char* name, const reading& wish = {}) {
    return made.read(made.open(name), wish).numbers;
  };
  EXPECT_EQ(read("x"), (numbers{1, 2, 3}));
  const numbers a = read("a");
  EXPECT_EQ(a[0], 5);
  EXPECT_TRUE(std::isnan(a[1]));
  EXPECT_EQ(a[2], -7);
  EXPECT_DOUBLE_EQ(read("a", {.unit = "m"})[0], 5 * 0.3048);
  EXPECT_EQ(read("few")[1], 14);
  EXPECT_TRUE(std::isnan(read("few")[2]));
  EXPECT_EQ(read("ore"), (numbers{1, 0, 1}));
  EXPECT_EQ(read("y", {.selection = "ore", .use = selection_use::compressed}), (numbers{10, 30}));
  EXPECT_EQ(made.read(made.open("rock")).texts, (strings{"slate", "", "lime"}));
  EXPECT_EQ(read("sim{high}"), (numbers{4, 5, 6}));
  EXPECT_EQ(made.open_all("sim[xxxxx]").size(), 2U);
  EXPECT_EQ(made.open("sim", "1").title, "sim[1]");

  // What can't be stored is refused before anything is written.
  EXPECT_EQ(error_of([&] {
              made.write(made.open("few"), numbers{1, 2, 15});
            }),
            "the variable \"few\" of 4 bits cannot hold 15");
  EXPECT_EQ(error_of([&] {
              made.write(made.open("rock"), strings{"a", "b", "basalt"});
            }),
            "the variable \"rock\" of 5 characters cannot hold \"basalt\"");
  EXPECT_EQ(error_of([&] { made.write(made.open("a"), numbers{1, 2}); }), "2 values for 3 samples");
  EXPECT_EQ(error_of([&] {
              made.read(made.open("a"), {.range = sample_range{2, 4}});
            }),
            "there are no samples 2 to 4: the file has 3");
  EXPECT_EQ(read("few")[0], 0);

  // In blocks, and only a part.
  numbers seen;
  const std::vector<column> columns = {made.open("y"), made.open("x")};
  made.read(columns, {.range = sample_range{2, 3}}, [&](std::span<const column_values> block) {
    seen.insert(seen.end(), block[0].numbers.begin(), block[0].numbers.end());
    seen.insert(seen.end(), block[1].numbers.begin(), block[1].numbers.end());
  });
  EXPECT_EQ(seen, (numbers{20, 30, 2, 3}));
  made.write(made.open("a"), numbers{8}, {.range = sample_range{3, 3}, .unit = "m"});
  EXPECT_DOUBLE_EQ(read("a")[2], 8 / 0.3048);
}

TEST(table, makes_grids_and_lines) {
  opened_copy with;
  grid_file_geometry grid;
  grid.grid = {2, {100, 200, 0}, {10, 20, 0}, 3, 2, 1};
  grid.angles[0] = 30;
  table turned = make_file(with.all, {"Holes", "Drilling", "g"}, grid);
  EXPECT_EQ(turned.samples(), 6);
  EXPECT_TRUE(turned.info().rotated);
  // The unit of one reading is not that of what is asked next.
  EXPECT_NEAR(turned.read(turned.open("x"), {.unit = "ft"}).numbers[0] * 0.3048, 100, 1e-9);
  turned.refresh();
  EXPECT_EQ(turned.info().origin.x, 100);
  const numbers ends = {1, 2, 0, 0, -5, -9};
  const numbers more = {7, 8, -3};
  const line_geometry lines[] = {{ends, point3{0, 0, 0}}, {more, point3{7, 8, 0}}};
  table cores = make_file(with.all, {"Holes", "Drilling", "l"}, lines_geometry{3, lines});
  ASSERT_EQ(cores.lines().size(), 2U);
  EXPECT_EQ(cores.lines()[0].size(), 2);
  EXPECT_EQ(cores.read(cores.open("z")).numbers, (numbers{-2.5, -7, -1.5}));
}

}  // namespace
}  // namespace qrd::client

#include "formats/text_table.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "formats/numbers.h"
#include "qrd/error.h"

namespace qrd::formats {
namespace {

using strings = std::vector<std::string>;

text_table table_of(std::string_view text, const table_wishes& wishes = {}) {
  return text_table(input::of_text(text), wishes);
}

// The cells of a row with "|" between them, and a row on a line.
std::string rows_of(text_table& table) {
  std::string all;
  table.each_row([&](std::span<const std::string_view> cells, std::size_t line) {
    all += std::to_string(line) + ":";
    for (const std::string_view cell : cells) all.append(" ").append(cell).append("|");
    all += "\n";
    return true;
  });
  return all;
}

std::string problem_of(std::string_view text) {
  try {
    text_table table = table_of(text);
    rows_of(table);
  } catch (const client::error& found) {
    return found.what();
  }
  return "none";
}

TEST(text_table, reads_quotes_and_line_ends) {
  text_table table =
      table_of("\xEF\xBB\xBFname,\"a \"\"b\"\", c\"\r\n\"one\r\n\"\"\"\"two\",1\r\n\r\n,\"\"\nlast, 3 ");
  EXPECT_EQ(table.names(), (strings{"name", "a \"b\", c"}));
  EXPECT_EQ(rows_of(table), "2: one\r\n\"\"two| 1|\n5: | |\n6: last|  3 |\n");
  EXPECT_EQ(rows_of(table), "2: one\r\n\"\"two| 1|\n5: | |\n6: last|  3 |\n");
  text_table single = table_of("a\n1\n\n3\n");
  EXPECT_EQ(rows_of(single), "2: 1|\n3: |\n4: 3|\n");
  text_table old = table_of("a,b\r1,2\r3,4\r");
  EXPECT_EQ(rows_of(old), "2: 1| 2|\n3: 3| 4|\n");
}

TEST(text_table, tells_what_is_wrong) {
  EXPECT_EQ(problem_of("a,b\n1,2\n\"x\ny\",2,3\n"), "line 3 has 3 cells where the first line names 2");
  EXPECT_EQ(problem_of("a\n\"x"), "line 2: a quoted cell has no end");
  EXPECT_EQ(problem_of("a\n\"x\"y\n"), "line 2: text behind a quoted cell");
  for (const char* text : {"", "\n\n", "\xEF\xBB\xBF",
                           "\xFF\xFE"
                           "a",
                           "#\n"})
    EXPECT_NE(problem_of(text), "none") << text;
  EXPECT_NE(problem_of(std::string_view("a\0b\n1\n", 6)), "none");
}

TEST(text_table, finds_how_it_is_made) {
  const struct {
    const char* text;
    const char* rows;
    strings names;
  } cases[] = {
      {"x;y\n1,5;2\n", "2: 1,5| 2|\n", {"x", "y"}},
      {"x\ty z\n1\ta, b\n", "2: 1| a, b|\n", {"x", "y z"}},
      {"x | y\n1|2\n", "2: 1| 2|\n", {"x", "y"}},
      {"  x  y\n 1 \t 2 \n-3 4\n", "2: 1| 2|\n3: -3| 4|\n", {"x", "y"}},
      {"# made by hand\n# more\nx,y\n1,2\n# between\n3,4\n", "4: 1| 2|\n6: 3| 4|\n", {"x", "y"}},
      {"x,y\n1,2\n# between\n3,4\n", "2: 1| 2|\n4: 3| 4|\n", {"x", "y"}},
      {"# x y z\n1 2 3\n", "2: 1| 2| 3|\n", {"x", "y", "z"}},
      {"#id,x\nA1,0\n", "2: A1| 0|\n", {"id", "x"}},
      {"sep=;\na;b\n1;2\n", "3: 1| 2|\n", {"a", "b"}},
      {"'a','b'\n'1,5','x'\n", "2: 1,5| x|\n", {"a", "b"}},
      {"1 2 3 4\n5 6 7 8\n", "1: 1| 2| 3| 4|\n2: 5| 6| 7| 8|\n", {"x", "y", "z", "column 4"}},
      {"name\nfoo bar\nbaz qux\n", "2: foo bar|\n3: baz qux|\n", {"name"}},
      {"a title\n2 of them\nx\n1 2\n", "2: 2 of them|\n3: x|\n4: 1 2|\n", {"a title"}},
      {"a title\n2\nEast\nCu grade\n1 2\n 3\t4e1 \n", "5: 1| 2|\n6: 3| 4e1|\n", {"East", "Cu grade"}},
      {"grid\n1 2 2 1\nv\n1\n2\n", "4: 1|\n5: 2|\n", {"v"}},
      {"depth [ft],m[12],Cu [%]\n1,2,3\n", "2: 1| 2| 3|\n", {"depth", "m[12]", "Cu"}},
  };
  for (const auto& [text, rows, names] : cases) {
    text_table table = table_of(text);
    EXPECT_EQ(table.names(), names) << text;
    EXPECT_EQ(rows_of(table), rows) << text;
  }
  EXPECT_EQ(table_of("depth [ft],m[12]\n").unit_of(0), "ft");
  table_wishes wishes;
  wishes.separator = ';';
  wishes.names = false;
  text_table told = table_of("a,b;2\n", wishes);
  EXPECT_EQ(rows_of(told), "1: a,b| 2|\n");
}

TEST(text_table, finds_columns_by_about_their_names) {
  const text_table table = table_of("X Coord,cu_grade,Cu Grade,b,b\n");
  EXPECT_EQ(table.index_of("xcoord"), 0U);
  EXPECT_EQ(table.index_of("Cu Grade"), 2U);
  EXPECT_EQ(table.find("c"), std::nullopt);
  for (const char* name : {"CUGRADE", "b", "c"}) EXPECT_THROW(table.index_of(name), client::error) << name;
}

TEST(text_table, lets_the_first_odd_cell_decide_what_all_are) {
  text_table commas = table_of("a;b\n1;2\n");
  EXPECT_TRUE(commas.is_number("17"));
  EXPECT_TRUE(commas.is_number("1,5"));
  EXPECT_FALSE(commas.is_number("1.5"));
  text_table points = table_of("a,b\n1,2\n");
  EXPECT_FALSE(points.is_number("1,500"));
  EXPECT_TRUE(points.is_number("1.5"));

  text_table latin = table_of("a\n");
  EXPECT_EQ(latin.text_of("caf\xE9", 2), "caf\xC3\xA9");
  EXPECT_EQ(latin.text_size("\xC3\xA9", 2), 4U);
  text_table utf = table_of("a\n");
  EXPECT_EQ(utf.text_of("caf\xC3\xA9", 2), "caf\xC3\xA9");
  for (const char* text : {"\xE9", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"})
    EXPECT_THROW(utf.text_of(text, 3), client::error) << text;
}

TEST(text_table, unpacks_gzip_and_tells_a_file_that_breaks_off) {
  std::string text = "a,b\n";
  for (int i = 0; i < 20000; ++i) text += std::to_string(i * 7919) + ",x\n";
  std::string packed(text.size() + 100, '\0');
  z_stream stream{};
  ASSERT_EQ(deflateInit2(&stream, 1, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(text.data());
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  ASSERT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);

  text_table table = table_of(packed);
  text_table plain = table_of(text);
  EXPECT_EQ(rows_of(table), rows_of(plain));
  EXPECT_NE(problem_of(packed.substr(0, packed.size() / 2)).find("breaks off"), std::string::npos);
  packed[packed.size() / 2] = static_cast<char>(packed[packed.size() / 2] ^ 0x40);
  EXPECT_NE(problem_of(packed), "none");
}

TEST(numbers, look_like_what_they_are_read_as) {
  for (const char* text :
       {"1", "-1.5", " +2e3 ", ".5", "1.", "123456789012345678", "0.1234567890123456789", "1e-7"}) {
    EXPECT_NE(look_of_number(text), number_look::none) << text;
    EXPECT_EQ(read_number(text, false), std::stod(text)) << text;
  }
  for (const char* text : {"", ".", "-", "1e", "1.2.3", "1,2.3", "0x1", "nan", "1 2", "--1", "e5"}) {
    EXPECT_EQ(look_of_number(text), number_look::none) << text;
    EXPECT_EQ(read_number(text, false), std::nullopt) << text;
    EXPECT_EQ(read_number(text, true), std::nullopt) << text;
  }
  EXPECT_EQ(read_number("-1,25", true), -1.25);
  EXPECT_EQ(read_number("1,5e2", true), 150);
  EXPECT_EQ(read_number("1.5", true), std::nullopt);
  EXPECT_EQ(read_number("1,5", false), std::nullopt);
}

}  // namespace
}  // namespace qrd::formats

#include "qrd/connection.h"

#include <gtest/gtest.h>

#include <functional>

#include "scripted_server.h"
#include "support/bytes.h"

namespace qrd::client {
namespace {

using test::bytes;
using test::client_of;
using test::scripted_server;

std::string done() {
  return bytes().text("SDONE").str();
}

// Holds a call that is answered with SDONE to the bytes it sends.
void expect_sent(const std::string& expected, const std::function<void(connection&)>& act,
                 std::int32_t version = newest_version) {
  scripted_server server({{expected, done()}});
  connection client = client_of(server, version);
  EXPECT_NO_THROW(act(client));
  client.abandon();
}

TEST(connection, handshake_agrees_on_longs) {
  scripted_server server({
      {bytes().text("CHELLO").text("").i32(1300030).str(), bytes().text("SWELCOME").i32(1300030).str()},
      {bytes().text("CARCH").i32(1).str(), bytes().text("SARCH").i32(1).str()},
      {bytes().text("CQRDDATA").text("/data").str(), bytes().text("SOK").str()},
      {bytes().text("CREADVARS").i64(3, 4).str(), bytes().text("SDATAS").i64(2).raw("\1").repeat(1, 0).str()},
      {bytes().text("CARCH").i32(0).str(), bytes().text("SARCH").i32(1).str()},
      {bytes().text("CREADVARS").i32(-1, -1).str(), bytes().text("SDATAS").i32(0).str()},
      {bytes().text("CBYE BYE").str(), bytes().text("SBYE BYE").str()},
  });
  connection client(stream(server.client_end()));
  EXPECT_EQ(client.hello(newest_version), 1300030);
  EXPECT_EQ(client.wire().longs(), long_size::four_bytes);
  EXPECT_TRUE(client.architecture(true));
  client.open_root("/data");
  EXPECT_EQ(client.read_selection(sample_range{3, 4}), (std::vector<std::uint8_t>{1, 0}));
  client.architecture(false);
  EXPECT_TRUE(client.read_selection().empty());
  client.bye();
  EXPECT_THROW(client.studies(), protocol_error);
}

TEST(connection, a_break_is_told_with_what_was_asked) {
  scripted_server server({{bytes().text("CDIRLST").str(), bytes().text("SDIRS").i32(3).text("A").str()}});
  connection client = client_of(server);
  try {
    client.directories();
    ADD_FAILURE() << "it goes on";
  } catch (const protocol_error& broken) {
    EXPECT_STREQ(broken.what(), "the server has closed the connection while listing directories (CDIRLST)");
  }
}

TEST(connection, refusals_carry_the_text_and_the_conversation_goes_on) {
  scripted_server server({
      {bytes().text("CSTUDYSET").text("X").str(), bytes().text("SERROR").text("Study Unknown: \"X\"").str()},
      {bytes().text("CSTUDYLST").str(), bytes().text("SSTUDIES").i32(2).text("A b").text("C/d").str()},
      {bytes().text("CDIRXIST").text("Y").str(), bytes().text("SEXIST").i32(0).str()},
      {bytes().text("CDIRLST").str(), bytes().text("SFILES").str()},
  });
  connection client = client_of(server);
  try {
    client.set_study("X");
    ADD_FAILURE() << "no refusal";
  } catch (const refusal& problem) {
    EXPECT_STREQ(problem.what(), "Study Unknown: \"X\"");
  }
  EXPECT_EQ(client.studies(), (std::vector<std::string>{"A b", "C/d"}));
  EXPECT_THROW(client.directory_exists(std::string(50, 'n')), bad_argument);
  EXPECT_FALSE(client.directory_exists("Y"));
  EXPECT_THROW(client.directories(), protocol_error);
}

TEST(connection, sessions_are_offered_or_not) {
  const std::string request = bytes().text("CNEWSESS").str();
  scripted_server server({{request, bytes().text("SNEWPORT").i32(40001).str()},
                          {request, bytes().text("SNOSESS").str()},
                          {request, bytes().text("SNEWPORT").i32(70000).str()}});
  connection client = client_of(server);
  EXPECT_EQ(client.new_session(), 40001);
  EXPECT_EQ(client.new_session(), std::nullopt);
  EXPECT_THROW(client.new_session(), protocol_error);
}

TEST(connection, ranges_are_sent_to_versions_that_know_them) {
  struct gate {
    std::int32_t version;
    bool numbers;
    bool texts;
  };
  for (const gate& one : {gate{406, false, false},
                          {407, true, false},
                          {409, true, false},
                          {410, false, false},
                          {411, true, false},
                          {699999, true, false},
                          {700000, true, true}}) {
    bytes read_numbers;
    bytes read_texts;
    bytes write_numbers;
    bytes write_texts;
    read_numbers.text("CREADVARF");
    write_numbers.text("CWRITVARF");
    read_texts.text("CREADVARC");
    write_texts.text("CWRITVARC");
    for (bytes* request : {&read_numbers, &write_numbers})
      if (one.numbers) request->i64(2).i64(3);
    for (bytes* request : {&read_texts, &write_texts})
      if (one.texts) request->i64(2).i64(3);
    scripted_server server({
        {read_numbers.i32(1).str(), bytes().text("SDATAF").i64(2).f64(-1, 0.5, -1).str()},
        {read_texts.i32(0).str(), bytes().text("SDATAC").i64(1).text("   ").text("ab ").str()},
        {write_numbers.i32(0).f64(-9).i64(2).f64(0.5, -9).str(), done()},
        {write_texts.i32(1).text("none").i64(2).text("a").text("none").str(), done()},
    });
    connection client = client_of(server, one.version);
    const sample_range range{2, 3};
    const float_samples numbers = client.read_floats(range, selection_use::compressed);
    EXPECT_EQ(numbers.missing, -1);
    EXPECT_EQ(numbers.values, (std::vector<double>{0.5, -1}));
    const text_samples texts = client.read_texts(range);
    EXPECT_EQ(texts.missing, "   ");
    EXPECT_EQ(texts.values, std::vector<std::string>{"ab "});
    client.write_floats(std::vector<double>{0.5, -9}, range, selection_use::masked, -9);
    const std::string names[] = {"a", "none"};
    client.write_texts(names, range, selection_use::compressed, "none");
    client.abandon();
  }
}

TEST(connection, a_new_study_is_sent_as_the_version_knows_it) {
  const bytes named = bytes().text("CSTUDYNEW").text("S");
  for (std::int32_t old : {409, 400000, 400999})
    expect_sent(
        named.str(), [](auto& c) { c.new_study("S", "/p"); }, old);
  for (std::int32_t newer : {410, 399999, 401000, newest_version})
    expect_sent(
        bytes(named).text("/p").str(), [](auto& c) { c.new_study("S", "/p"); }, newer);
}

TEST(connection, optional_arguments) {
  expect_sent(bytes().text("CVARUNIT").i32(1).text("km").str(), [](auto& c) { c.set_variable_unit("km"); });
  expect_sent(bytes().text("CVARUNIT").i32(2).text("km").text("m").str(),
              [](auto& c) { c.set_variable_unit("km", "m"); });
  // Two dimensions send two coordinates of each point.
  expect_sent(bytes().text("CLFILEAPC").i32(1, 2).f64(5, 6, 1, 10).str(), [](auto& c) {
    c.append_cores(2, {5, 6, 7}, std::vector<double>{1, 10});
  });
  expect_sent(bytes().text("CGFILENEW").text("G").i32(2).f64(10, 1).i32(4).f64(20, 2).i32(5).str(),
              [](auto& c) {
                c.new_grid("G", {2, {10, 20, 30}, {1, 2, 3}, 4, 5, 6});
              });
  expect_sent(bytes().text("CVARCOMM").i32(0).text("words").str(),
              [](auto& c) { c.set_variable_comment("words"); });
  expect_sent(bytes().text("CMACROADD").i32(2, 1, 5, 3, 0).str(), [](auto& c) {
    c.add_macro_indices(std::vector<std::int32_t>{5, 3});
  });
  expect_sent(bytes().text("CMACROADD").i32(1, 1, 5, 1).text("five").str(),
              [](auto& c) { c.add_macro_indices(std::vector<std::int32_t>{5}, {{"five"}}); });
}

TEST(connection, new_variables_send_their_unit_as_the_version_knows_it) {
  const number_format format{number_style::shifted, 8, 3};
  bytes head;
  head.text("CVARFNEW").text("V").i32(32, 4, 8, 3);
  for (std::int32_t version : {409, 400000, 400999}) {
    expect_sent(
        bytes(head).text("m").str(), [&](auto& c) { c.new_float_variable("V", 32, format, "m"); }, version);
    expect_sent(
        bytes(head).text("").str(), [&](auto& c) { c.new_float_variable("V", 32, format); }, version);
  }
  for (std::int32_t version : {410, 399999, 401000, newest_version}) {
    expect_sent(
        bytes(head).i32(1).text("m").str(), [&](auto& c) { c.new_float_variable("V", 32, format, "m"); },
        version);
    expect_sent(
        bytes(head).i32(0).str(), [&](auto& c) { c.new_float_variable("V", 32, format); }, version);
  }
  expect_sent(bytes().text("CVARCNEW").text("T").i32(12).str(),
              [](auto& c) { c.new_text_variable("T", 12); });
}

// A cores file of three dimensions, as each version tells it.
TEST(connection, file_information_of_every_version) {
  for (std::int32_t version : {899999, 900000, 1300029, 1300030}) {
    bytes answer;
    answer.text("SFILEINFO").i32(version < 900000 ? 1 : 2).text("collars").i32(0, 1, 3).i64(3762).i32(50);
    for (double value : {0.5, 1.5, 2.5, 10.0, 20.0, 30.0}) answer.f64(value);
    answer.i32(4, 5, 6, 1).f64(30, 10, -5);
    for (const char* name : {"SN", "LN", "RN", "X", "Y", "None"}) answer.text(name);
    if (version >= 900000)
      for (const char* name : {"XB", "YB", "ZB", "XE", "YE", "ZE"}) answer.text(name);
    if (version >= 1300030) answer.text("None");
    for (int value : {1, 1, 27, 36, 1, 3, 2}) answer.i32(value);
    scripted_server server({{bytes().text("CFILEINFO").str(), answer.str()}});
    connection client = client_of(server, version);
    const client::file_info info = client.file_info();
    client.abandon();
    EXPECT_EQ(info.organisation, version < 900000 ? organisation::gravity_lines : organisation::core_lines);
    EXPECT_EQ(info.linked_file, "collars");
    EXPECT_FALSE(info.has_faults);
    EXPECT_TRUE(info.has_polygons);
    EXPECT_EQ(info.samples, 3762);
    EXPECT_EQ(info.lines, 50);
    EXPECT_EQ(info.origin.z, 2.5);
    EXPECT_EQ(info.mesh.x, 10);
    EXPECT_EQ(info.nz, 6);
    EXPECT_TRUE(info.rotated);
    EXPECT_EQ(info.angles[2], -5);
    EXPECT_EQ(info.relative_number, "RN");
    EXPECT_EQ(info.coordinates[1], "Y");
    EXPECT_EQ(info.coordinates[2], std::nullopt);
    EXPECT_EQ(info.core_ends[2].has_value(), version >= 900000);
    EXPECT_EQ(info.line_name, std::nullopt);
    EXPECT_EQ(info.fault_segments, 36);
    EXPECT_EQ(info.fault_priority_limit, 2);
  }
}

TEST(connection, variable_information_of_every_version) {
  for (std::int32_t version : {409, 411, 400000, 401000, 501999, 502000, newest_version}) {
    const bool old = version < 410 || version == 400000;
    bytes answer;
    answer.text("SVARINFO").i32(5, 32, 0, 0, 3).text("Meter");
    if (version < 502000) answer.text("words");
    if (!old) answer.text("m").i32(1);
    scripted_server server({{bytes().text("CVARINFO").str(), answer.str()}});
    connection client = client_of(server, version);
    const client::variable_info info = client.variable_info();
    client.abandon();
    EXPECT_EQ(info.type, variable_type::macro);
    EXPECT_EQ(info.bits, 32);
    EXPECT_EQ(info.indices, 3);
    EXPECT_EQ(info.unit, "Meter");
    EXPECT_EQ(info.comment.has_value(), version < 502000);
    EXPECT_EQ(info.unit_symbol.has_value(), !old);
  }
}

}  // namespace
}  // namespace qrd::client

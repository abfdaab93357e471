#include "qrd/wire.h"

#include <gtest/gtest.h>

#include <numeric>

#include "qrd/error.h"
#include "scripted_server.h"
#include "support/bytes.h"

namespace qrd::client {
namespace {

using test::bytes;
using test::scripted_server;
using namespace std::string_literals;

TEST(packet, every_value_has_its_bytes) {
  packet all("CHELLO");
  all.add_int(-2).add_bool(true).add_long(5000000000).add_double(-2.5).add_string("abcde");
  const std::uint8_t raw[] = {1, 255};
  all.add_bytes(raw);
  EXPECT_EQ(all.bytes(),
            "\0\0\0\6CHELLO\0\0"
            "\xff\xff\xff\xfe"
            "\0\0\0\1"
            "\0\0\0\1\x2a\x05\xf2\0"
            "\xc0\x04\0\0\0\0\0\0"
            "\0\0\0\5abcde\0\0\0"
            "\1\xff"s);
  EXPECT_EQ(packet().add_string("").add_string("four").bytes(), "\0\0\0\0\0\0\0\4four"s);
}

TEST(packet, short_longs_have_4_bytes_and_a_range) {
  packet narrow("CX", long_size::four_bytes);
  narrow.add_long(-2147483648).add_long(2147483647);
  EXPECT_EQ(narrow.bytes(), "\0\0\0\2CX\0\0\x80\0\0\0\x7f\xff\xff\xff"s);
  EXPECT_THROW(narrow.add_long(2147483648), bad_argument);
  EXPECT_THROW(narrow.add_long(-2147483649), bad_argument);
}

TEST(packet, refuses_texts_that_its_field_cannot_hold) {
  EXPECT_NO_THROW(packet("NINECHARS"));
  EXPECT_THROW(packet("TENLETTERS"), bad_argument);
  EXPECT_NO_THROW(packet().add_string(std::string(9999, 'x')));
  EXPECT_THROW(packet().add_string(std::string(10000, 'x')), bad_argument);
}

TEST(stream, reads_every_value) {
  scripted_server server({{"", bytes()
                                   .i32(-7, 9)
                                   .i64(-5000000000)
                                   .i32(-3)
                                   .f64(1.2345e308)
                                   .text("abcde")
                                   .i32(-1)
                                   .text("")
                                   .raw("\1\2\3")
                                   .str()}});
  stream wire(server.client_end());
  EXPECT_EQ(wire.read_int(), -7);
  EXPECT_TRUE(wire.read_bool());
  wire.set_long_size(long_size::eight_bytes);
  EXPECT_EQ(wire.read_long(), -5000000000);
  wire.set_long_size(long_size::four_bytes);
  EXPECT_EQ(wire.read_long(), -3);
  EXPECT_EQ(wire.read_double(), 1.2345e308);
  EXPECT_EQ(wire.read_string(5), "abcde");
  EXPECT_EQ(wire.read_string(5), "");  // absent
  EXPECT_EQ(wire.read_string(5), "");  // empty
  EXPECT_EQ(wire.read_bytes(3), (std::vector<std::uint8_t>{1, 2, 3}));
  EXPECT_THROW(wire.read_int(), protocol_error);
  EXPECT_FALSE(wire.is_open());
}

TEST(stream, large_arrays_travel_whole_in_both_directions) {
  constexpr std::size_t count = 300001;
  std::vector<double> values(count);
  std::iota(values.begin(), values.end(), -1000.25);
  bytes image;
  for (double value : values) image.f64(value);
  const std::string request = packet("CDATA").bytes();
  std::vector<std::pair<std::uint64_t, std::uint64_t>> told;
  {
    scripted_server server({{request + image.str(), image.str()}});
    stream wire(server.client_end());
    wire.set_progress([&](std::uint64_t done, std::uint64_t total) { told.emplace_back(done, total); });
    wire.write(packet("CDATA"));
    wire.write_doubles(values);
    wire.flush();
    EXPECT_EQ(told.back(), (std::pair<std::uint64_t, std::uint64_t>(8 * count, 8 * count)));
    told.clear();
    EXPECT_EQ(wire.read_doubles(count), values);
  }
  ASSERT_GT(told.size(), 2U);
  for (std::size_t i = 1; i < told.size(); ++i) EXPECT_LT(told[i - 1].first, told[i].first);
  EXPECT_EQ(told.back(), (std::pair<std::uint64_t, std::uint64_t>(8 * count, 8 * count)));
}

TEST(stream, wrong_counts_and_lengths_end_the_connection) {
  const std::string answers[] = {bytes().i32(6).raw("abcdef\0\0").str(), bytes().i32(-2).str()};
  for (const std::string& answer : answers) {
    scripted_server server({{"", answer}});
    stream wire(server.client_end());
    EXPECT_THROW(wire.read_string(5), protocol_error);
    EXPECT_THROW(wire.read_int(), protocol_error);
  }
  scripted_server server({});
  stream wire(server.client_end());
  EXPECT_THROW(wire.read_doubles(-1), protocol_error);
}

TEST(stream, a_count_beyond_the_data_takes_little_memory) {
  scripted_server server({{"", bytes().f64(1).str()}});
  stream wire(server.client_end());
  EXPECT_THROW(wire.read_doubles(std::int64_t{1} << 50), protocol_error);
}

TEST(stream, silence_ends_at_the_time_limit) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  stream wire(ends[0]);
  EXPECT_FALSE(wire.wait_readable(std::chrono::milliseconds(1)));
  wire.set_timeout(std::chrono::milliseconds(50));
  EXPECT_THROW(wire.read_int(), protocol_error);
  close(ends[1]);
}

}  // namespace
}  // namespace qrd::client

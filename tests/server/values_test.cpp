#include "wire/values.h"

#include "server/wire.h"
#include "support/test.h"
#include "wire/answer.h"
#include "wire/arguments.h"

namespace qrd::test {
namespace {

using texts = strings;

int write_text(wire& line, const char* text, std::uint32_t limit) {
  return _qrd_write_string(line.near(), &text, limit);
}

TEST(write, each_type_has_its_bytes) {
  wire line;
  const std::int32_t number = -2, no = 0, yes = 77;
  const std::int64_t large = 0x0102030405060708;
  const double value = -1.5;
  connection.client_is_64bits = 1;
  ASSERT_TRUE(_qrd_write_int(line.near(), &number) && _qrd_write_bool(line.near(), &no) &&
              _qrd_write_bool(line.near(), &yes) && _qrd_write_long(line.near(), &large) &&
              _qrd_write_double(line.near(), &value) && _qrd_write_double(line.near(), &missing_double) &&
              write_text(line, "CHELLO", 10) && write_text(line, "", 1) && write_text(line, "abcd", 5) &&
              _qrd_write_bytes(line.near(), "xyz", 3));
  bytes expected = bytes().raw("\xFF\xFF\xFF\xFE").i32(0, 1).raw("\1\2\3\4\5\6\7\10");
  expected.raw({"\xBF\xF8\0\0\0\0\0\0", 8}).raw("\x7F\xE5\xF9\x8E\x6B\xDA\x7F\xBC");
  expected.raw({"\0\0\0\6CHELLO\0\0", 12}).i32(0, 4).raw("abcdxyz");
  EXPECT_EQ(line.all_sends(), texts{expected});
}

TEST(read, each_type_from_its_bytes) {
  wire line;
  connection.client_is_64bits = 1;
  line.arrive(bytes().i32(-2147483647 - 1, -5).i64(INT64_MIN).f64(6.25).text("").text("abcde").raw("xyz"));
  std::int64_t large = 0;
  double value = 0;
  request_text empty, text;
  char raw[3];
  EXPECT_EQ(line.next_int(), INT32_MIN);
  EXPECT_EQ(line.next_int(), -5);
  ASSERT_TRUE(_qrd_read_long(line.near(), &large) && _qrd_read_double(line.near(), &value) &&
              _qrd_read_string(line.near(), empty.address(), 1) &&
              _qrd_read_string(line.near(), text.address(), 6) && _qrd_read_bytes(line.near(), raw, 3));
  EXPECT_EQ(large, INT64_MIN);
  EXPECT_EQ(value, 6.25);
  ASSERT_NE(*empty.address(), nullptr);
  EXPECT_STREQ(empty.c_str(), "");
  EXPECT_STREQ(text.c_str(), "abcde");
  EXPECT_EQ(std::string(raw, 3), "xyz");
}

TEST(write, long_takes_four_bytes_towards_a_small_client) {
  wire line;
  captured_errors errors;
  const std::int64_t lowest = -2147483648LL, highest = 2147483647, below = lowest - 1, above = highest + 1;
  EXPECT_TRUE(_qrd_write_long(line.near(), &lowest));
  EXPECT_TRUE(_qrd_write_long(line.near(), &highest));
  EXPECT_FALSE(_qrd_write_long(line.near(), &below));
  EXPECT_FALSE(_qrd_write_long(line.near(), &above));
  EXPECT_EQ(line.all_sends(), texts{std::string("\x80\0\0\0\x7F\xFF\xFF\xFF", 8)});
  EXPECT_EQ(captured_errors::texts(), texts(2, "_qrd_write_long(): Server & Client are not both 64 bits"));

  line.arrive(bytes().i32(-7).i64(-7));
  std::int64_t value = 0;
  ASSERT_TRUE(_qrd_read_long(line.near(), &value));
  EXPECT_EQ(value, -7);
  connection.client_is_64bits = 1;
  connection.server_is_64bits = 0;
  std::int64_t half = 0;
  ASSERT_TRUE(_qrd_read_long(line.near(), &half));
  connection.server_is_64bits = 1;
  EXPECT_EQ(half, -1) << "both sides must be 64-bit";
}

TEST(strings, limits_count_the_terminator) {
  wire line;
  line.arrive(bytes("123456789").text("1234567890"));
  char name[11] = "";
  char* destination = name;
  EXPECT_TRUE(_qrd_read_string(line.near(), &destination, 10));
  EXPECT_STREQ(name, "123456789");
  EXPECT_FALSE(_qrd_read_string(line.near(), &destination, 10));
  EXPECT_EQ(line.next_int(), 0x31323334) << "the characters of the refused text are still there";

  EXPECT_TRUE(write_text(line, "1234567890", 11));
  EXPECT_FALSE(write_text(line, "12345678901", 11));
  EXPECT_EQ(line.all_sends(), texts{bytes("1234567890").i32(11).str()});
}

TEST(strings, minus_one_is_no_text_and_other_negatives_are_refused) {
  wire line;
  line.arrive(bytes().i32(-1, -1, -2, -2147483647 - 1));
  char* absent = nullptr;
  EXPECT_TRUE(_qrd_read_string(line.near(), &absent, text_limit));
  EXPECT_EQ(absent, nullptr);
  char kept[10] = "before";
  char* destination = kept;
  EXPECT_TRUE(_qrd_read_string(line.near(), &destination, 10));
  EXPECT_STREQ(kept, "before");
  EXPECT_FALSE(_qrd_read_string(line.near(), &destination, 10));
  EXPECT_FALSE(_qrd_read_string(line.near(), &absent, text_limit));
  EXPECT_EQ(absent, nullptr);
}

TEST(strings, unlimited_ones_grow_as_they_arrive) {
  for (std::size_t size : {65534U, 65535U, 65536U, 65537U, 131072U, 300001U}) {
    wire line(SOCK_STREAM);
    std::string expected(size, 'a');
    for (std::size_t i = 0; i < size; i += 97) expected[i] = static_cast<char>('b' + i % 20);
    std::thread client([&] {
      std::string data = bytes(expected).i32(4711).str();
      for (std::size_t done = 0; done < data.size();)
        done += static_cast<std::size_t>(::send(line.far(), data.data() + done, data.size() - done, 0));
    });
    request_text text;
    EXPECT_TRUE(_qrd_read_string(line.near(), text.address(), unlimited_text));
    EXPECT_TRUE(expected == text.c_str()) << size;
    EXPECT_EQ(line.next_int(), 4711);
    client.join();
  }
}

TEST(strings, a_huge_announcement_takes_no_memory_before_it_arrives) {
  wire line(SOCK_STREAM);
  connection.client_socket = line.near();
  line.arrive(bytes().i32(-2).raw("only this"));
  line.hang_up();
  char* text = nullptr;
  EXPECT_FALSE(_qrd_read_string(line.near(), &text, unlimited_text));
  EXPECT_EQ(text, nullptr);

  wire other(SOCK_STREAM);
  connection.client_socket = other.near();
  other.arrive(bytes("one").i32(-1));
  other.hang_up();
  request_texts many;
  EXPECT_FALSE(many.allocate(std::numeric_limits<std::int64_t>::max() / 2)) << "no memory has so many places";
  ASSERT_TRUE(many.allocate(100'000'000));
  EXPECT_FALSE(many.read());
  EXPECT_STREQ(many[0], "one");
  EXPECT_STREQ(many[1], "");
  EXPECT_EQ(many.data()[1], nullptr);
  connection.client_socket = no_socket;
}

TEST(strings, an_array_of_many_texts_is_read_whole) {
  constexpr std::int64_t count = 5000;
  wire line(SOCK_STREAM);
  connection.client_socket = line.near();
  std::thread client([&] {
    for (std::int64_t i = 0; i < count; ++i) line.arrive(bytes("text " + std::to_string(i)));
  });
  request_texts many;
  EXPECT_TRUE(many.allocate(count));
  EXPECT_TRUE(many.read());
  client.join();
  for (std::int64_t i = 0; i < count; ++i) ASSERT_EQ(many[i], "text " + std::to_string(i));
  connection.client_socket = no_socket;
}

TEST(value_trace, has_a_line_for_each_value) {
  wire line;
  const std::int32_t number = -3, truth = 8;
  const std::int64_t large = 1LL << 40, small = 12;
  const double value = 0.1;
  {
    captured_trace trace(5);
    connection.client_is_64bits = 1;
    _qrd_write_long(line.near(), &large);
    connection.client_is_64bits = 0;
    _qrd_write_long(line.near(), &small);
    _qrd_write_double(line.near(), &value);
    _qrd_write_bool(line.near(), &truth);
    write_text(line, "100%s", 10);
    _qrd_write_int(no_socket, &number);
    _qrd_flush_write(line.near());
    _qrd_flush_write(line.near());
    EXPECT_EQ(trace.text(),
              "Write Long(64bits)(1099511627776)\nWrite Long(64->32bits)(12)\nWrite Dbl(0.1)\nWrite Int(1)\n"
              "Write Str(100%s)\nWrite Int(-3)\n"
              "Flushing Write buffer (36 bytes)\nEmptying Write buffer\n"
              "Flushing Write buffer (0 bytes)\nEmptying Write buffer\n");
  }
  // What was sent comes back.
  line.arrive(line.sends().at(0));
  captured_trace reading(5);
  std::int64_t wide = 0;
  double back = 0;
  std::int32_t flag = 0;
  request_text text;
  connection.client_is_64bits = 1;
  _qrd_read_long(line.near(), &wide);
  connection.client_is_64bits = 0;
  _qrd_read_long(line.near(), &wide);
  _qrd_read_double(line.near(), &back);
  _qrd_read_int(line.near(), &flag);
  _qrd_read_string(line.near(), text.address(), 10);
  EXPECT_EQ(reading.text(),
            "Flushing Read buffer (0 bytes)\nRead Long(64bits)(1099511627776)\nRead Long(32->64bits)(12)\n"
            "Read Dbl(0.1)\nRead Int(1)\nRead Str(100%s)\n");
}

}  // namespace
}  // namespace qrd::test

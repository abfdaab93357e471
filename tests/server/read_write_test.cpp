#include "wire/read_write.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <cmath>
#include <csignal>
#include <limits>
#include <numeric>
#include <span>
#include <thread>

#include "server/wire.h"
#include "support/bytes.h"
#include "util/qu_constants.h"
#include "wire/answering.h"

namespace qrd::test {
namespace {

using texts = std::vector<std::string>;

texts write_all(wire& line, const std::vector<std::int32_t>& values) {
  for (std::int32_t value : values) EXPECT_NE(_qrd_write_int(line.near(), &value), 0);
  return line.sends();
}

int write_text(wire& line, const char* text, std::uint32_t limit) {
  return _qrd_write_string(line.near(), &text, limit);
}

TEST(write, each_type_has_its_bytes) {
  wire line;
  const std::int32_t number = -2, no = 0, yes = 77;
  const std::int64_t large = 0x0102030405060708;
  const double value = -1.5;
  client_is_64bits = 1;
  ASSERT_TRUE(_qrd_write_int(line.near(), &number) && _qrd_write_bool(line.near(), &no) &&
              _qrd_write_bool(line.near(), &yes) && _qrd_write_long(line.near(), &large) &&
              _qrd_write_double(line.near(), &value) && _qrd_write_double(line.near(), &missing_double) &&
              write_text(line, "CHELLO", 10) && write_text(line, "", 1) && write_text(line, "abcd", 5) &&
              _qrd_write_bytes(line.near(), "xyz", 3));
  EXPECT_EQ(line.all_sends(), texts{bytes()
                                        .raw("\xFF\xFF\xFF\xFE")
                                        .i32(0, 1)
                                        .raw("\1\2\3\4\5\6\7\10")
                                        .raw(std::string_view("\xBF\xF8\0\0\0\0\0\0", 8))
                                        .raw("\x7F\xE5\xF9\x8E\x6B\xDA\x7F\xBC")
                                        .raw(std::string_view("\0\0\0\6CHELLO\0\0", 12))
                                        .i32(0, 4)
                                        .raw("abcdxyz")
                                        .str()});
}

TEST(read, each_type_from_its_bytes) {
  wire line;
  client_is_64bits = 1;
  line.arrive(bytes()
                  .i32(-2147483647 - 1, -5)
                  .i64(std::numeric_limits<std::int64_t>::min())
                  .f64(6.25)
                  .text("")
                  .text("abcde")
                  .raw("xyz")
                  .str());
  std::int32_t number = 0, second = 0;
  std::int64_t large = 0;
  double value = 0;
  request_text empty, text;
  char raw[3];
  ASSERT_TRUE(_qrd_read_int(line.near(), &number) && _qrd_read_int(line.near(), &second) &&
              _qrd_read_long(line.near(), &large) && _qrd_read_double(line.near(), &value) &&
              _qrd_read_string(line.near(), empty.address(), 1) &&
              _qrd_read_string(line.near(), text.address(), 6) && _qrd_read_bytes(line.near(), raw, 3));
  EXPECT_EQ(number, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(second, -5);
  EXPECT_EQ(large, std::numeric_limits<std::int64_t>::min());
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

  line.arrive(bytes().i32(-7).i64(-7).str());
  std::int64_t value = 0;
  ASSERT_TRUE(_qrd_read_long(line.near(), &value));
  EXPECT_EQ(value, -7);
  client_is_64bits = 1;
  server_is_64bits = 0;
  std::int64_t half = 0;
  ASSERT_TRUE(_qrd_read_long(line.near(), &half));
  server_is_64bits = 1;
  EXPECT_EQ(half, -1) << "both sides must be 64-bit";
}

TEST(write, a_full_buffer_is_sent_at_once) {
  wire line;
  std::vector<std::int32_t> values(256);
  std::iota(values.begin(), values.end(), 0);
  values.pop_back();
  EXPECT_EQ(write_all(line, values), texts{});
  texts sent = write_all(line, {255});
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent[0].size(), 1024U);
  EXPECT_EQ(sent[0].substr(0, 8), bytes().i32(0, 1).str());
  EXPECT_EQ(sent[0].substr(1020), bytes().i32(255).str());
  EXPECT_EQ(line.all_sends(), texts{});
}

TEST(write, a_double_straddles_two_sends_and_a_long_does_not) {
  wire line;
  client_is_64bits = 1;
  write_all(line, std::vector<std::int32_t>(255, 9));
  const double value = 1.5;
  ASSERT_TRUE(_qrd_write_double(line.near(), &value));
  texts sent = line.sends();
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent[0].substr(1020), bytes().f64(1.5).str().substr(0, 4));
  EXPECT_EQ(line.all_sends(), texts{bytes().f64(1.5).str().substr(4)});

  write_all(line, std::vector<std::int32_t>(255, 9));
  const std::int64_t large = 5;
  ASSERT_TRUE(_qrd_write_long(line.near(), &large));
  sent = line.all_sends();
  ASSERT_EQ(sent.size(), 2U);
  EXPECT_EQ(sent[0].size(), 1020U);
  EXPECT_EQ(sent[1], bytes().i64(5).str());
}

TEST(write, a_large_block_goes_out_in_full_buffers) {
  wire line;
  std::string block;
  for (int i = 0; i < 2500; ++i) block += static_cast<char>(i * 7);
  write_all(line, {1, 2});
  ASSERT_TRUE(_qrd_write_bytes(line.near(), block.data(), 2500));
  EXPECT_EQ(line.all_sends(), (texts{bytes().i32(1, 2).str(), block.substr(0, 1024), block.substr(1024, 1024),
                                     block.substr(2048)}));
  write_all(line, {1});
  ASSERT_TRUE(_qrd_write_bytes(line.near(), block.data(), 1020)) << "fits behind what is there";
  EXPECT_EQ(line.sends(), texts{bytes().i32(1).str() + block.substr(0, 1020)});
}

TEST(write, without_a_socket_nothing_is_touched) {
  wire line;
  write_all(line, {1});
  const std::int32_t number = 2;
  const std::int64_t large = 2;
  const double value = 2;
  EXPECT_FALSE(_qrd_write_int(no_socket, &number));
  EXPECT_FALSE(_qrd_write_long(no_socket, &large));
  EXPECT_FALSE(_qrd_write_double(no_socket, &value));
  EXPECT_FALSE(_qrd_write_double_array(no_socket, &value, 1));
  EXPECT_FALSE(_qrd_write_bytes(no_socket, "a", 1));
  EXPECT_TRUE(_qrd_write_bytes(no_socket, "a", 0));
  EXPECT_EQ(line.all_sends(), texts{bytes().i32(1).str()});
}

TEST(write, a_closed_peer_is_a_failure_and_the_bytes_are_dropped) {
  wire line;
  line.hang_up();
  const std::int32_t number = 2;
  ASSERT_TRUE(_qrd_write_int(line.near(), &number));
  EXPECT_FALSE(_qrd_flush_write(line.near()));
  EXPECT_TRUE(_qrd_flush_write(line.near())) << "nothing is left to send";
}

TEST(strings, limits_count_the_terminator) {
  wire line;
  line.arrive(bytes().text("123456789").text("1234567890").str());
  char name[11] = "";
  char* destination = name;
  EXPECT_TRUE(_qrd_read_string(line.near(), &destination, 10));
  EXPECT_STREQ(name, "123456789");
  EXPECT_FALSE(_qrd_read_string(line.near(), &destination, 10));
  std::int32_t next = 0;
  ASSERT_TRUE(_qrd_read_int(line.near(), &next));
  EXPECT_EQ(next, 0x31323334) << "the characters of the refused text are still there";

  EXPECT_TRUE(write_text(line, "1234567890", 11));
  EXPECT_FALSE(write_text(line, "12345678901", 11));
  EXPECT_EQ(line.all_sends(), texts{bytes().text("1234567890").i32(11).str()});
}

TEST(strings, minus_one_is_no_text_and_other_negatives_are_refused) {
  wire line;
  line.arrive(bytes().i32(-1, -1, -2, -2147483647 - 1).str());
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
      std::string data = bytes().text(expected).i32(4711).str();
      for (std::size_t done = 0; done < data.size();)
        done += static_cast<std::size_t>(::send(line.far(), data.data() + done, data.size() - done, 0));
    });
    request_text text;
    EXPECT_TRUE(_qrd_read_string(line.near(), text.address(), unlimited_text));
    EXPECT_TRUE(expected == text.c_str()) << size;
    std::int32_t next = 0;
    EXPECT_TRUE(_qrd_read_int(line.near(), &next));
    EXPECT_EQ(next, 4711);
    client.join();
  }
}

TEST(strings, a_huge_announcement_takes_no_memory_before_it_arrives) {
  wire line(SOCK_STREAM);
  client_socket = line.near();
  line.arrive(bytes().i32(-2).raw("only this").str());
  line.hang_up();
  char* text = nullptr;
  EXPECT_FALSE(_qrd_read_string(line.near(), &text, unlimited_text));
  EXPECT_EQ(text, nullptr);

  wire other(SOCK_STREAM);
  client_socket = other.near();
  other.arrive(bytes().text("one").i32(-1).str());
  other.hang_up();
  request_texts many;
  EXPECT_FALSE(many.allocate(std::numeric_limits<std::int64_t>::max() / 2)) << "no memory has so many places";
  ASSERT_TRUE(many.allocate(100'000'000));
  EXPECT_FALSE(many.read());
  EXPECT_STREQ(many[0], "one");
  EXPECT_STREQ(many[1], "");
  EXPECT_EQ(many.data()[1], nullptr);
  client_socket = no_socket;
}

TEST(strings, an_array_of_many_texts_is_read_whole) {
  constexpr std::int64_t count = 5000;
  wire line(SOCK_STREAM);
  client_socket = line.near();
  std::thread client([&] {
    for (std::int64_t i = 0; i < count; ++i) line.arrive(bytes().text("text " + std::to_string(i)).str());
  });
  request_texts many;
  EXPECT_TRUE(many.allocate(count));
  EXPECT_TRUE(many.read());
  client.join();
  for (std::int64_t i = 0; i < count; ++i) ASSERT_EQ(many[i], "text " + std::to_string(i));
  client_socket = no_socket;
}

TEST(read, an_end_in_the_middle_of_a_value_fails) {
  wire line(SOCK_STREAM);
  line.arrive(bytes().i32(1).raw("\1\2").str());
  line.hang_up();
  std::int32_t number = 0;
  EXPECT_TRUE(_qrd_read_int(line.near(), &number));
  EXPECT_FALSE(_qrd_read_int(line.near(), &number));
  EXPECT_EQ(number, 1);
  char raw[3];
  EXPECT_FALSE(_qrd_read_bytes(line.near(), raw, 3));
}

// Clients of one process share the buffer of both directions: an answer overwrites what came too early.
TEST(buffer, an_answer_overwrites_unread_bytes) {
  wire line;
  line.arrive(bytes().i32(1, 2, 3).str());
  std::int32_t number = 0;
  ASSERT_TRUE(_qrd_read_int(line.near(), &number));
  write_all(line, {10, 20});
  ASSERT_TRUE(_qrd_read_int(line.near(), &number));
  EXPECT_EQ(number, 20);
  ASSERT_TRUE(_qrd_read_int(line.near(), &number));
  EXPECT_EQ(number, 3);
}

// Arrays must not be told from a loop over their elements: the same sends, from every position.
TEST(arrays, are_sent_like_their_elements) {
  std::vector<double> values(400);
  std::vector<std::int32_t> numbers(700);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = std::sin(static_cast<double>(i));
  std::iota(numbers.begin(), numbers.end(), -300);
  wire line;
  const std::string before(1024, 'x');
  for (std::int64_t offset : {0, 1, 3, 4, 7, 8, 1013, 1016, 1019, 1020, 1023}) {
    for (std::int64_t count : {1, 2, 127, 128, 129, 400}) {
      SCOPED_TRACE(testing::Message() << offset << " " << count);
      _qrd_write_bytes(line.near(), before.data(), offset);
      for (std::int64_t i = 0; i < count; ++i)
        _qrd_write_double(line.near(), &values[static_cast<std::size_t>(i)]);
      texts expected = line.all_sends();
      _qrd_write_bytes(line.near(), before.data(), offset);
      ASSERT_TRUE(_qrd_write_double_array(line.near(), values.data(), count));
      EXPECT_EQ(line.all_sends(), expected);

      _qrd_write_bytes(line.near(), before.data(), offset);
      for (std::int64_t i = 0; i < count; ++i)
        _qrd_write_int(line.near(), &numbers[static_cast<std::size_t>(i)]);
      expected = line.all_sends();
      _qrd_write_bytes(line.near(), before.data(), offset);
      ASSERT_TRUE(_qrd_write_int_array(line.near(), numbers.data(), count));
      EXPECT_EQ(line.all_sends(), expected);
    }
  }
}

// The fills of the buffer are told at trace level 5.
std::vector<std::string> fills(const std::string& trace) {
  std::vector<std::string> lines;
  for (std::size_t at = trace.find("Flushing Read"); at != std::string::npos;
       at = trace.find("Flushing Read", at + 1))
    lines.push_back(trace.substr(at, trace.find('\n', at) - at));
  return lines;
}

TEST(arrays, are_read_like_their_elements) {
  constexpr std::int64_t count = 1000;
  std::vector<double> values(count);
  for (std::int64_t i = 0; i < count; ++i)
    values[static_cast<std::size_t>(i)] = 1.0 / static_cast<double>(i + 1);
  for (std::size_t offset : {0U, 1U, 4U, 6U}) {
    bytes data;
    data.repeat(offset, 'x');
    for (double value : values) data.f64(value);
    char skipped[8];

    std::vector<double> one_by_one(count), whole(count);
    std::vector<std::string> expected_fills;
    {
      wire line(SOCK_STREAM);
      line.arrive(data.str());
      captured_trace trace(5);
      _qrd_read_bytes(line.near(), skipped, static_cast<std::int64_t>(offset));
      for (double& value : one_by_one) ASSERT_TRUE(_qrd_read_double(line.near(), &value));
      expected_fills = fills(trace.text());
    }
    wire line(SOCK_STREAM);
    line.arrive(data.str());
    captured_trace trace(5);
    _qrd_read_bytes(line.near(), skipped, static_cast<std::int64_t>(offset));
    ASSERT_TRUE(_qrd_read_double_array(line.near(), whole.data(), count));
    EXPECT_EQ(one_by_one, values);
    EXPECT_EQ(whole, values);
    EXPECT_EQ(fills(trace.text()), expected_fills);
  }
}

TEST(arrays, a_trace_shows_ten_values) {
  wire line;
  const std::vector<std::int32_t> values = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const std::string ten =
      "Write Int(1)\nWrite Int(2)\nWrite Int(3)\nWrite Int(4)\nWrite Int(5)\nWrite Int(6)\nWrite Int(7)\n"
      "Write Int(8)\nWrite Int(9)\nWrite Int(10)\n";
  {
    captured_trace trace(3);
    _qrd_write_int_array(line.near(), values.data(), 10);
    EXPECT_EQ(trace.text(), ten);
  }
  {
    captured_trace trace(3);
    _qrd_write_int_array(line.near(), values.data(), 12);
    const std::int32_t after = 99;
    _qrd_write_int(line.near(), &after);
    EXPECT_EQ(trace.text(), ten + "... + some other 2 values\nWrite Int(99)\n");
  }
  const char* names[11] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"};
  captured_trace trace(3);
  _qrd_write_string_array(line.near(), names, 11);
  EXPECT_EQ(
      trace.text(),
      "Write Str(a)\nWrite Str(b)\nWrite Str(c)\nWrite Str(d)\nWrite Str(e)\nWrite Str(f)\nWrite Str(g)\n"
      "Write Str(h)\nWrite Str(i)\nWrite Str(j)\n... + some other 1 values\n");
}

// In whatever blocks the code moves it.
TEST(arrays, a_trace_shows_ten_values_of_all_parts) {
  wire line;
  const std::vector<double> values = {0.5, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  const std::string ten =
      "Write Dbl(0.5)\nWrite Dbl(1)\nWrite Dbl(2)\nWrite Dbl(3)\nWrite Dbl(0.5)\nWrite Dbl(1)\n"
      "Write Dbl(2)\nWrite Dbl(3)\nWrite Dbl(0.5)\nWrite Dbl(1)\n";
  captured_trace trace(3);
  {
    array_in_parts whole(28);
    for (int part = 0; part < 7; ++part) _qrd_write_double_array(line.near(), values.data(), 4);
  }
  EXPECT_EQ(trace.text(), ten + "... + some other 18 values\n");
  _qrd_write_double_array(line.near(), values.data(), 1);
  EXPECT_EQ(trace.text(), ten + "... + some other 18 values\nWrite Dbl(0.5)\n");
  {
    array_in_parts whole(11);
    const char* names[] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"};
    _qrd_write_string_array(line.near(), names, 10);
    _qrd_write_string_array(line.near(), names + 10, 1);
  }
  EXPECT_TRUE(trace.text().ends_with("Write Str(j)\n... + some other 1 values\n")) << trace.text();
  _qrd_write_double_pieces(line.near(), 11, [&] { return std::span<const double>(values).first(4); });
  EXPECT_TRUE(trace.text().ends_with("\n" + ten + "... + some other 1 values\n")) << trace.text();
}

TEST(value_trace, has_a_line_for_each_value) {
  wire line;
  const std::int32_t number = -3, truth = 8;
  const std::int64_t large = 1LL << 40, small = 12;
  const double value = 0.1;
  {
    captured_trace trace(5);
    client_is_64bits = 1;
    _qrd_write_long(line.near(), &large);
    client_is_64bits = 0;
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
  client_is_64bits = 1;
  _qrd_read_long(line.near(), &wide);
  client_is_64bits = 0;
  _qrd_read_long(line.near(), &wide);
  _qrd_read_double(line.near(), &back);
  _qrd_read_int(line.near(), &flag);
  _qrd_read_string(line.near(), text.address(), 10);
  EXPECT_EQ(reading.text(),
            "Flushing Read buffer (0 bytes)\nRead Long(64bits)(1099511627776)\nRead Long(32->64bits)(12)\n"
            "Read Dbl(0.1)\nRead Int(1)\nRead Str(100%s)\n");
}

// A signal that cuts a send short must not cut the data short.
TEST(write, signals_lose_no_bytes) {
  wire line(SOCK_STREAM);
  const int small = 2048;
  setsockopt(static_cast<int>(line.near()), SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  constexpr std::size_t count = 100'000;
  std::vector<double> values(count);
  std::iota(values.begin(), values.end(), 0.5);
  std::string received;
  sigset_t alarm_only;
  sigemptyset(&alarm_only);
  sigaddset(&alarm_only, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm_only, nullptr);
  std::thread reader([&] {
    char part[700];
    for (ssize_t size = 1; (size = recv(line.far(), part, sizeof part, 0)) > 0;)
      received.append(part, static_cast<std::size_t>(size));
  });
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  pthread_sigmask(SIG_UNBLOCK, &alarm_only, nullptr);
  const itimerval often = {{0, 200}, {0, 200}};
  setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_TRUE(_qrd_write_double_array(line.near(), values.data(), count));
  EXPECT_TRUE(_qrd_flush_write(line.near()));
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  shutdown(static_cast<int>(line.near()), SHUT_WR);
  reader.join();

  bytes expected;
  for (double value : values) expected.f64(value);
  EXPECT_TRUE(received == expected.str()) << received.size();
}

}  // namespace
}  // namespace qrd::test

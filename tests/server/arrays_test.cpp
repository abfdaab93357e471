#include "wire/arrays.h"

#include "server/wire.h"
#include "support/test.h"
#include "wire/values.h"

namespace qrd::test {
namespace {

using texts = strings;

// Arrays must not be told from a loop over their elements: the same sends, from every position.
TEST(arrays, are_sent_like_their_elements) {
  // More than sends that leave together.
  std::vector<double> values(6000);
  std::vector<std::int32_t> numbers(6000);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = std::sin(static_cast<double>(i));
  std::iota(numbers.begin(), numbers.end(), -300);
  const std::vector<big_endian<double>> kept_values(values.begin(), values.end());
  const std::vector<big_endian<std::int32_t>> kept_numbers(numbers.begin(), numbers.end());
  wire line;
  const std::string before(1024, 'x');
  for (std::int64_t offset : {0, 1, 3, 4, 7, 8, 1013, 1016, 1019, 1020, 1023}) {
    for (std::int64_t count : {1, 2, 127, 128, 129, 400, 6000}) {
      SCOPED_TRACE(testing::Message() << offset << " " << count);
      _qrd_write_bytes(line.near(), before.data(), offset);
      for (std::int64_t i = 0; i < count; ++i)
        _qrd_write_double(line.near(), &values[static_cast<std::size_t>(i)]);
      texts expected = line.all_sends();
      _qrd_write_bytes(line.near(), before.data(), offset);
      ASSERT_TRUE(_qrd_write_double_array(line.near(), values.data(), count));
      EXPECT_EQ(line.all_sends(), expected);
      _qrd_write_bytes(line.near(), before.data(), offset);
      ASSERT_TRUE(_qrd_write_kept_doubles(line.near(), kept_values.data(), count));
      EXPECT_EQ(line.all_sends(), expected);

      _qrd_write_bytes(line.near(), before.data(), offset);
      for (std::int64_t i = 0; i < count; ++i)
        _qrd_write_int(line.near(), &numbers[static_cast<std::size_t>(i)]);
      expected = line.all_sends();
      _qrd_write_bytes(line.near(), before.data(), offset);
      ASSERT_TRUE(_qrd_write_int_array(line.near(), numbers.data(), count));
      EXPECT_EQ(line.all_sends(), expected);
      _qrd_write_bytes(line.near(), before.data(), offset);
      ASSERT_TRUE(_qrd_write_kept_ints(line.near(), kept_numbers.data(), count));
      EXPECT_EQ(line.all_sends(), expected);
    }
  }
}

TEST(arrays, of_texts_are_sent_like_their_elements) {
  wire line;
  texts words;
  for (std::size_t i = 0; i < 3000; ++i) words.emplace_back(i % 37, 'a');
  std::vector<const char*> pointers;
  for (const std::string& word : words) {
    pointers.push_back(word.c_str());
    ASSERT_TRUE(_qrd_write_string(line.near(), &pointers.back(), unlimited_text));
  }
  const texts expected = line.all_sends();
  EXPECT_GT(expected.size(), 32U);
  ASSERT_TRUE(_qrd_write_string_array(line.near(), pointers.data(), 3000));
  EXPECT_EQ(line.all_sends(), expected);
}

// The fills of the buffer are told at trace level 5.
strings fills(const std::string& trace) {
  strings lines;
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
    bytes data = bytes().repeat(offset, 'x');
    data.f64(values);
    char skipped[8];

    enum way { elements, whole, kept, whole_untold, kept_untold };
    strings fills_of[5];
    for (const way each : {elements, whole, kept, whole_untold, kept_untold}) {
      wire line(SOCK_STREAM);
      line.arrive(data);
      captured_trace trace(each >= whole_untold ? 0 : 5);
      _qrd_read_bytes(line.near(), skipped, static_cast<std::int64_t>(offset));
      std::vector<double> read(count);
      if (each == whole || each == whole_untold) {
        EXPECT_TRUE(_qrd_read_double_array(line.near(), read.data(), count));
      }
      for (std::size_t i = 0; each == elements && i < count; ++i)
        ASSERT_TRUE(_qrd_read_double(line.near(), &read[i]));
      if (each == kept || each == kept_untold) {
        std::vector<big_endian<double>> images(count);
        EXPECT_TRUE(_qrd_read_kept_doubles(line.near(), images.data(), count));
        read.assign(images.begin(), images.end());
      }
      EXPECT_EQ(read, values);
      fills_of[each] = fills(trace.text());
    }
    EXPECT_EQ(fills_of[elements], fills_of[whole]);
    EXPECT_EQ(fills_of[elements], fills_of[kept]);
  }
}

// A pipe that doesn't block takes part of what leaves together, down to a part of one send.
TEST(arrays, go_on_where_the_system_stopped) {
  wire line;
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  fcntl(ends[1], F_SETPIPE_SZ, 4096);
  const auto before = connection;
  connection.client_socket = line.near();
  connection.client_carrier = carrier::pipes;
  connection.answer_pipe = ends[1];
  connection.is_waited_for = true;

  std::vector<double> values(100'000);
  std::iota(values.begin(), values.end(), 0.25);
  std::string received;
  std::thread reader([&] {
    char part[777];
    for (ssize_t size; (size = read(ends[0], part, sizeof part)) > 0;)
      received.append(part, static_cast<std::size_t>(size));
  });
  // The first send is shorter, so that the pages of the pipe don't end where sends do.
  EXPECT_TRUE(_qrd_write_bytes(line.near(), "abc", 3));
  EXPECT_TRUE(_qrd_write_double_array(line.near(), values.data(), 100'000));
  EXPECT_TRUE(_qrd_flush_write(line.near()));
  ::close(ends[1]);
  reader.join();
  ::close(ends[0]);
  connection = before;
  EXPECT_TRUE(received == bytes().raw("abc").f64(values).str());
}

TEST(arrays, are_dropped_whole_when_the_peer_is_gone) {
  for (std::int64_t count : {200, 6000}) {
    wire line;
    line.hang_up();
    const std::vector<double> values(static_cast<std::size_t>(count));
    EXPECT_FALSE(_qrd_write_double_array(line.near(), values.data(), count));
    _qrd_empty_write();
    EXPECT_TRUE(_qrd_flush_write(line.near())) << "nothing is left to send";
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
  const char* names[12] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"};
  captured_trace trace(3);
  _qrd_write_string_array(line.near(), names, 12);
  EXPECT_EQ(
      trace.text(),
      "Write Str(a)\nWrite Str(b)\nWrite Str(c)\nWrite Str(d)\nWrite Str(e)\nWrite Str(f)\nWrite Str(g)\n"
      "Write Str(h)\nWrite Str(i)\nWrite Str(j)\n... + some other 2 values\n");
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

}  // namespace
}  // namespace qrd::test

#include "wire/read_write.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "util/qu_big_endian.h"
#include "wire/messages.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr std::int32_t buffer_size = 1024;
constexpr std::int32_t word_size = 4;
constexpr std::int64_t traced_values = 10;
// An unlimited string takes its memory in steps, the first of this size, as its characters arrive.
constexpr std::uint32_t first_string_step = 64 * 1024;

// One array serves both directions: the conversation alternates strictly, and a write begins at offset 0
// whatever has been received and not read.
char transfer_buffer[buffer_size];
std::int32_t write_count = 0;
std::int32_t read_count = 0;  // end of the received bytes
std::int32_t read_pos = 0;    // the next unread byte
int quiet_values = 0;
// The system may hold the last bytes sent back, waiting for more to fill a segment.
bool more_announced = false;

bool values_are_traced() {
  return quiet_values == 0 && trace_level >= 3;
}

class quiet_scope {
 public:
  quiet_scope() : before_(quiet_values) { quiet_values = 1; }
  quiet_scope(const quiet_scope&) = delete;
  quiet_scope& operator=(const quiet_scope&) = delete;
  ~quiet_scope() { quiet_values = before_; }

 private:
  int before_;
};

// Appends what arrives to the buffer; false if the connection is closed or broken.
bool receive_more(socket_handle socket) {
  ssize_t received = -1;
  do {
    received = recv(static_cast<int>(socket), transfer_buffer + read_count,
                    static_cast<std::size_t>(buffer_size - read_count), 0);
  } while (received < 0 && errno == EINTR);
  if (received < 1) return false;
  read_count += static_cast<std::int32_t>(received);
  return true;
}

bool _qrd_fill_read(socket_handle socket, std::int32_t need) {
  if (trace_level >= 5) _qrd_trace("Flushing Read buffer (%d bytes)", read_count);
  read_count -= read_pos;
  std::memmove(transfer_buffer, transfer_buffer + read_pos, static_cast<std::size_t>(read_count));
  read_pos = 0;
  while (read_count < need)
    if (!receive_more(socket)) return false;
  return true;
}

// The next unread bytes of a value, or null.
const char* take(socket_handle socket, std::int32_t size) {
  if (read_count - read_pos < size && !_qrd_fill_read(socket, size)) return nullptr;
  const char* bytes = transfer_buffer + read_pos;
  read_pos += size;
  return bytes;
}

bool send_all(socket_handle socket, int flags) {
  std::int32_t sent = 0;
  while (sent < write_count) {
    ssize_t result = send(static_cast<int>(socket), transfer_buffer + sent,
                          static_cast<std::size_t>(write_count - sent), flags | MSG_NOSIGNAL);
    if (result < 0 && errno != EINTR) return false;
    if (result > 0) sent += static_cast<std::int32_t>(result);
  }
  return true;
}

// Bytes that the system holds back for a fuller segment leave when the option is set again.
void push(socket_handle socket) {
  const int on = 1;
  setsockopt(static_cast<int>(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int flush(socket_handle socket, bool more_follows) {
  if (trace_level >= 5) _qrd_trace("Flushing Write buffer (%d bytes)", write_count);
  bool done = true;
  if (write_count != 0) {
    done = send_all(socket, more_follows ? MSG_MORE : 0);
    more_announced = more_follows;
  } else if (!more_follows && more_announced) {
    push(socket);
    more_announced = false;
  }
  if (trace_level >= 5) _qrd_trace("Emptying Write buffer");
  write_count = 0;
  return done;
}

// The two rules of every write: a value that doesn't fit is preceded by a flush, and a full buffer is
// flushed at once.
bool make_room(socket_handle socket, std::int64_t size) {
  return write_count + size <= buffer_size || flush(socket, true) != 0;
}
bool flush_if_full(socket_handle socket) {
  return write_count != buffer_size || flush(socket, true) != 0;
}

bool store(socket_handle socket, const void* value, std::int32_t size) {
  if (!make_room(socket, size)) return false;
  std::memcpy(transfer_buffer + write_count, value, static_cast<std::size_t>(size));
  write_count += size;
  return flush_if_full(socket);
}

template <typename Unsigned>
Unsigned big_endian(Unsigned value) {
  return std::endian::native == std::endian::big ? value : qu_swapped(value);
}

template <typename Value>
using image_of = std::conditional_t<sizeof(Value) == 8, std::uint64_t, std::uint32_t>;

template <typename Value>
Value load(const char* bytes) {
  image_of<Value> image;
  std::memcpy(&image, bytes, sizeof image);
  return std::bit_cast<Value>(big_endian(image));
}

template <typename Value>
void unload(Value value, char* bytes) {
  auto image = big_endian(std::bit_cast<image_of<Value>>(value));
  std::memcpy(bytes, &image, sizeof image);
}

// Moves the values that lie whole in the buffer without a look at each; the element operation serves
// those that straddle its end. The calls of recv and send are those of the plain loop.
template <typename Value>
int read_numbers(socket_handle socket, Value* values, std::int64_t count,
                 int (*element)(socket_handle, Value*)) {
  constexpr std::int64_t size = sizeof(Value);
  for (std::int64_t done = 0; done < count;) {
    std::int64_t whole = std::min((read_count - read_pos) / size, count - done);
    const char* source = transfer_buffer + read_pos;
    for (std::int64_t i = 0; i < whole; ++i) values[done + i] = load<Value>(source + i * size);
    read_pos += static_cast<std::int32_t>(whole * size);
    done += whole;
    if (done == count) break;
    if (element(socket, values + done) == 0) return 0;
    ++done;
  }
  return 1;
}

template <typename Value>
int write_numbers(socket_handle socket, const Value* values, std::int64_t count,
                  int (*element)(socket_handle, const Value*)) {
  constexpr std::int64_t size = sizeof(Value);
  if (socket == no_socket) return count == 0;
  for (std::int64_t done = 0; done < count;) {
    std::int64_t whole = std::min((buffer_size - write_count) / size, count - done);
    char* destination = transfer_buffer + write_count;
    for (std::int64_t i = 0; i < whole; ++i) unload(values[done + i], destination + i * size);
    write_count += static_cast<std::int32_t>(whole * size);
    done += whole;
    if (!flush_if_full(socket)) return 0;
    if (done == count || whole > 0) continue;
    if (element(socket, values + done) == 0) return 0;
    ++done;
  }
  return 1;
}

// An array whose values are being moved.
struct moved_array {
  std::int64_t count;
  std::int64_t shown = 0;
  bool hides = false;

  // Of its next `size` values, those that a trace shows.
  std::int64_t show(std::int64_t size) {
    const std::int64_t next = std::min(size, traced_values - shown);
    shown += next;
    return next;
  }
  void hide_others() {
    if (!hides && trace_level >= 3)
      _qrd_trace("... + some other %" PRIu64 " values", static_cast<std::uint64_t>(count - traced_values));
    hides = true;
  }
};
// What an array_in_parts has announced; its count is -1 while there is none.
moved_array array_of_parts = {-1};

moved_array& array_of(moved_array& alone) {
  return array_of_parts.count >= 0 ? array_of_parts : alone;
}

// Shows the first values one by one and moves the others in bulk.
template <typename Value, typename Element>
int transfer_numbers(socket_handle socket, Value* values, std::int64_t count, Element element,
                     int (*bulk)(socket_handle, Value*, std::int64_t, Element)) {
  if (!values_are_traced()) return bulk(socket, values, count, element);
  moved_array alone = {count};
  moved_array& whole = array_of(alone);
  std::int64_t shown = whole.show(count);
  for (std::int64_t i = 0; i < shown; ++i)
    if (element(socket, values + i) == 0) return 0;
  if (shown == count) return 1;
  whole.hide_others();
  quiet_scope quiet;
  return bulk(socket, values + shown, count - shown, element);
}

// Reads a string of unknown size into memory that grows with what has arrived.
char* read_growing(socket_handle socket, std::uint32_t length) {
  char* text = nullptr;
  std::uint64_t room = std::min<std::uint64_t>(std::uint64_t{length} + 1, first_string_step);
  for (std::uint64_t done = 0;;) {
    auto* grown = static_cast<char*>(std::realloc(text, room));
    if (grown == nullptr) {
      _qrd_error("_qrd_read_string(): Cannot allocate memory");
      break;
    }
    text = grown;
    std::uint64_t wanted = std::min<std::uint64_t>(room, length) - done;
    if (_qrd_read_bytes(socket, text + done, static_cast<std::int64_t>(wanted)) == 0) break;
    done += wanted;
    if (done == length && room > length) {
      text[length] = '\0';
      return text;
    }
    room = std::min(2 * room, std::uint64_t{length} + 1);
  }
  std::free(text);
  return nullptr;
}

// Zero bytes that bring a string to a multiple of 4.
std::int64_t padding(std::uint32_t length) {
  return (word_size - length % word_size) % word_size;
}

}  // namespace

int _qrd_read_int(socket_handle socket, std::int32_t* value) {
  const char* bytes = take(socket, word_size);
  if (bytes == nullptr) return 0;
  *value = load<std::int32_t>(bytes);
  if (values_are_traced()) _qrd_trace("Read Int(%d)", *value);
  return 1;
}

int _qrd_read_long(socket_handle socket, std::int64_t* value) {
  bool is_wide = client_is_64bits != 0 && server_is_64bits != 0;
  const char* bytes = take(socket, is_wide ? 8 : word_size);
  if (bytes == nullptr) return 0;
  *value = is_wide ? load<std::int64_t>(bytes) : load<std::int32_t>(bytes);
  if (values_are_traced())
    _qrd_trace(is_wide ? "Read Long(64bits)(%" PRId64 ")" : "Read Long(32->64bits)(%" PRId64 ")", *value);
  return 1;
}

int _qrd_read_double(socket_handle socket, double* value) {
  {
    quiet_scope quiet;
    std::int32_t high = 0, low = 0;
    if (_qrd_read_int(socket, &high) == 0 || _qrd_read_int(socket, &low) == 0) return 0;
    *value = std::bit_cast<double>(std::uint64_t{static_cast<std::uint32_t>(high)} << 32 |
                                   static_cast<std::uint32_t>(low));
  }
  if (values_are_traced()) _qrd_trace("Read Dbl(%g)", *value);
  return 1;
}

int _qrd_read_string(socket_handle socket, char** text, std::uint32_t limit) {
  std::uint32_t length = 0;
  {
    quiet_scope quiet;
    std::int32_t word = 0;
    if (_qrd_read_int(socket, &word) == 0) return 0;
    length = static_cast<std::uint32_t>(word);
  }
  std::uint32_t size = length + 1;
  if (size > limit) return 0;
  if (size == 0) return 1;
  if (*text == nullptr) {
    *text = read_growing(socket, length);
    if (*text == nullptr) return 0;
  } else {
    (*text)[length] = '\0';
    if (_qrd_read_bytes(socket, *text, length) == 0) return 0;
  }
  char unused_padding[word_size];
  if (_qrd_read_bytes(socket, unused_padding, padding(length)) == 0) return 0;
  if (values_are_traced()) _qrd_trace("Read Str(%s)", *text);
  return 1;
}

int _qrd_read_bytes(socket_handle socket, void* destination, std::int64_t count) {
  if (count < 0) return 0;
  auto* target = static_cast<char*>(destination);
  while (count > 0) {
    if (read_pos == read_count) {
      if (trace_level >= 5) _qrd_trace("Flushing Read buffer (%d bytes)", read_count);
      _qrd_empty_read();
      if (!receive_more(socket)) return 0;
    }
    std::int64_t part = std::min<std::int64_t>(read_count - read_pos, count);
    std::memcpy(target, transfer_buffer + read_pos, static_cast<std::size_t>(part));
    read_pos += static_cast<std::int32_t>(part);
    target += part;
    count -= part;
  }
  return 1;
}

int _qrd_write_int(socket_handle socket, const std::int32_t* value) {
  if (values_are_traced()) _qrd_trace("Write Int(%d)", *value);
  if (socket == no_socket) return 0;
  char bytes[word_size];
  unload(*value, bytes);
  return store(socket, bytes, word_size);
}

int _qrd_write_long(socket_handle socket, const std::int64_t* value) {
  bool is_wide = client_is_64bits != 0 && server_is_64bits != 0;
  if (values_are_traced())
    _qrd_trace(is_wide ? "Write Long(64bits)(%" PRId64 ")" : "Write Long(64->32bits)(%" PRId64 ")", *value);
  if (socket == no_socket) return 0;
  char bytes[8];
  if (is_wide) {
    unload(*value, bytes);
    return store(socket, bytes, 8);
  }
  using word_limits = std::numeric_limits<std::int32_t>;
  if (*value > word_limits::max() || *value < word_limits::min()) {
    _qrd_error("_qrd_write_long(): Server & Client are not both 64 bits");
    return 0;
  }
  unload(static_cast<std::int32_t>(*value), bytes);
  return store(socket, bytes, word_size);
}

int _qrd_write_double(socket_handle socket, const double* value) {
  if (values_are_traced()) _qrd_trace("Write Dbl(%g)", *value);
  quiet_scope quiet;
  auto image = std::bit_cast<std::uint64_t>(*value);
  auto high = static_cast<std::int32_t>(image >> 32);
  auto low = static_cast<std::int32_t>(image & 0xFFFFFFFF);
  return _qrd_write_int(socket, &high) != 0 && _qrd_write_int(socket, &low) != 0;
}

int _qrd_write_bool(socket_handle socket, const std::int32_t* value) {
  const std::int32_t word = *value != 0;
  return _qrd_write_int(socket, &word);
}

int _qrd_write_string(socket_handle socket, const char* const* text, std::uint32_t limit) {
  if (values_are_traced()) _qrd_trace("Write Str(%s)", *text);
  std::size_t length = std::strlen(*text);
  if (length > std::size_t{std::numeric_limits<std::int32_t>::max()}) return 0;
  {
    quiet_scope quiet;
    auto word = static_cast<std::int32_t>(length);
    if (_qrd_write_int(socket, &word) == 0) return 0;
  }
  // Only now: clients of an over-long text have always got its length.
  if (length + 1 > limit) return 0;
  constexpr char zeros[word_size] = {};
  return _qrd_write_bytes(socket, *text, static_cast<std::int64_t>(length)) != 0 &&
         _qrd_write_bytes(socket, zeros, padding(static_cast<std::uint32_t>(length))) != 0;
}

int _qrd_write_bytes(socket_handle socket, const void* source, std::int64_t count) {
  if (count == 0) return 1;
  if (count < 0 || socket == no_socket) return 0;
  // The first rule holds for the whole block, the second one for each of its bytes.
  if (!make_room(socket, count)) return 0;
  const auto* bytes = static_cast<const char*>(source);
  while (count > 0) {
    std::int64_t part = std::min<std::int64_t>(buffer_size - write_count, count);
    std::memcpy(transfer_buffer + write_count, bytes, static_cast<std::size_t>(part));
    write_count += static_cast<std::int32_t>(part);
    bytes += part;
    count -= part;
    if (!flush_if_full(socket)) return 0;
  }
  return 1;
}

array_in_parts::array_in_parts(std::int64_t count) {
  array_of_parts = {count};
}
array_in_parts::~array_in_parts() {
  array_of_parts = {-1};
}

int _qrd_transfer_array(std::int64_t count, int (*element)(void* context, std::int64_t i), void* context) {
  int before = quiet_values;
  int result = 1;
  moved_array alone = {count};
  moved_array& whole = array_of(alone);
  const std::int64_t shown = values_are_traced() ? whole.show(count) : count;
  for (std::int64_t i = 0; i < count && result != 0; ++i) {
    if (i == shown) {
      whole.hide_others();
      quiet_values = 1;
    }
    result = element(context, i);
  }
  quiet_values = before;
  return result;
}

int _qrd_read_double_array(socket_handle socket, double* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_read_double, read_numbers<double>);
}

int _qrd_read_int_array(socket_handle socket, std::int32_t* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_read_int, read_numbers<std::int32_t>);
}

int _qrd_write_double_array(socket_handle socket, const double* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_write_double, write_numbers<double>);
}

int _qrd_write_double_pieces(socket_handle socket, std::int64_t count,
                             const std::function<std::span<const double>()>& next_piece) {
  array_in_parts whole(count);
  for (std::int64_t done = 0; done < count;) {
    const std::span<const double> piece = next_piece();
    const std::int64_t length = std::min(static_cast<std::int64_t>(piece.size()), count - done);
    if (length == 0 || _qrd_write_double_array(socket, piece.data(), length) == 0) return 0;
    done += length;
  }
  return 1;
}

int _qrd_write_int_array(socket_handle socket, const std::int32_t* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_write_int, write_numbers<std::int32_t>);
}

int _qrd_write_string_array(socket_handle socket, const char* const* texts, std::int64_t count) {
  struct {
    socket_handle socket;
    const char* const* texts;
  } array = {socket, texts};
  return _qrd_transfer_array(
      count,
      [](void* context, std::int64_t i) {
        const auto* strings = static_cast<const decltype(array)*>(context);
        return _qrd_write_string(strings->socket, strings->texts + i, unlimited_text);
      },
      &array);
}

int _qrd_flush_write(socket_handle socket) {
  return flush(socket, false);
}

void _qrd_empty_write() {
  write_count = 0;
}

void _qrd_empty_read() {
  read_count = 0;
  read_pos = 0;
}

}  // namespace qrd

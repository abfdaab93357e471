#include "wire/arrays.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <optional>

#include "util/qu_big_endian.h"
#include "util/qu_wide_loop.h"
#include "wire/buffer.h"
#include "wire/trace.h"
#include "wire/values.h"

namespace qrd {

namespace {

constexpr std::int64_t traced_values = 10;

// `count` values into the buffer.
template <typename Number>
void copy_values(char* bytes, const Number* values, std::int64_t count) {
  qu_wide_loop([=] { qu_big_endian_copy<image_of<Number>>(bytes, values, count); });
}
template <typename Number>
void copy_values(char* bytes, const big_endian<Number>* values, std::int64_t count) {
  std::memcpy(bytes, values, static_cast<std::size_t>(count) * sizeof *values);
}

// Moves the values without a look at each; a block of them stays in the processor's memory until it is
// turned.
template <typename Value>
int read_numbers(socket_handle socket, Value* values, std::int64_t count,
                 int (*element)(socket_handle, Value*)) {
  constexpr std::int64_t block = 8192;
  if (tracing.level >= 5) {  // which tells of every receiving
    for (std::int64_t i = 0; i < count; ++i)
      if (element(socket, values + i) == 0) return 0;
    return 1;
  }
  for (std::int64_t done = 0; done < count; done += block) {
    const std::int64_t next = std::min(block, count - done);
    if (_qrd_read_bytes(socket, values + done, next * std::int64_t{sizeof(Value)}) == 0) return 0;
    qu_wide_loop([=] { qu_big_endian_block<image_of<Value>>(values + done, next); });
  }
  return 1;
}

// Those that lie whole in the buffer; the element operation serves those that straddle its end. Ends of sends
// are those of the plain loop.
template <typename Value>
int write_numbers(socket_handle socket, const Value* values, std::int64_t count,
                  int (*element)(socket_handle, const Value*)) {
  constexpr std::int64_t size = sizeof(Value);
  if (socket == no_socket) return count == 0;
  gathered_sends gathered;
  for (std::int64_t done = 0; done < count;) {
    const std::span<char> room = _qrd_room();
    std::int64_t whole = std::min(static_cast<std::int64_t>(room.size()) / size, count - done);
    copy_values(room.data(), values + done, whole);
    done += whole;
    if (!_qrd_mark_written(socket, whole * size)) return 0;
    if (done == count || whole > 0) continue;
    if (element(socket, values + done) == 0) return 0;
    ++done;
  }
  return gathered.finish(socket);
}

// The operations of numbers that are kept in the order of the wire.
template <typename Number, int (*read)(socket_handle, Number*)>
int read_kept(socket_handle socket, big_endian<Number>* value) {
  Number number = 0;
  if (read(socket, &number) == 0) return 0;
  *value = number;
  return 1;
}
template <typename Number>
int read_bytes(socket_handle socket, Number* values, std::int64_t count,
               int (* /*element*/)(socket_handle, Number*)) {
  return _qrd_read_bytes(socket, values, count * static_cast<std::int64_t>(sizeof *values));
}
template <typename Number, int (*write)(socket_handle, const Number*)>
int write_kept(socket_handle socket, const big_endian<Number>* value) {
  const Number number = *value;
  return write(socket, &number);
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
    if (!hides && tracing.level >= 3)
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

// Writes the pieces until there are `count` values.
template <typename Value, typename Write>
int write_pieces(std::int64_t count, const piece_source<Value>& next, const Write& write) {
  for (std::int64_t done = 0; done < count;) {
    std::span<const Value> piece = next();
    piece = piece.first(std::min(piece.size(), static_cast<std::size_t>(count - done)));
    if (piece.empty() || !write(piece)) return 0;
    done += static_cast<std::int64_t>(piece.size());
  }
  return 1;
}

}  // namespace

array_in_parts::array_in_parts(std::int64_t count) {
  array_of_parts = {count};
}
array_in_parts::~array_in_parts() {
  array_of_parts = {-1};
}

int _qrd_transfer_array(std::int64_t count, int (*element)(void* context, std::int64_t i), void* context) {
  int result = 1;
  std::optional<quiet_scope> quiet;
  moved_array alone = {count};
  moved_array& whole = array_of(alone);
  const std::int64_t shown = values_are_traced() ? whole.show(count) : count;
  for (std::int64_t i = 0; i < count && result != 0; ++i) {
    if (i == shown) {
      whole.hide_others();
      quiet.emplace();
    }
    result = element(context, i);
  }
  return result;
}

int _qrd_read_double_array(socket_handle socket, double* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_read_double, read_numbers<double>);
}

int _qrd_read_int_array(socket_handle socket, std::int32_t* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_read_int, read_numbers<std::int32_t>);
}

int _qrd_read_kept_doubles(socket_handle socket, big_endian<double>* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, read_kept<double, _qrd_read_double>,
                          read_bytes<big_endian<double>>);
}

int _qrd_read_kept_ints(socket_handle socket, big_endian<std::int32_t>* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, read_kept<std::int32_t, _qrd_read_int>,
                          read_bytes<big_endian<std::int32_t>>);
}

int _qrd_write_kept_doubles(socket_handle socket, const big_endian<double>* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, write_kept<double, _qrd_write_double>,
                          write_numbers<big_endian<double>>);
}

int _qrd_write_kept_ints(socket_handle socket, const big_endian<std::int32_t>* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, write_kept<std::int32_t, _qrd_write_int>,
                          write_numbers<big_endian<std::int32_t>>);
}

int _qrd_write_double_array(socket_handle socket, const double* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_write_double, write_numbers<double>);
}

int _qrd_write_double_pieces(socket_handle socket, std::int64_t count, const piece_source<double>& next) {
  array_in_parts whole(count);
  return write_pieces(count, next, [socket](std::span<const double> piece) {
    return _qrd_write_double_array(socket, piece.data(), static_cast<std::int64_t>(piece.size())) != 0;
  });
}

int _qrd_write_string_pieces(socket_handle socket, std::int64_t count,
                             const piece_source<const char*>& next) {
  array_in_parts whole(count);
  return write_pieces(count, next, [socket](std::span<const char* const> piece) {
    return _qrd_write_string_array(socket, piece.data(), static_cast<std::int64_t>(piece.size())) != 0;
  });
}

// The parts of a block are no blocks of their own: only the whole one is preceded by a flush.
int _qrd_write_byte_pieces(socket_handle socket, std::int64_t count,
                           const piece_source<unsigned char>& next) {
  if (count > 0 && (socket == no_socket || !_qrd_make_room(socket, count))) return 0;
  return write_pieces(count, next, [socket](std::span<const unsigned char> piece) {
    gathered_sends gathered;
    while (!piece.empty()) {
      const std::span<char> room = _qrd_room();
      const auto part = piece.first(std::min(room.size(), piece.size()));
      std::memcpy(room.data(), part.data(), part.size());
      if (!_qrd_mark_written(socket, static_cast<std::int64_t>(part.size()))) return false;
      piece = piece.subspan(part.size());
    }
    return gathered.finish(socket);
  });
}

int _qrd_write_int_array(socket_handle socket, const std::int32_t* values, std::int64_t count) {
  return transfer_numbers(socket, values, count, _qrd_write_int, write_numbers<std::int32_t>);
}

int _qrd_write_string_array(socket_handle socket, const char* const* texts, std::int64_t count) {
  struct {
    socket_handle socket;
    const char* const* texts;
  } array = {socket, texts};
  gathered_sends gathered;
  const int done = _qrd_transfer_array(
      count,
      [](void* context, std::int64_t i) {
        const auto* strings = static_cast<const decltype(array)*>(context);
        return _qrd_write_string(strings->socket, strings->texts + i, unlimited_text);
      },
      &array);
  return done != 0 && gathered.finish(socket);
}

}  // namespace qrd

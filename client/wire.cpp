#include "qrd/wire.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "client/request_words.h"
#include "client/started_program.h"
#include "qrd/error.h"

namespace qrd::client {

namespace {

constexpr std::size_t buffer_size = 64 * 1024;
// An array is allocated whole up to this many bytes, and beyond them as its values arrive, so that a wrong
// count does not take all the memory at once.
constexpr std::size_t trusted_array_size = std::size_t{64} << 20;
constexpr std::size_t trusted_text_size = std::size_t{1} << 20;

constexpr std::chrono::milliseconds told_every{100};

constexpr char closed[] = "the server has closed the connection";
constexpr char silent[] = "the server does not answer";

std::uint32_t to_network(std::uint32_t value) {
  return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
}

std::uint64_t to_network(std::uint64_t value) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

// The image of a number in network order, and back: the same step both ways.
template <typename T>
T swapped(T value) {
  using word = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
  return std::bit_cast<T>(to_network(std::bit_cast<word>(value)));
}

template <typename T>
void append_number(std::string& bytes, T value) {
  using word = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
  const word image = to_network(std::bit_cast<word>(value));
  char raw[sizeof image];
  std::memcpy(raw, &image, sizeof image);
  bytes.append(raw, sizeof raw);
}

constexpr auto same = [](auto value) { return value; };

std::size_t padding(std::size_t length) {
  return (4 - length % 4) % 4;
}

void append_string(std::string& bytes, std::string_view value) {
  append_number(bytes, static_cast<std::int32_t>(value.size()));
  bytes.append(value);
  bytes.append(padding(value.size()), '\0');
}

// Asks the system for large pages: of small ones, the first touch of each costs more than the copying.
void expect_filling(void* block, std::size_t size) {
  constexpr std::size_t worth_it = std::size_t{4} << 20;
  if (size < worth_it) return;
  static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t before = (page - reinterpret_cast<std::uintptr_t>(block) % page) % page;
  madvise(static_cast<char*>(block) + before, (size - before) / page * page, MADV_HUGEPAGE);
}

std::string system_text(const char* what) {
  return std::string(what) + ": " + std::strerror(errno);
}

}  // namespace

packet::packet(std::string_view name, long_size longs) : name_(name), longs_(longs) {
  add_string(name, max_request_name);
}

packet& packet::add_int(std::int32_t value) {
  append_number(bytes_, value);
  return *this;
}

packet& packet::add_bool(bool value) {
  return add_int(value ? 1 : 0);
}

packet& packet::add_long(std::int64_t value) {
  if (longs_ == long_size::eight_bytes) {
    append_number(bytes_, value);
    return *this;
  }
  if (value < std::numeric_limits<std::int32_t>::min() || value > std::numeric_limits<std::int32_t>::max())
    throw bad_argument("the number " + std::to_string(value) + " needs 64 bits, which were not agreed on",
                       name_);
  return add_int(static_cast<std::int32_t>(value));
}

packet& packet::add_double(double value) {
  append_number(bytes_, value);
  return *this;
}

packet& packet::add_string(std::string_view value, std::size_t most) {
  if (value.size() > most)
    throw bad_argument("a text of " + std::to_string(value.size()) + " characters, where at most " +
                           std::to_string(most) + " can be sent",
                       name_);
  append_string(bytes_, value);
  return *this;
}

packet& packet::add_bytes(std::span<const std::uint8_t> values) {
  bytes_.append(values.begin(), values.end());
  return *this;
}

packet& packet::add_ints(std::span<const std::int32_t> values) {
  for (std::int32_t value : values) add_int(value);
  return *this;
}

packet& packet::add_doubles(std::span<const double> values) {
  for (double value : values) add_double(value);
  return *this;
}

packet& packet::add_strings(std::span<const std::string> values) {
  for (const std::string& value : values) add_string(value, unlimited);
  return *this;
}

stream::stream(int descriptor) : descriptor_(descriptor), incoming_(new char[buffer_size]) {
  outgoing_.reserve(buffer_size);
  // An answer is waited for after each request, so nothing may linger in the kernel. Fails harmlessly on a
  // socket that is not of TCP.
  const int on = 1;
  setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

stream stream::connect(const std::string& host, std::uint16_t port) {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const std::string place = host + ":" + std::to_string(port);
  const int status = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found);
  if (status != 0) throw protocol_error("cannot find the host of " + place + ": " + gai_strerror(status));
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);

  std::string problem;
  for (const addrinfo* one = found; one != nullptr; one = one->ai_next) {
    const int descriptor = socket(one->ai_family, one->ai_socktype | SOCK_CLOEXEC, one->ai_protocol);
    if (descriptor < 0) {
      problem = std::strerror(errno);
      continue;
    }
    if (::connect(descriptor, one->ai_addr, one->ai_addrlen) == 0) return stream(descriptor);
    problem = std::strerror(errno);
    ::close(descriptor);
  }
  throw protocol_error("cannot connect to " + place + ": " + problem);
}

stream stream::connect_local(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path)
    throw protocol_error("cannot connect to " + path + ": the path of a socket has at most " +
                         std::to_string(sizeof address.sun_path - 1) + " characters");
  path.copy(address.sun_path, path.size());
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor >= 0 && ::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
    return stream(descriptor);
  const std::string problem = std::strerror(errno);
  if (descriptor >= 0) ::close(descriptor);
  throw protocol_error("cannot connect to " + path + ": " + problem);
}

stream stream::through(const std::vector<std::string>& arguments) {
  auto program = std::make_unique<started_program>(arguments);
  stream result(program->take_socket());
  result.program_ = std::move(program);
  return result;
}

stream::stream(stream&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      program_(std::move(other.program_)),
      asked_(std::move(other.asked_)),
      longs_(other.longs_),
      progress_(std::move(other.progress_)),
      wait_(std::move(other.wait_)),
      timeout_(other.timeout_),
      outgoing_(std::move(other.outgoing_)),
      incoming_(std::move(other.incoming_)),
      incoming_begin_(std::exchange(other.incoming_begin_, 0)),
      incoming_end_(std::exchange(other.incoming_end_, 0)) {}

stream& stream::operator=(stream&& other) noexcept {
  if (this == &other) return *this;
  close();
  descriptor_ = std::exchange(other.descriptor_, -1);
  program_ = std::move(other.program_);
  asked_ = std::move(other.asked_);
  longs_ = other.longs_;
  progress_ = std::move(other.progress_);
  wait_ = std::move(other.wait_);
  timeout_ = other.timeout_;
  outgoing_ = std::move(other.outgoing_);
  incoming_ = std::move(other.incoming_);
  incoming_begin_ = std::exchange(other.incoming_begin_, 0);
  incoming_end_ = std::exchange(other.incoming_end_, 0);
  return *this;
}

stream::~stream() {
  close();
}

void stream::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  outgoing_.clear();
  incoming_begin_ = 0;
  incoming_end_ = 0;
}

void stream::fail(const std::string& text) {
  std::string told = text;
  if (!asked_.empty()) told += " while " + words_for_request(asked_) + " (" + asked_ + ")";
  // The program that breaks a connection is about to end, and tells why on standard error.
  constexpr std::chrono::milliseconds time_to_end{500};
  if (program_)
    if (const auto ending = program_->ending(time_to_end)) told += "; " + *ending;
  close();
  throw protocol_error(told, asked_);
}

void stream::set_timeout(std::chrono::milliseconds timeout) {
  timeout_ = timeout;
  limit_receiving();
}

void stream::set_wait(wait_function wait) {
  wait_ = std::move(wait);
  limit_receiving();
}

void stream::limit_receiving() {
  const std::chrono::milliseconds time = wait_ ? told_every : timeout_;
  timeval limit{};
  limit.tv_sec = static_cast<time_t>(time.count() / 1000);
  limit.tv_usec = static_cast<suseconds_t>(time.count() % 1000 * 1000);
  setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

void stream::tell_progress(std::uint64_t done, std::uint64_t total) {
  if (!progress_) return;
  try {
    progress_(done, total);
  } catch (...) {
    close();
    throw;
  }
}

void stream::tell_wait() {
  told_wait_ = std::chrono::steady_clock::now();
  try {
    wait_();
  } catch (...) {
    close();
    throw;
  }
}

void stream::tell_wait_in_time() {
  if (wait_ && std::chrono::steady_clock::now() - told_wait_ >= told_every) tell_wait();
}

void stream::await_room() {
  tell_wait_in_time();
  pollfd one{descriptor_, POLLOUT, 0};
  for (;;) {
    const int ready = poll(&one, 1, static_cast<int>(told_every.count()));
    if (ready > 0) return;
    if (ready < 0 && errno != EINTR) fail(system_text("waiting for the server"));
    tell_wait();
  }
}

void stream::send_all(const char* data, std::size_t size) {
  if (!is_open()) throw protocol_error("the connection is closed");
  while (size > 0) {
    if (wait_) await_room();
    const ssize_t sent = send(descriptor_, data, size, wait_ ? MSG_NOSIGNAL | MSG_DONTWAIT : MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EINTR || (wait_ && errno == EAGAIN)) continue;
      fail(errno == EPIPE || errno == ECONNRESET ? closed : system_text("sending to the server"));
    }
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
}

void stream::put(const char* data, std::size_t size) {
  if (outgoing_.size() + size > buffer_size) {
    send_all(outgoing_.data(), outgoing_.size());
    outgoing_.clear();
    if (size > buffer_size) {
      send_all(data, size);
      return;
    }
  }
  outgoing_.append(data, size);
}

void stream::write(const packet& part) {
  if (!part.name().empty()) asked_ = part.name();
  put(part.bytes().data(), part.bytes().size());
}

void stream::write_bytes(std::span<const std::uint8_t> values) {
  for (std::size_t done = 0; done < values.size();) {
    const std::size_t size = std::min(buffer_size, values.size() - done);
    put(reinterpret_cast<const char*>(values.data() + done), size);
    done += size;
    tell_progress(done, values.size());
  }
}

template <typename Change>
void stream::write_changed(std::span<const double> values, const Change& change) {
  double block[buffer_size / sizeof(double)];
  for (std::size_t done = 0; done < values.size();) {
    const std::size_t count = std::min(std::size(block), values.size() - done);
    for (std::size_t i = 0; i < count; ++i) block[i] = swapped(change(values[done + i]));
    put(reinterpret_cast<const char*>(block), count * sizeof(double));
    done += count;
    tell_progress(done * sizeof(double), values.size() * sizeof(double));
  }
}

void stream::write_doubles(std::span<const double> values) {
  write_changed(values, same);
}

void stream::write_doubles(std::span<const double> values, double missing) {
  write_changed(values, [missing](double value) { return std::isnan(value) ? missing : value; });
}

void stream::write_strings(std::span<const std::string> values) {
  std::uint64_t total = 0;
  for (const std::string& value : values) total += 4 + value.size() + padding(value.size());
  std::uint64_t done = 0;
  std::string image;
  for (std::size_t i = 0; i < values.size(); ++i) {
    append_string(image, values[i]);
    if (image.size() < buffer_size / 2 && i + 1 < values.size()) continue;
    put(image.data(), image.size());
    done += image.size();
    image.clear();
    tell_progress(done, total);
  }
}

void stream::flush() {
  send_all(outgoing_.data(), outgoing_.size());
  outgoing_.clear();
}

std::size_t stream::receive_some(char* data, std::size_t size) {
  if (!is_open()) throw protocol_error("the connection is closed");
  const auto begin = std::chrono::steady_clock::now();
  for (;;) {
    tell_wait_in_time();
    const ssize_t got = recv(descriptor_, data, size, 0);
    if (got > 0) return static_cast<std::size_t>(got);
    if (got == 0 || errno == ECONNRESET) fail(closed);
    const bool was_silent = errno == EAGAIN || errno == EWOULDBLOCK;
    if (!was_silent && errno != EINTR) fail(system_text("receiving from the server"));
    // Told of the waiting the socket comes back every now and then: the time limit is looked at here.
    if (was_silent && !wait_) fail(silent);
    if (!wait_) continue;
    if (timeout_.count() > 0 && std::chrono::steady_clock::now() - begin > timeout_) fail(silent);
    tell_wait();
  }
}

void stream::get(char* data, std::size_t size) {
  while (size > 0) {
    if (incoming_begin_ == incoming_end_) {
      // A large rest goes straight to its place.
      if (size >= buffer_size) {
        const std::size_t got = receive_some(data, size);
        data += got;
        size -= got;
        continue;
      }
      incoming_begin_ = 0;
      incoming_end_ = 0;
      incoming_end_ = receive_some(incoming_.get(), buffer_size);
    }
    const std::size_t part = std::min(size, incoming_end_ - incoming_begin_);
    std::memcpy(data, incoming_.get() + incoming_begin_, part);
    incoming_begin_ += part;
    data += part;
    size -= part;
  }
}

std::int32_t stream::read_int() {
  std::int32_t value;
  get(reinterpret_cast<char*>(&value), sizeof value);
  return swapped(value);
}

bool stream::read_bool() {
  return read_int() != 0;
}

std::int64_t stream::read_long() {
  if (longs_ == long_size::four_bytes) return read_int();
  std::int64_t value;
  get(reinterpret_cast<char*>(&value), sizeof value);
  return swapped(value);
}

double stream::read_double() {
  double value;
  get(reinterpret_cast<char*>(&value), sizeof value);
  return swapped(value);
}

point3 stream::read_point() {
  point3 point;
  point.x = read_double();
  point.y = read_double();
  point.z = read_double();
  return point;
}

std::string stream::read_string(std::size_t most) {
  const std::int32_t length = read_int();
  if (length == -1) return {};
  if (length < 0 || static_cast<std::size_t>(length) > most)
    fail("the server sent a text of length " + std::to_string(length) + " where at most " +
         std::to_string(most) + " are possible");
  const auto size = static_cast<std::size_t>(length);
  std::string text;
  while (text.size() < size) {
    const std::size_t begin = text.size();
    text.resize(std::min(size, begin + trusted_text_size));
    get(text.data() + begin, text.size() - begin);
  }
  char dropped[4];
  get(dropped, padding(size));
  return text;
}

template <typename T, typename Change>
std::vector<T> stream::read_array(std::int64_t count, const Change& change, std::int64_t expected) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / 16;
  if (count < 0 || count > most) fail("the server sent a count of " + std::to_string(count));
  const auto size = static_cast<std::size_t>(count);
  const std::uint64_t total = std::uint64_t{size} * sizeof(T);
  constexpr std::size_t block = buffer_size * 4 / sizeof(T);

  const std::size_t trusted =
      std::max(trusted_array_size / sizeof(T), static_cast<std::size_t>(std::max<std::int64_t>(expected, 0)));
  std::vector<T> values;
  std::size_t done = 0;
  while (done < size) {
    if (done == values.size()) {
      const std::size_t room = std::min(size, std::max(done * 2, trusted));
      values.reserve(room);
      expect_filling(values.data(), room * sizeof(T));
      values.resize(room);
    }
    const std::size_t part = std::min(block, values.size() - done);
    T* place = values.data() + done;
    get(reinterpret_cast<char*>(place), part * sizeof(T));
    if constexpr (sizeof(T) > 1)
      for (std::size_t i = 0; i < part; ++i) place[i] = change(swapped(place[i]));
    done += part;
    tell_progress(std::uint64_t{done} * sizeof(T), total);
  }
  return values;
}

std::vector<std::uint8_t> stream::read_bytes(std::int64_t count) {
  return read_array<std::uint8_t>(count, same);
}

std::vector<std::int32_t> stream::read_ints(std::int64_t count) {
  return read_array<std::int32_t>(count, same);
}

std::vector<double> stream::read_doubles(std::int64_t count) {
  return read_array<double>(count, same);
}

std::vector<double> stream::read_doubles(std::int64_t count, double missing, std::int64_t expected) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  return read_array<double>(
      count, [missing](double value) { return value == missing ? nan : value; }, expected);
}

std::vector<std::string> stream::read_strings(std::int64_t count, std::size_t most) {
  if (count < 0) fail("the server sent a count of " + std::to_string(count));
  constexpr std::int64_t texts_between = 4096;
  std::vector<std::string> values;
  values.reserve(static_cast<std::size_t>(std::min<std::int64_t>(count, 1 << 20)));
  for (std::int64_t i = 0; i < count; ++i) {
    values.push_back(read_string(most));
    if (i % texts_between == texts_between - 1 || i + 1 == count)
      tell_progress(static_cast<std::uint64_t>(i) + 1, static_cast<std::uint64_t>(count));
  }
  return values;
}

bool stream::wait_readable(std::chrono::milliseconds time) {
  if (incoming_begin_ != incoming_end_) return true;
  if (!is_open()) throw protocol_error("the connection is closed");
  pollfd one{descriptor_, POLLIN, 0};
  for (;;) {
    const int ready = poll(&one, 1, static_cast<int>(time.count()));
    if (ready >= 0) return ready > 0;
    if (errno != EINTR) fail(system_text("waiting for the server"));
  }
}

}  // namespace qrd::client

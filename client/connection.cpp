#include "qrd/connection.h"

#include <utility>

#include "client/started_program.h"

namespace qrd::client {

namespace {

constexpr std::chrono::milliseconds goodbye_time{2000};

}  // namespace

connection::connection(stream wire, std::int32_t version) : wire_(std::move(wire)), version_(version) {}

connection connection::connect(const std::string& host, std::uint16_t port, const options& settings) {
  connection result(stream::connect(host, port), settings.version);
  result.set_timeout(settings.timeout);
  result.set_wait(settings.wait);
  if (settings.new_session) {
    if (const auto session_port = result.new_session()) {
      result.wire_ = stream::connect(host, *session_port);
      result.set_timeout(settings.timeout);
      result.set_wait(settings.wait);
    }
  }
  result.greet(settings);
  return result;
}

connection connection::connect_local(const std::string& path, const options& settings) {
  return greeted(stream::connect_local(path), settings);
}

connection connection::through(const std::string& command, const options& settings) {
  return through(shell_arguments(command), settings);
}

connection connection::through(const std::vector<std::string>& arguments, const options& settings) {
  return greeted(stream::through(arguments), settings);
}

connection connection::greeted(stream wire, const options& settings) {
  connection result(std::move(wire), settings.version);
  result.set_timeout(settings.timeout);
  result.set_wait(settings.wait);
  result.greet(settings);
  return result;
}

void connection::greet(const options& settings) {
  if (!settings.handshake) return;
  hello(settings.version, settings.hello_path);
  if (settings.wide_longs) architecture(true);
}

connection::~connection() {
  leave();
}

connection& connection::operator=(connection&& other) noexcept {
  if (this == &other) return *this;
  leave();
  wire_ = std::move(other.wire_);
  version_ = other.version_;
  server_version_ = other.server_version_;
  refusals_ = other.refusals_;
  return *this;
}

void connection::leave() noexcept {
  if (!wire_.is_open()) return;
  try {
    wire_.set_progress(nullptr);
    wire_.set_wait(nullptr);
    wire_.set_timeout(goodbye_time);
    bye();
  } catch (const error&) {
    // The other side is gone already, or does not speak: there is nobody left to tell.
  }
}

void connection::expect(std::string_view answer) {
  const std::string name = wire_.read_string(max_answer_name);
  if (name == answer) return;
  if (name == "SERROR") {
    ++refusals_;
    throw refusal(wire_.read_string(max_error_text), wire_.asked());
  }
  wire_.close();
  throw protocol_error("the server answered \"" + name + "\" instead of \"" + std::string(answer) + "\"");
}

void connection::call(const packet& request, std::string_view answer) {
  wire_.write(request);
  wire_.flush();
  expect(answer);
}

void connection::send_values(const packet& head, std::span<const double> values) {
  wire_.write(head);
  wire_.write_doubles(values);
  wire_.flush();
  expect("SDONE");
}

std::vector<std::string> connection::list(const packet& request, std::string_view answer) {
  call(request, answer);
  return wire_.read_strings(wire_.read_int());
}

bool connection::exists(std::string_view request_name, const std::string& name) {
  call(request(request_name).add_string(name, max_name), "SEXIST");
  return wire_.read_bool();
}

void connection::named(std::string_view request_name, const std::string& name) {
  call(request(request_name).add_string(name), "SDONE");
}

void connection::plain(std::string_view request_name) {
  call(request(request_name), "SDONE");
}

bool connection::is_old() const {
  return version_ < 401000 && (version_ >= 400000 || version_ < 410);
}

std::int32_t connection::hello(std::int32_t version, const std::string& path) {
  wire_.set_long_size(long_size::four_bytes);
  version_ = version;
  call(request("CHELLO").add_string(path).add_int(version), "SWELCOME");
  server_version_ = wire_.read_int();
  return server_version_;
}

bool connection::architecture(bool wide_longs) {
  call(request("CARCH").add_int(wide_longs ? 1 : 0), "SARCH");
  const bool server_is_wide = wire_.read_bool();
  wire_.set_long_size(wide_longs && server_is_wide ? long_size::eight_bytes : long_size::four_bytes);
  return server_is_wide;
}

void connection::open_root(const std::string& path) {
  call(request("CQRDDATA").add_string(path), "SOK");
}

std::vector<std::string> connection::requests() {
  return list(request("CSUPREQ"), "SSUPREQ");
}

std::optional<std::uint16_t> connection::new_session() {
  wire_.write(request("CNEWSESS"));
  wire_.flush();
  const std::string name = wire_.read_string(max_answer_name);
  if (name == "SNOSESS") return std::nullopt;
  if (name == "SERROR") {
    ++refusals_;
    throw refusal(wire_.read_string(max_error_text), wire_.asked());
  }
  const std::int32_t port = name == "SNEWPORT" ? wire_.read_int() : 0;
  if (port > 0 && port <= 0xffff) return static_cast<std::uint16_t>(port);
  wire_.close();
  throw protocol_error("the server offered no session: " + name + " " + std::to_string(port));
}

void connection::bye() {
  call(request("CBYE BYE"), "SBYE BYE");
  wire_.close();
}

void connection::abandon() {
  wire_.close();
}

}  // namespace qrd::client

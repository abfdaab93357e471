// Where a server is, as a text.
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "qrd/database.h"

namespace qrd::client {

namespace {

constexpr std::uint16_t default_port = 5500;
constexpr std::string_view ssh_scheme = "ssh://";
constexpr std::string_view local_scheme = "unix:";

struct host_place {
  std::string host;
  std::optional<std::uint16_t> port;
};

// HOST[:PORT]; `place` is what a complaint shows.
host_place parse_host(const std::string& text, const std::string& place) {
  const std::size_t split = text.find_last_of(":]");
  host_place result{text.substr(0, split), std::nullopt};
  if (split == std::string::npos || text[split] == ']') {
    result.host = text;
  } else {
    const std::string number = text.substr(split + 1);
    std::uint16_t port = 0;
    const auto [end, problem] = std::from_chars(number.data(), number.data() + number.size(), port);
    if (problem != std::errc() || end != number.data() + number.size() || port == 0) result.host.clear();
    result.port = port;
  }
  // A program would take it for an option.
  if (result.host.empty() || result.host[0] == '-')
    throw bad_argument("a server is told as HOST:PORT, ssh://HOST or unix:/PATH, not as \"" + place + "\"");
  return result;
}

std::string as_shell_word(const std::string& text) {
  std::string result = "'";
  for (const char character : text) result += character == '\'' ? "'\\''" : std::string(1, character);
  return result + "'";
}

std::vector<std::string> ssh_arguments(const std::string& place) {
  const std::string rest = place.substr(ssh_scheme.size());
  const std::size_t slash = rest.find('/');
  const std::string path = slash == std::string::npos ? "" : rest.substr(slash);
  host_place to = parse_host(rest.substr(0, slash), place);
  // The brackets of an address are for the port's sake.
  const std::size_t bracket = to.host.find('[');
  if (bracket != std::string::npos && to.host.back() == ']') {
    to.host.pop_back();
    to.host.erase(bracket, 1);
  }
  std::vector<std::string> arguments = {"ssh", "-T"};
  if (to.port) arguments.insert(arguments.end(), {"-p", std::to_string(*to.port)});
  const std::string program = path.size() > 1 ? as_shell_word(path) : "QRDserver";
  arguments.insert(arguments.end(), {to.host, program + " -inetd -quiet"});
  return arguments;
}

}  // namespace

connection connect_to(const std::string& address, const connection_options& options) {
  if (address.starts_with(ssh_scheme)) return connection::through(ssh_arguments(address), options);
  if (address.starts_with(local_scheme))
    return connection::connect_local(address.substr(local_scheme.size()), options);
  const host_place to = parse_host(address, address);
  connection_options with_session = options;
  with_session.new_session = true;
  return connection::connect(to.host, to.port.value_or(default_port), with_session);
}

}  // namespace qrd::client

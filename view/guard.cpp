#include "view/guard.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>

#include "qrd/error.h"

namespace qrd::view {

namespace {

struct descriptor {
  explicit descriptor(int opened) : number(opened) {}
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;
  ~descriptor() {
    if (number >= 0) close(number);
  }
  int number;
};

std::string random_word() {
  std::array<unsigned char, 16> bytes;
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw client::error("the system gives no random numbers");
  std::string word;
  for (const unsigned char byte : bytes) {
    constexpr char digits[] = "0123456789abcdef";
    word += digits[byte >> 4];
    word += digits[byte & 15];
  }
  return word;
}

// Takes as long for every text of the length.
bool is_equal(const std::string& given, const std::string& wanted) {
  if (given.size() != wanted.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < given.size(); ++i)
    difference |= static_cast<unsigned char>(given[i] ^ wanted[i]);
  return difference == 0;
}

bool has_cookie(const std::string& header, const std::string& name, const std::string& value) {
  std::istringstream parts(header);
  for (std::string part; std::getline(parts, part, ';');) {
    part.erase(0, part.find_first_not_of(' '));
    const std::size_t equals = part.find('=');
    if (equals != std::string::npos && part.substr(0, equals) == name &&
        is_equal(part.substr(equals + 1), value))
      return true;
  }
  return false;
}

}  // namespace

guard::guard(std::uint16_t port)
    : hosts_{"127.0.0.1:" + std::to_string(port), "localhost:" + std::to_string(port)},
      cookie_name_("qrd_view_" + std::to_string(port)),
      secret_(random_word()) {}

verdict guard::judge(const request_head& head) const {
  const auto is_ours = [&](const std::string& host) {
    return std::find(hosts_.begin(), hosts_.end(), host) != hosts_.end();
  };
  if (head.hosts.size() != 1 || !is_ours(head.hosts[0])) return verdict::wrong_host;
  for (const std::string& origin : head.origins)
    if (origin != "http://" + head.hosts[0]) return verdict::wrong_host;
  if (head.method != "GET") return verdict::wrong_method;
  if (!head.secret.empty())
    return head.path == "/" && is_equal(head.secret, secret_) ? verdict::enters : verdict::stranger;
  const bool known = std::any_of(head.cookies.begin(), head.cookies.end(), [&](const std::string& header) {
    return has_cookie(header, cookie_name_, secret_);
  });
  return known ? verdict::welcome : verdict::stranger;
}

bool is_of_this_user(int socket) {
  sockaddr_in own{}, other{};
  socklen_t own_size = sizeof own, other_size = sizeof other;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&own), &own_size) != 0 ||
      getpeername(socket, reinterpret_cast<sockaddr*>(&other), &other_size) != 0)
    return true;
  const descriptor kernel(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
  struct {
    nlmsghdr head;
    inet_diag_req_v2 body;
  } question{};
  question.head.nlmsg_len = sizeof question;
  question.head.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  question.head.nlmsg_flags = NLM_F_REQUEST;
  question.body.sdiag_family = AF_INET;
  question.body.sdiag_protocol = IPPROTO_TCP;
  question.body.idiag_states = ~0U;
  question.body.id = {other.sin_port,
                      own.sin_port,
                      {other.sin_addr.s_addr},
                      {own.sin_addr.s_addr},
                      0,
                      {INET_DIAG_NOCOOKIE, INET_DIAG_NOCOOKIE}};
  if (send(kernel.number, &question, sizeof question, 0) != sizeof question) return true;
  struct {
    nlmsghdr head;
    inet_diag_msg body;
    char more[512];
  } told{};
  const ssize_t size = recv(kernel.number, &told, sizeof told, MSG_DONTWAIT);
  if (size < static_cast<ssize_t>(offsetof(decltype(told), more)) ||
      told.head.nlmsg_type != SOCK_DIAG_BY_FAMILY)
    return true;
  return told.body.idiag_uid == getuid() || told.body.idiag_uid == 0;
}

}  // namespace qrd::view

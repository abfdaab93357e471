// Who may ask: the browser that was given the secret, for this page, and nobody else.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qrd::view {

// What of a request decides about it. Of a header each value that it came with.
struct request_head {
  std::string method;
  std::string path;
  std::string secret;  // of the URL
  std::vector<std::string> hosts;
  std::vector<std::string> origins;
  std::vector<std::string> cookies;
};

enum class verdict {
  welcome,       // has the cookie
  enters,        // has the secret in its URL, and gets the cookie for it
  stranger,      // has neither
  wrong_host,    // means another host, or comes from a page of one
  wrong_method,  // would not only read
};

class guard {
 public:
  // A secret of its own for the server at this port.
  explicit guard(std::uint16_t port);

  verdict judge(const request_head& head) const;
  const std::string& secret() const { return secret_; }
  // Cookies of one address are shared by all its ports, so each server has its own name.
  const std::string& cookie_name() const { return cookie_name_; }
  std::string cookie() const { return cookie_name_ + "=" + secret_ + "; HttpOnly; SameSite=Strict; Path=/"; }

 private:
  std::vector<std::string> hosts_;
  std::string cookie_name_;
  std::string secret_;
};

// Whether the other end of a connection to this machine belongs to this user, or to root: cookies can't be
// hidden from a server of another user to which the browser is led. True where the system doesn't tell.
bool is_of_this_user(int socket);

}  // namespace qrd::view

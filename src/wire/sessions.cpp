#include "wire/sessions.h"

#include <sys/wait.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "wire/messages.h"

namespace qrd {

namespace {

// Of any limit: three weeks, or more processes than a system has.
constexpr std::int32_t highest_limit = 2'000'000;

bool read_limit(const char* name, std::int32_t& limit) {
  const char* value = std::getenv(name);
  if (value == nullptr) return true;
  const std::string_view text = value;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), limit);
  if (problem == std::errc() && end == text.data() + text.size() && limit >= 0 && limit <= highest_limit)
    return true;
  _qrd_error("%s is \"%s\", which is not a number from 0 to %d.", name, value, highest_limit);
  return false;
}

std::string_view address_of(std::string_view client) {
  return client.substr(0, client.rfind(':'));
}

void tell_refusal(const std::string& client, const char* variable, std::int32_t limit) {
  std::printf("No session for %s: %s is %d.\n", client.c_str(), variable, limit);
}

}  // namespace

bool read_session_limits() {
  // All of them, so that each mistake is told.
  const bool is_good[] = {read_limit("QRD_MAX_SESSIONS", allowed.sessions),
                          read_limit("QRD_MAX_SESSIONS_PER_ADDRESS", allowed.sessions_per_address),
                          read_limit("QRD_IDLE_TIMEOUT", allowed.silent_seconds),
                          read_limit("QRD_CONNECT_TIMEOUT", allowed.connect_seconds)};
  return std::find(std::begin(is_good), std::end(is_good), false) == std::end(is_good);
}

bool session_list::has_room(const std::string& client) const {
  if (allowed.sessions != 0 && std::ssize(sessions_) >= allowed.sessions) {
    tell_refusal(client, "QRD_MAX_SESSIONS", allowed.sessions);
    return false;
  }
  if (allowed.sessions_per_address == 0) return true;
  const auto same = std::count_if(sessions_.begin(), sessions_.end(), [&](const session& other) {
    return address_of(other.client) == address_of(client);
  });
  if (same < allowed.sessions_per_address) return true;
  tell_refusal(client, "QRD_MAX_SESSIONS_PER_ADDRESS", allowed.sessions_per_address);
  return false;
}

void session_list::add(std::int32_t process, const std::string& client) {
  sessions_.push_back({process, client});
}

std::string session_list::remove(std::int32_t process) {
  const auto found = std::find_if(sessions_.begin(), sessions_.end(),
                                  [process](const session& one) { return one.process == process; });
  if (found == sessions_.end()) return "";
  std::string client = found->client;
  sessions_.erase(found);
  return client;
}

void session_list::remove_ended() {
  std::erase_if(sessions_, [](const session& one) { return waitpid(one.process, nullptr, WNOHANG) != 0; });
}

}  // namespace qrd

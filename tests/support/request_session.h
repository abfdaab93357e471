// Requests served in the test's own process, over a socket pair.
#pragma once

#include <string>
#include <string_view>

#include "support/unmovable.h"

namespace qrd::test {

class request_session : unmovable {
 public:
  // Nothing selected, the newest protocol, 8-byte longs.
  request_session();
  ~request_session();

  // Serves one request with these argument bytes; all that it answers.
  std::string ask(const char* request, std::string_view arguments = {});
  // Of the last request.
  int status() const { return status_; }

 private:
  int client_end_ = -1;
  int status_ = 0;
};

// The bytes of answers without a body, and of a refusal.
std::string done();
std::string refusal(std::string_view text);

}  // namespace qrd::test

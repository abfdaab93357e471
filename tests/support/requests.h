// Requests served in the test's own process, and what is expected of them.
#pragma once

#include "requests/context.h"
#include "support/request_session.h"
#include "support/test.h"

namespace qrd::test {

// What holds of the server when it begins: nothing is selected.
struct requests : testing::Test {
  std::string ask(const char* request, const bytes& arguments = {}) {
    return client_.ask(request, arguments);
  }
  void expect_answer(const char* request, const bytes& arguments, const bytes& answer) {
    EXPECT_EQ(ask(request, arguments), answer) << request;
  }
  void expect_done(const char* request, const bytes& arguments = {}) {
    EXPECT_EQ(ask(request, arguments), done()) << request;
    EXPECT_EQ(client_.status(), 0) << request;
  }
  void expect_refused(const char* request, const bytes& arguments, const std::string& text) {
    EXPECT_EQ(ask(request, arguments), refusal(text)) << request;
    EXPECT_EQ(client_.status(), -1) << request;
  }
  // What the client has selected, from the study to the index.
  static std::string chosen() {
    const server_context& now = current_context;
    return std::string(now.study) + " " + now.directory + " " + now.file + " " + now.variable + " " +
           now.selection + " " + std::to_string(now.indice);
  }

  request_session client_;
};

}  // namespace qrd::test

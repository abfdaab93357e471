// Requests served in the test's own process, and what is expected of them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/bytes.h"
#include "support/request_session.h"

namespace qrd::test {

// What holds of the server when it begins: nothing is selected.
class requests : public testing::Test {
 protected:
  std::string ask(const char* request, const bytes& arguments = {}) {
    return client_.ask(request, arguments.str());
  }
  void expect_answer(const char* request, const bytes& arguments, const bytes& answer) {
    EXPECT_EQ(ask(request, arguments), answer.str()) << request;
  }
  void expect_done(const char* request, const bytes& arguments = {}) {
    EXPECT_EQ(ask(request, arguments), done()) << request;
    EXPECT_EQ(client_.status(), 0) << request;
  }
  void expect_refused(const char* request, const bytes& arguments, const std::string& text) {
    EXPECT_EQ(ask(request, arguments), refusal(text)) << request;
    EXPECT_EQ(client_.status(), -1) << request;
  }

  request_session client_;
};

}  // namespace qrd::test

// What the library says on the console.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "support/unmovable.h"

namespace qrd::test {

// Called inside a death test, which looks at standard error: sends the console there.
inline void console_on_stderr() {
  std::fflush(stdout);
  dup2(STDERR_FILENO, STDOUT_FILENO);
}

inline std::string console_of(const std::function<void()>& act) {
  testing::internal::CaptureStdout();
  act();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

// Keeps it to itself while the object lives.
struct silent_console : unmovable {
  silent_console() { testing::internal::CaptureStdout(); }
  ~silent_console() { testing::internal::GetCapturedStdout(); }
};

inline bool has_part(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace qrd::test

#define EXPECT_HAS(text, part) EXPECT_PRED2(qrd::test::has_part, text, part)

// The process ends with status 1 and a text on the console that matches the expression.
#define EXPECT_FATAL(statement, text)   \
  EXPECT_EXIT(                          \
      {                                 \
        qrd::test::console_on_stderr(); \
        statement;                      \
      },                                \
      testing::ExitedWithCode(1), text)

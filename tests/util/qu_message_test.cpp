#include "util/qu_message.h"

#include "support/test.h"
#include "util/qu_hooks.h"

namespace qrd::test {
namespace {

TEST(message, finished_text_is_read_once_more_as_a_format) {
  EXPECT_EQ(console_of([] { qu_message("%s", "100%% of %d and %-08.3lf%s%n"); }), "100% of  and \n");
  EXPECT_EQ(console_of([] { qu_message("%s", "half%"); }), "half\n");
  EXPECT_EQ(console_of([] { qu_message("%s", "a%!b%I64dc"); }), "a!bc\n");
  EXPECT_EQ(console_of([] { qu_message("%d%%%%", 7); }), "7%\n");
}

TEST(message, is_cut_at_a_thousand_characters) {
  std::string longest(1000, 'x');
  EXPECT_EQ(console_of([&] { qu_message("%s", (longest + "y").c_str()); }), longest + "\n");
}

TEST(fatal, says_its_text_whole_and_ends_with_status_1) {
  EXPECT_FATAL(qu_fatal("cannot %s 100%%d", "read"), "^\n\nFatal Software Error\ncannot read 100%d\n\n$");
  EXPECT_FATAL(qu_fatal_number("qd_end", 7),
               "\nFatal Software Error\nFatal Software Error No 7 in function qd_end\\(\\)\n\n\n");
  EXPECT_FATAL(qu_strerror(2), "Programming Error: Call qu_strerror\\(\\) with invalid mode");
  EXPECT_FATAL(qu_recover_advice(true), "Fatal Software Error\nPlease proceed with a Workspace Recover");
}

TEST(fatal, ends_the_study_once_even_if_that_fails) {
  auto end_study = [](int strict) {
    qu_message("strict %d", strict);
    qu_fatal_number("hook", 1);
  };
  EXPECT_EXIT(
      {
        console_on_stderr();
        hooks.end_study = end_study;
        qu_fatal("first");
      },
      testing::ExitedWithCode(1), "first\n\nstrict 0\n\n\nFatal Software Error\n.*No 1 in function hook");
  EXPECT_EXIT(
      {
        console_on_stderr();
        hooks.end_study = [](int strict) { qu_message("strict %d", strict); };
        qu_exit(0);
      },
      testing::ExitedWithCode(0), "strict 1\n");
}

}  // namespace
}  // namespace qrd::test

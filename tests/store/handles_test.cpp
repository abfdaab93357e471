#include "disk/qd_handles.h"

#include "support/fresh_state.h"
#include "support/test.h"

namespace qrd::test {
namespace {

TEST(handles, are_tested_once_while_a_request_is_served) {
  temporary_directory folder;
  const std::string present = folder / "present";
  write_file(present, "");
  const std::string missing = folder / "missing";
  hooks.handle_test_path = present.c_str();
  {
    const handles_tested_once request;
    EXPECT_TRUE(qd_two_files_available());
    hooks.handle_test_path = missing.c_str();
    EXPECT_TRUE(qd_two_files_available());
  }
  EXPECT_FATAL((void)qd_two_files_available(), "FATAL ERROR in qu_test_open_file");
  // Each request looks for itself.
  EXPECT_FATAL(
      {
        const handles_tested_once request;
        (void)qd_two_files_available();
      },
      "FATAL ERROR in qu_test_open_file");
  fresh_state();
}

}  // namespace
}  // namespace qrd::test

// What holds for every handler.
#include "support/open_study.h"
#include "wire/answer.h"

namespace qrd::test {
namespace {

using dispatch = open_study;

// The count of a large grid doesn't fit into what an old client reads, and ends the answer in its middle.
TEST_F(dispatch, drops_an_answer_that_came_to_nothing) {
  expect_done("CGFILENEW", bytes("large").i32(2).f64(0, 1).i32(60000).f64(0, 1).i32(60000));
  expect_done("CFILESET", "large");
  expect_answer("CARCH", bytes().i32(0), bytes("SARCH").i32(1));
  expect_answer("CFILEINFO", {}, {});
  EXPECT_EQ(client_.status(), -1);
  expect_answer("CARCH", bytes().i32(1), bytes("SARCH").i32(1));
}

TEST_F(dispatch, a_refusal_stands_in_place_of_what_was_begun) {
  server_send_type("SDATAF");
  const request_status status = refuse("Memory allocation failed");
  EXPECT_EQ(status, request_status::not_served);
  expect_answer("CARCH", bytes().i32(1),
                bytes().raw(refusal("Memory allocation failed")).text("SARCH").i32(1));
}

}  // namespace
}  // namespace qrd::test

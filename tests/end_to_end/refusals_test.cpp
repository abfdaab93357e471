// Requests that come before what they need is chosen.
#include "support/database.h"

namespace qrd::test {
namespace {

struct refusals : testing::Test {
  refusals() : wire_(server_.connect()) {
    exchange(bytes("CHELLO").text("").i32(1300030), bytes("SWELCOME").i32(1300030));
    exchange(bytes("CARCH").i32(1), bytes("SARCH").i32(1));
  }
  void exchange(const bytes& request, const bytes& answer) {
    EXPECT_EQ(wire_.exchange(request, answer.str().size()), answer) << request.str();
  }
  void refused(const bytes& request, const std::string& text) {
    exchange(request, bytes("SERROR").text(text));
  }
  static bytes request(const char* name) { return bytes(name); }

  server_process server_;
  raw_connection wire_;
};

// What is wrong by itself is met before what is missing.
TEST_F(refusals, of_arguments_come_before_those_of_the_context) {
  refused(request("CFILETLST").i32(4, 4), "Unknown file type (4) for file");
  refused(request("CFILETLST").i32(3, 4), "Unknown file dimension (4) for file");
  refused(request("CPFILENEW").text("F").i64(1).i32(2).f64(1, 1.2345e308),
          "There should not be any test value in the coordinates");
  refused(request("CCOMGET").i32(1), "Comment Mode 1 unsupported");
  refused(request("CVARTLST").i32(3), "Coordinates variable names are within File Info");
  refused(request("CVARTLST").i32(9), "Unknown type (9) for variable");
  refused(request("CREADLINF").i32(0), "Wrong line index");
  refused(request("chello"), "Unrecognized request [chello]");
}

TEST_F(refusals, of_a_root_leave_the_server_ready) {
  const database copy;
  const std::string nowhere = copy / "nowhere";
  refused(request("CQRDDATA").text(nowhere), "QRD_INIT=" + nowhere + ": Cannot access directory");
  refused(request("CQRDDATA").text(copy / "Holes"),
          "QRD_INIT=" + (copy / "Holes") + ": Not a valid Velmar path (does not contain a list of studies).");
  exchange(request("CQRDDATA").text(copy.root().string()), bytes("SOK"));
  refused(request("CSTUDYSET").text("Gold"), "Study Unknown: \"Gold\"");
  exchange(request("CSTUDYSET").text("Holes"), bytes("SDONE"));
  // A study that was refused leaves the one that was chosen.
  refused(request("CSTUDYSET").text("holes"), "Study Unknown: \"holes\"");
  exchange(request("CDIRXIST").text("Drilling"), bytes("SEXIST").i32(1));
  write_file(copy / "OLD/ARCHIVE/DESCR", bytes().i32(520, 1, 130000, 0));
  refused(request("CSTUDYSET").text("Archive"), "Invalid Study version: \"Archive\"");
  write_file(copy / "DATA", "15.1.2\n");
  refused(
      request("CQRDDATA").text(copy.root().string()),
      "QRD_INIT=" + copy.root().string() + ": You cannot run QRDserver 15.03 on Velmar 15.1.2 file system");
}

}  // namespace
}  // namespace qrd::test

// Requests that come before what they need is chosen.
#include <gtest/gtest.h>

#include <string>

#include "end_to_end/database.h"

namespace qrd::test {
namespace {

class refusals : public testing::Test {
 protected:
  refusals() : wire_(server_.connect()) {
    exchange(bytes().text("CHELLO").text("").i32(1300030), bytes().text("SWELCOME").i32(1300030));
    exchange(bytes().text("CARCH").i32(1), bytes().text("SARCH").i32(1));
  }
  void exchange(const bytes& request, const bytes& answer) {
    EXPECT_EQ(wire_.exchange(request.str(), answer.str().size()), answer.str()) << request.str();
  }
  void refused(const bytes& request, const std::string& text) {
    exchange(request, bytes().text("SERROR").text(text));
  }
  static bytes request(const char* name) { return bytes().text(name); }

  server_process server_;
  raw_connection wire_;
};

TEST_F(refusals, without_a_root_and_a_study) {
  refused(request("CSTUDYLST"), "QRD_INIT is not defined");
  refused(request("CSTUDYSET").text("Holes"), "QRD_INIT is not set");
  refused(request("CSTUDYNEW").text("New").text("/nowhere/New"), "QRD_INIT is not set");
  refused(request("CSTUDYDEL"), "Current study is not set");
  refused(request("CDIRLST"), "Study is not set");
  refused(request("CDIRXIST").text("D"), "Study is not set");
  refused(request("CDIRSET").text("D"), "Study is not set");
  refused(request("CDIRNEW").text("D"), "Study is not set");
  refused(request("CDIRDEL"), "Current Directory is not set");
  refused(request("CVDATREAD").text("bag").i32(3), "Study is not set");
  refused(request("CFILELST"), "Directory is not set");
  // The wrong type is met before the missing directory.
  refused(request("CFILETLST").i32(4, 4), "Unknown file type (4) for file");
  refused(request("CFILETLST").i32(3, 4), "Unknown file dimension (4) for file");
  refused(request("CFILETLST").i32(3, 3), "Directory is not set");
  refused(request("CFILEXIST").text("F"), "Directory is not set");
  refused(request("CFILESET").text("F"), "Directory is not set");
  refused(request("CFILEDEL"), "Current File is not set");
  refused(request("CFILEINFO"), "File is not set");
  refused(request("CPFILENEW").text("F").i64(1).i32(2).f64(1, 1.2345e308),
          "There should not be any test value in the coordinates");
  refused(request("CPFILENEW").text("F").i64(1).i32(2).f64(1, 1), "Directory is not set");
  refused(request("CPFILEAPP").i64(1).i32(2).f64(1, 1), "File is not set");
  refused(request("CGFILENEW").text("F").i32(2).f64(0, 1).i32(1).f64(0, 1).i32(1), "Directory is not set");
  refused(request("CLFILENEW").text("F").i32(2), "Directory is not set");
  refused(request("CLFILEAPP").i32(1, 2).f64(1, 1), "File is not set");
  refused(request("CLFILELNK").text("F"), "Directory or File is not set");
  refused(request("CLFILECNT"), "File is not set");
  refused(request("GRIDMODO").f64(1, 1, 1), "Directory is not set");
  refused(request("CSELSET").text(""), "File is not set");
  refused(request("CCOMGET").i32(1), "Comment Mode 1 unsupported");
  refused(request("CCOMGET").i32(2), "File is not set");
  refused(request("CCOMGET").i32(3), "File or Variable is not set");
  refused(request("CVARCOMM").i32(0).text("text"), "File or Variable is not set");
  refused(request("CVARLST"), "File is not set");
  refused(request("CVARTLST").i32(3), "Coordinates variable names are within File Info");
  refused(request("CVARTLST").i32(9), "Unknown type (9) for variable");
  refused(request("CVARTLST").i32(5), "File is not set");
  refused(request("CVARXIST").text("V"), "File is not set");
  refused(request("CVARSET").text("V"), "File is not set");
  refused(request("CVARDEL"), "Current Variable is not set");
  refused(request("CVARINFO"), "Variable is not set");
  refused(request("CVARLNAME"), "Variable is not set");
  refused(request("CVARUNIT").i32(1).text("m"), "Variable is not set");
  refused(request("CMACROIND"), "Variable is not set");
  refused(request("CMACROADD").i32(1, 1, 5, 0), "Variable is not set");
  refused(request("CINDSET").i32(1), "Variable is not set");
  refused(request("CINDASET").text("a"), "Variable is not set");
  refused(request("CREADVARF").i64(-1, -1).i32(0), "Variable is not set");
  refused(request("CREADLINF").i32(0), "Wrong line index");
  refused(request("CREADLINF").i32(1), "Variable is not set");
  refused(request("CREADVARS").i64(-1, -1), "Variable is not set");
  refused(request("CREADVARC").i64(-1, -1).i32(0), "Variable is not set");
  refused(request("CWRITVARF").i64(-1, -1).i32(0).f64(0).i64(1).f64(1), "Variable is not set");
  refused(request("CWRITLINF").i64(1, 1).f64(0, 1), "Variable is not set");
  refused(request("CWRITVARS").i64(-1, -1, 4).raw("1111"), "Variable is not set");
  refused(request("CWRITVARC").i64(-1, -1).i32(0).text("").i64(1).text("a"), "Variable is not set");
  refused(request("CVARFNEW").text("V"), "Study, Directory or File is not set");
  refused(request("CVARCNEW").text("V"), "Study, Directory or File is not set");
  refused(request("chello"), "Unrecognized request [chello]");
  exchange(request("CBYE BYE"), bytes().text("SBYE BYE"));
  EXPECT_EQ(server_.wait(), 0);
}

TEST_F(refusals, of_a_root_leave_the_server_ready) {
  const database copy;
  const std::string nowhere = copy / "nowhere";
  refused(request("CQRDDATA").text(nowhere), "QRD_INIT=" + nowhere + ": Cannot access directory");
  refused(request("CQRDDATA").text(copy / "Holes"),
          "QRD_INIT=" + (copy / "Holes") + ": Not a valid Velmar path (does not contain a list of studies).");
  exchange(request("CQRDDATA").text(copy.root().string()), bytes().text("SOK"));
  refused(request("CSTUDYSET").text("Gold"), "Study Unknown: \"Gold\"");
  exchange(request("CSTUDYSET").text("Holes"), bytes().text("SDONE"));
  // A study that was refused leaves the one that was chosen.
  refused(request("CSTUDYSET").text("holes"), "Study Unknown: \"holes\"");
  exchange(request("CDIRXIST").text("Drilling"), bytes().text("SEXIST").i32(1));
  write_file(copy / "OLD/ARCHIVE/DESCR", bytes().i32(520, 1, 130000, 0).str());
  refused(request("CSTUDYSET").text("Archive"), "Invalid Study version: \"Archive\"");
  write_file(copy / "DATA", "15.1.2\n");
  refused(
      request("CQRDDATA").text(copy.root().string()),
      "QRD_INIT=" + copy.root().string() + ": You cannot run QRDserver 15.03 on Velmar 15.1.2 file system");
}

}  // namespace
}  // namespace qrd::test

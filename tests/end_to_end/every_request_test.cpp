// Every request of the table, on a server with nothing selected: it is known, it reads just its
// arguments, and it says what is missing.
#include <gtest/gtest.h>

#include "support/bytes.h"
#include "support/request_session.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

struct request_case {
  const char* name;
  bytes arguments;
  std::string answer;
};

bytes words(int count, std::int32_t value) {
  bytes out;
  for (int i = 0; i < count; ++i) out.i32(value);
  return out;
}

bytes doubles(int count) {
  bytes out;
  for (int i = 0; i < count; ++i) out.f64(1.5);
  return out;
}

std::string no(const char* what) {
  return refusal(std::string(what) + " is not set");
}

// In the order of the table, but for the goodbye.
std::vector<request_case> all_requests() {
  const bytes none;
  const bytes name = bytes().text("x");
  const bytes range = bytes().i64(-1, -1);
  const std::string nothing_open = no("QRD_INIT");
  const std::string no_parent = no("Study, Directory or File");
  const auto with = [](const bytes& first, const bytes& second) { return bytes(first).raw(second.str()); };
  const bytes scale = bytes()
                          .text("x")
                          .i32(0, 0)
                          .text("p")
                          .i32(2)
                          .raw(words(15, 1).str())
                          .text("")
                          .text("")
                          .raw(words(4, 0).str());
  return {
      {"CHELLO", bytes().text("").i32(1300030), bytes().text("SWELCOME").i32(1300030).str()},
      {"CNEWSESS", none, bytes().text("SNOSESS").str()},
      {"CQRDDATA", bytes().text("/no/such"), refusal("QRD_INIT=/no/such: Cannot access directory")},
      {"CARCH", words(1, 1), bytes().text("SARCH").i32(1).str()},
      {"CUNITMODE", words(1, 0), done()},
      {"CDISTUSET", bytes().text("m"), done()},
      {"CUNITCR", bytes().text("m").text("m").text("m"), done()},
      {"CSTUDYLST", none, refusal("QRD_INIT is not defined")},
      {"CSTUDYSET", name, nothing_open},
      {"CSTUDYNEW", bytes().text("x").text("/y"), nothing_open},
      {"CSTUDYDEL", none, no("Current study")},
      {"CDIRNEW", name, no("Study")},
      {"CDIRLST", none, no("Study")},
      {"CDIRXIST", name, no("Study")},
      {"CDIRSET", name, no("Study")},
      {"CDIRDEL", none, no("Current Directory")},
      {"CFILELST", none, no("Directory")},
      {"CFILETLST", words(2, -1), no("Directory")},
      {"CFILEXIST", name, no("Directory")},
      {"CFILESET", name, no("Directory")},
      {"CFILEDEL", none, no("Current File")},
      {"CFILEINFO", none, no("File")},
      {"CPFILENEW", with(bytes().text("x").i64(1).i32(2), doubles(2)), no("Directory")},
      {"CPFILEAPP", with(bytes().i64(1).i32(2), doubles(2)), no("File")},
      {"CGFILENEW", bytes().text("x").i32(2).f64(0, 1).i32(2).f64(0, 1).i32(2), no("Directory")},
      {"CLFILENEW", bytes().text("x").i32(2), no("Directory")},
      {"CLFILEAPP", with(bytes().i32(1, 2), doubles(2)), no("File")},
      {"CLFILEAPC", with(bytes().i32(1, 3), doubles(6)), no("File")},
      {"CLFILELNK", name, no("Directory or File")},
      {"CLFILECNT", none, no("File")},
      {"GRIDMODO", doubles(3), no("Directory")},
      {"GRIDMODM", doubles(3), no("Directory")},
      {"GRIDMODR", doubles(3), no("Directory")},
      {"CSELSET", name, no("File")},
      {"CCOMGET", words(1, 2), no("File")},
      {"CCOMSET", bytes().i32(3, 0).text("c"), no("File or Variable")},
      {"CVARLST", none, no("File")},
      {"CVARTLST", words(1, -1), no("File")},
      {"CVARXIST", name, no("File")},
      {"CVARSET", name, no("File")},
      {"CVARDEL", none, no("Current Variable")},
      {"CINDSET", words(1, 5), no("Variable")},
      {"CINDASET", name, no("Variable")},
      {"CVARINFO", none, no("Variable")},
      {"CMACROIND", none, no("Variable")},
      {"CMACROALP", none, no("Variable")},
      {"CMACROADD", bytes().i32(1, 1, 5, 1).text("a"), no("Variable")},
      {"CREADVARF", with(range, words(1, 0)), no("Variable")},
      {"CREADLINF", words(1, 1), no("Variable")},
      {"CREADVARS", range, no("Variable")},
      {"CREADVARC", with(range, words(1, 0)), no("Variable")},
      {"CVARFNEW", name, no_parent},
      {"CVARMNEW", name, no_parent},
      {"CVARCNEW", name, no_parent},
      {"CVARCOMM", bytes().i32(0).text("c"), no("File or Variable")},
      {"CWRITVARF", with(range, bytes().i32(0).f64(0).i64(1).f64(1)), no("Variable")},
      {"CWRITLINF", bytes().i64(1, 1).f64(0, 1), no("Variable")},
      {"CWRITVARS", with(range, bytes().i64(3).raw("abc")), no("Variable")},
      {"CWRITVARC", with(range, bytes().i32(0).text("").i64(1).text("t")), no("Variable")},
      {"CVARUNIT", bytes().i32(2).text("m").text("km"), no("Variable")},
      {"CVARLNAME", none, no("Variable")},
      {"CFAULTS", words(1, 1), no("File")},
      {"CWRITFAUL", none, no("Directory")},
      {"CVDATVERS", bytes().text("x").i32(0), no("Study")},
      {"CVDATREAD", bytes().text("x").i32(0), no("Study")},
      {"CVDATWRIT", bytes().text("x").i32(1, 0, 1).text("a").i32(1, 1), no("Study")},
      {"CVDATEXIS", bytes().text("x").i32(0), no("Study")},
      {"CPOLYGONS", none, no("File")},
      {"CPOLYNEW", with(with(bytes().text("x").i32(1), doubles(6)), bytes().i64(0)), no("Directory")},
      {"CWIREREAD", none, no("File")},
      {"CWIRENEW", name, no("Directory")},
      {"CPALLST", none, nothing_open},
      {"CPALXIST", name, nothing_open},
      {"CPALWRIT", bytes().text("x").i32(1, 1, 1, 1), nothing_open},
      {"CPALREAD", name, nothing_open},
      {"CPALDEL", name, nothing_open},
      {"CSCALST", none, nothing_open},
      {"CSCAXIST", name, nothing_open},
      {"CSCANEW", scale, nothing_open},
      {"CSCAREAD", name, nothing_open},
      {"CSCADEL", name, nothing_open},
  };
}

TEST(every_request, is_served_in_step) {
  server_process server;
  raw_connection client = server.connect();
  std::vector<std::string> asked = {"CSUPREQ", "CBYE BYE"};
  for (const request_case& each : all_requests()) {
    SCOPED_TRACE(each.name);
    asked.emplace_back(each.name);
    ASSERT_EQ(client.exchange(bytes().text(each.name).raw(each.arguments.str()).str(), each.answer.size()),
              each.answer);
    // Nothing was left over, neither of the arguments nor of the answer.
    const std::string in_step = bytes().text("SARCH").i32(1).str();
    ASSERT_EQ(client.exchange(bytes().text("CARCH").i32(1).str(), in_step.size()), in_step);
  }
  // The table holds these names and no others.
  std::string listed =
      client.exchange(bytes().text("CSUPREQ").str(), bytes().text("SSUPREQ").i32(0).str().size());
  EXPECT_EQ(listed, bytes().text("SSUPREQ").i32(static_cast<std::int32_t>(asked.size())).str());
  std::size_t rest = 0;
  for (const std::string& name : asked) rest += bytes().text(name).str().size();
  const std::string names = client.receive(rest);
  for (const std::string& name : asked)
    EXPECT_NE(names.find(bytes().text(name).str()), std::string::npos) << name;
  const std::string goodbye = bytes().text("SBYE BYE").str();
  EXPECT_EQ(client.exchange(bytes().text("CBYE BYE").str(), goodbye.size()), goodbye);
  EXPECT_EQ(server.wait(), 0);
}

}  // namespace
}  // namespace qrd::test

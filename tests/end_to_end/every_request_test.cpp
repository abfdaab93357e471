// Every request of the table, on a server with nothing selected: it is known, it reads just its
// arguments, and it says what is missing.
#include "support/connections.h"
#include "support/layout.h"
#include "support/request_session.h"

namespace qrd::test {
namespace {

// What is missing, by request.
const std::map<std::string, strings> refused = {
    {"QRD_INIT=/no/such: Cannot access directory", {"CQRDDATA"}},
    {"QRD_INIT is not defined", {"CSTUDYLST"}},
    {"QRD_INIT is not set",
     {"CSTUDYSET", "CSTUDYNEW", "CPALLST", "CPALXIST", "CPALWRIT", "CPALREAD", "CPALDEL", "CSCALST",
      "CSCAXIST", "CSCANEW", "CSCAREAD", "CSCADEL"}},
    {"Current study is not set", {"CSTUDYDEL"}},
    {"Study is not set",
     {"CDIRNEW", "CDIRLST", "CDIRXIST", "CDIRSET", "CVDATVERS", "CVDATREAD", "CVDATWRIT", "CVDATEXIS"}},
    {"Current Directory is not set", {"CDIRDEL"}},
    {"Directory is not set",
     {"CFILELST", "CFILETLST", "CFILEXIST", "CFILESET", "CPFILENEW", "CGFILENEW", "CLFILENEW", "GRIDMODO",
      "GRIDMODM", "GRIDMODR", "CWRITFAUL", "CPOLYNEW", "CWIRENEW"}},
    {"Directory or File is not set", {"CLFILELNK"}},
    {"Study, Directory or File is not set", {"CVARFNEW", "CVARMNEW", "CVARCNEW"}},
    {"Current File is not set", {"CFILEDEL"}},
    {"File is not set",
     {"CFILEINFO", "CPFILEAPP", "CLFILEAPP", "CLFILEAPC", "CLFILECNT", "CSELSET", "CVARLST", "CVARTLST",
      "CVARXIST", "CVARSET", "CFAULTS", "CPOLYGONS", "CWIREREAD"}},
    {"File or Variable is not set", {"CCOMGET", "CCOMSET", "CVARCOMM"}},
    {"Current Variable is not set", {"CVARDEL"}},
    {"Variable is not set",
     {"CINDSET", "CINDASET", "CVARINFO", "CMACROIND", "CMACROALP", "CMACROADD", "CREADVARF", "CREADLINF",
      "CREADVARS", "CREADVARC", "CWRITVARF", "CWRITLINF", "CWRITVARS", "CWRITVARC", "CVARUNIT", "CVARLNAME"}},
};

std::map<std::string, std::string> expected_answers() {
  std::map<std::string, std::string> answers;
  for (const auto& [text, names] : refused)
    for (const std::string& name : names) answers[name] = refusal(text);
  for (const char* name : {"CUNITMODE", "CDISTUSET", "CUNITCR"}) answers[name] = done();
  answers["CHELLO"] = bytes("SWELCOME").i32(1300030).str();
  answers["CNEWSESS"] = bytes("SNOSESS").str();
  answers["CARCH"] = bytes("SARCH").i32(1).str();
  answers["CSUPREQ"] = bytes("SSUPREQ").i32(83).str();
  for (const request_row& row : request_table) answers["CSUPREQ"] += bytes(row.name).str();
  answers["CBYE BYE"] = bytes("SBYE BYE").str();
  return answers;
}

// Values that nothing is wrong with but that nothing is selected.
class sensible : public value_source {
 public:
  std::int64_t number(const layout_value& value) override {
    if (value.name == "version") return 1300030;
    if (value.name == "mode") return 0;
    if (value.name == "dimension" || value.name == "symbols") return 2;
    if (value.name == "owner") return 3;
    return value.name == "type" && !value.decides ? -1 : 1;
  }
  std::string text(const layout_value& value) override {
    return value.name == "path" ? "/no/such" : value.limit > 1 ? "m" : "";
  }
};

// These look at what is selected first: they read no more than their name, or nothing.
std::string request_of(const request_row& row) {
  const std::string name = row.name;
  if (name == "CWRITFAUL") return bytes(name).str();
  for (const char* early : {"CVARFNEW", "CVARMNEW", "CVARCNEW", "CWIRENEW"})
    if (name == early) return bytes(name).text("x").str();
  sensible values;
  return packed_request(row, values, 1300030);
}

void expect_service(server_process& server, raw_connection& client) {
  const std::map<std::string, std::string> answers = expected_answers();
  const auto expect_answer = [&](const request_row& row) {
    SCOPED_TRACE(row.name);
    const std::string& answer = answers.at(row.name);
    ASSERT_EQ(client.exchange(request_of(row), answer.size()), answer);
  };
  for (const request_row& row : request_table) {
    if (row.name == std::string("CBYE BYE")) continue;
    expect_answer(row);
    // Nothing was left over, neither of the arguments nor of the answer.
    expect_answer(row_of("CARCH"));
  }
  EXPECT_EQ(answers.size(), std::size(request_table));
  expect_answer(row_of("CBYE BYE"));
  EXPECT_EQ(client.receive_rest(), "");
  EXPECT_EQ(server.wait(), 0);
}

TEST(every_request, is_served_in_step) {
  server_process server;
  raw_connection client = server.connect();
  expect_service(server, client);
}

// The debug print would show itself on the connection, wherever that is.
TEST(every_request, is_served_on_a_connection_that_is_there) {
  for (const bool is_passed_by_number : {false, true}) {
    socket_pair pair;
    const std::string by_number = "export LISTEN_PID=$$ LISTEN_FDS=1 LISTEN_FDNAMES=connection; exec " +
                                  std::string(server_program) + " -inetd -debug 3<&0 </dev/null";
    server_settings settings = is_passed_by_number ? started_by_shell(by_number, pair.far)
                                                   : started_on(pair.far, -1, {"-inetd", "-debug"});
    settings.streams = {pair.far, pair.far, pair.far};
    server_process server(settings);
    raw_connection client = pair.take_near();
    expect_service(server, client);
  }
  pipe_pair pipes;
  server_process server(started_on(pipes.requests[0], pipes.answers[1], {"-inetd", "-debug"}));
  raw_connection client = pipes.take_near();
  expect_service(server, client);
  EXPECT_HAS(server.errors(), "QRDserver DEBUG");
}

}  // namespace
}  // namespace qrd::test

#include "wire/trace.h"

#include <netdb.h>

#include "server/wire.h"
#include "support/test.h"
#include "wire/debug.h"
#include "wire/messages.h"
#include "wire/socket_errors.h"

namespace qrd::test {
namespace {

TEST(trace, indents_by_depth) {
  captured_trace trace(1);
  _qrd_trace("start %d", 7);
  _qrd_trace_enter("outer", 0);
  _qrd_trace("inside");
  _qrd_trace_enter("inner", 1);
  _qrd_trace("(%d,%s)", 1, "two");
  _qrd_trace_exit("%d", -1);
  _qrd_trace_exit(nullptr, 0);
  _qrd_trace("end");
  EXPECT_EQ(trace.text(),
            "start 7\nFunction outer\n  inside\n  Function inner(1,two)\n  Function returned -1\n"
            "Function returned\nend\n");
}

TEST(trace, depth_is_limited_to_five) {
  captured_trace trace(1);
  for (int i = 1; i <= 6; ++i) _qrd_trace_enter("f", 0);
  _qrd_trace("deep");
  EXPECT_EQ(trace.text(),
            "Function f\n  Function f\n    Function f\n      Function f\n        Function f\n"
            "          Function f\nError in debug print (wrong indent) !!!!!!\n          deep\n");
  EXPECT_EQ(tracing.indent, 5);
}

TEST(trace, an_exit_too_many_is_told) {
  captured_trace trace(1);
  _qrd_trace_exit("%d", 3);
  EXPECT_EQ(trace.text(), "Error in debug print (wrong indent) !!!!!!\nFunction returned 3\n");
  EXPECT_EQ(tracing.indent, 0);
}

// Exits with 7 if the trace went where `prepare` has put something in its way.
[[noreturn]] void trace_over(const std::function<void(const std::string& path)>& prepare) {
  temporary_directory directory;
  const std::string path = directory / ("QRDserver_trace_" + std::to_string(getpid()) + ".txt");
  setenv("TMPDIR", directory.path().c_str(), 1);
  setenv("QRD_SERVER_TRACE", "1", 1);
  unsetenv("QRD_SERVER_TRACE_FILE");
  prepare(path);
  _qrd_trace_init();
  const bool is_traced = tracing.level != 0 || read_file(path).find("Tracing") != std::string::npos;
  if (tracing.file != nullptr) std::fclose(tracing.file);
  fs::remove_all(directory.path());
  std::_Exit(is_traced ? 7 : 0);
}

// Its folder belongs to everybody, and its name can be guessed.
TEST(trace, the_default_file_is_an_own_one) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(trace_over([](const std::string&) {}), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(trace_over([](const std::string& path) { write_file(path, "before"); }),
              testing::ExitedWithCode(7), "");
  EXPECT_EXIT(trace_over([](const std::string& path) {
                write_file(path + "x", "");
                fs::create_symlink(path + "x", path);
              }),
              testing::ExitedWithCode(0), "");
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  EXPECT_EXIT(trace_over([](const std::string& path) {
                write_file(path, "");
                if (chown(path.c_str(), 65534, 65534) != 0) std::_Exit(1);
              }),
              testing::ExitedWithCode(0), "");
}

TEST(errors, go_to_the_sink_and_the_trace) {
  captured_trace trace(1);
  captured_errors errors;
  _qrd_error("bad %s", "100%d");
  errno = ENOENT;
  _qrd_error_system("open");
  errno = ECONNREFUSED;
  _qrd_error_socket("connect %d", 5);
  errno = EPIPE;
  _qrd_error_socket("send");
  EXPECT_EQ(captured_errors::texts(),
            (strings{"bad 100%d", "open: No such file or directory",
                     "connect 5\nWinsock error: No connection could be made because the "
                     "target machine actively refused it",
                     "send\nWinsock error: No error"}));
  EXPECT_TRUE(trace.text().starts_with(
      "Error: bad 100%d\nError: open: No such file or directory\nError: connect 5\n"))
      << trace.text();
}

TEST(errors, socket_errors_have_their_texts) {
  EXPECT_STREQ(socket_error_text(0), "No error");
  EXPECT_STREQ(socket_error_text(ECONNRESET),
               "An existing connection was forcibly closed by the remote host");
  EXPECT_STREQ(socket_error_text(EAI_NONAME), "No such host is known");
  EXPECT_STRNE(socket_error_text(EADDRINUSE), "No error");
  EXPECT_STREQ(socket_error_text(123456), "No error");
}

TEST(debug, goes_to_the_trace_and_where_it_is_on_to_the_console) {
  captured_trace trace(1);
  testing::internal::CaptureStdout();
  console.debug = true;
  _qrd_debug("New Socket Port: %d", 12);
  console.debug = false;
  _qrd_debug("only traced");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "QRDserver Debug: New Socket Port: 12\n");
  EXPECT_EQ(trace.text(), "Debug: New Socket Port: 12\nDebug: only traced\n");
}

}  // namespace
}  // namespace qrd::test

#include "util/qu_file.h"

#include "support/test.h"
#include "util/qu_copy.h"
#include "util/qu_hooks.h"
#include "util/qu_line_reader.h"
#include "util/qu_memory.h"

namespace qrd::test {
namespace {

struct plain_files : testing::Test {
  temporary_directory folder_;
  std::string path_ = folder_ / "A";
};

TEST_F(plain_files, refuses_names_that_other_platforms_cannot_hold) {
  auto opens = [&](const std::string& name) {
    file_stream stream(qu_file_open_n(name.c_str(), write_binary));
    return static_cast<bool>(stream);
  };
  std::string report = console_of([&] {
    for (char c : std::string("?*|\"<>")) EXPECT_FALSE(opens(folder_ / (std::string("a") + c))) << c;
    EXPECT_FALSE(opens(folder_ / "X:Y"));
  });
  EXPECT_HAS(report, "File name \"" + (folder_ / "X:Y") + "\" contains invalid characters\n");
  fs::current_path(folder_.path());
  EXPECT_TRUE(opens("A:B"));
  EXPECT_TRUE(opens("ab:c"));
  EXPECT_FALSE(opens("abc:"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 2);
}

TEST_F(plain_files, opens_close_on_exec_and_only_ordinary_files) {
  write_file(path_, "text");
  const std::string pipe = folder_ / "P";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  alarm(60);  // for an open that waits for the pipe's other end
  for (int mode = read_text; mode <= write_binary + 1; mode++) {
    file_stream stream(qu_file_open_n(path_.c_str(), static_cast<file_mode>(mode)));
    ASSERT_TRUE(stream) << mode;
    EXPECT_EQ(fcntl(fileno(stream.get()), F_GETFD), FD_CLOEXEC) << mode;
    EXPECT_EQ(qu_file_open_n(folder_.path().c_str(), static_cast<file_mode>(mode)), nullptr) << mode;
    EXPECT_EQ(qu_file_open_n(pipe.c_str(), static_cast<file_mode>(mode)), nullptr) << mode;
  }
  alarm(0);
  EXPECT_FATAL(qu_file_open_f(folder_.path().c_str(), read_binary),
               "WARNING: A FATAL ERROR OCCURED WHEN OPENING A FILE\n"
               "IN THE VELMAR FILE SYSTEM... FILE NAME:\n.*\n\nSYSTEM ERROR MESSAGE:\nIs a directory\n"
               "FATAL ERROR in qu_file_open_f while opening:\n(.*\n)*.*Please proceed with a Workspace");
  EXPECT_FALSE(qu_file_readable(folder_.path().c_str()));
  EXPECT_TRUE(qu_path_readable(folder_.path().c_str()));
  EXPECT_TRUE(qu_file_readable(path_.c_str()));
}

TEST_F(plain_files, judges_text_by_its_first_1024_bytes) {
  write_file(path_, std::string(1023, '\xE9') + '\0');
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_open_n(path_.c_str(), read_text), nullptr); }),
            "Warning: File named " + path_ +
                " seems to be a binary when an ASCII file was expected.\n"
                "-------  Reading cancelled.\n");
  EXPECT_TRUE(file_stream(qu_file_open_f(path_.c_str(), read_text)));
  EXPECT_TRUE(file_stream(qu_file_open_n(path_.c_str(), read_binary)));
  write_file(path_, "ab\t\r\n" + std::string(1019, 'x') + '\0');
  file_stream stream(qu_file_open_n(path_.c_str(), update_text));
  ASSERT_TRUE(stream);
  EXPECT_EQ(std::fgetc(stream.get()), 'a');
  write_file(path_, "");
  stream = file_stream(qu_file_open_n(path_.c_str(), read_text));
  ASSERT_TRUE(stream);
  EXPECT_EQ(std::fgetc(stream.get()), EOF);
}

strings lines(const std::string& path, bool keep_line_end) {
  strings all;
  file_stream stream(qu_file_open_f(path.c_str(), read_binary));
  char* buffer = nullptr;
  std::int64_t size = 0;
  while (const char* line = qu_file_next_line_r(stream.get(), keep_line_end, &buffer, &size))
    all.emplace_back(line);
  EXPECT_EQ(buffer, nullptr);
  EXPECT_EQ(size, 0);
  return all;
}

TEST_F(plain_files, reads_lines_of_any_length) {
  std::uint64_t start = checked_memory.in_use;
  std::string longest(5000, 'x');
  for (std::size_t length : {998U, 999U, 1000U, 1998U, 1999U, 2000U}) {
    std::string line(length, 'y');
    write_file(path_, line);
    EXPECT_EQ(lines(path_, false), strings{line});
    EXPECT_EQ(lines(path_, true), strings{line + "\n"});
    write_file(path_, line + "\n" + longest + "\r\n");
    EXPECT_EQ(lines(path_, false), (strings{line, longest}));
    EXPECT_EQ(lines(path_, true), (strings{line + "\n", longest + "\n"}));
  }
  write_file(path_, std::string("\r\n\n a\rb \nend\0\nc\nd", 17));
  EXPECT_EQ(lines(path_, false), (strings{"", "", " a\rb ", "endc", "d"}));
  write_file(path_, "");
  EXPECT_TRUE(lines(path_, true).empty());
  EXPECT_EQ(checked_memory.in_use, start);
  EXPECT_EQ(qu_file_next_line(nullptr, true), nullptr);
}

TEST_F(plain_files, knows_how_many_more_files_can_be_opened) {
  write_file(path_, "");
  hooks.handle_test_path = path_.c_str();
  EXPECT_EQ(qu_test_open_file(2), 1);
  EXPECT_EQ(qu_test_open_file(513), 0);
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  rlimit few{24, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_EQ(qu_test_open_file(30), 0);
  EXPECT_EQ(qu_test_open_file(2), 1);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_FATAL(
      {
        hooks.handle_test_path = "";
        qu_test_open_file(1);
      },
      "SYSTEM ERROR MESSAGE:\nNo such file or directory\n\n\nFatal Software Error\n"
      "FATAL ERROR in qu_test_open_file\n");
  hooks = {};
}

TEST_F(plain_files, copies_and_appends) {
  std::string content(70000, 'c');
  write_file(path_, content);
  EXPECT_EQ(qu_file_copy(path_.c_str(), (folder_ / "B").c_str()), 1);
  EXPECT_EQ(qu_file_concat(path_.c_str(), (folder_ / "B").c_str()), 1);
  EXPECT_EQ(read_file(folder_ / "B"), content + content);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_copy(path_.c_str(), (folder_ / "no/B").c_str()), 0); }),
            "Unable to create the new file " + (folder_ / "no/B") + "\n\n");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_copy((folder_ / "no").c_str(), "x"), 0); }),
            "Unable to access file " + (folder_ / "no") + ".\nSystem Error: No such file or directory\n");
}

TEST_F(plain_files, a_failed_append_leaves_the_target_as_it_was) {
  write_file(path_, std::string(200000, 'c'));
  write_file(folder_ / "B", "own");
  {
    file_size_limit disk(70000);
    EXPECT_EQ(qu_file_concat(path_.c_str(), (folder_ / "B").c_str()), 0);
  }
  EXPECT_EQ(read_file(folder_ / "B"), "own");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 2);
}

TEST_F(plain_files, a_full_disk_removes_the_copy) {
  write_file(path_, std::string(200000, 'c'));
  EXPECT_EXIT(
      {
        file_size_limit disk(70000);
        console_on_stderr();
        int result = qu_file_copy(path_.c_str(), (folder_ / "B").c_str());
        _exit(result == 0 && access((folder_ / "B").c_str(), F_OK) != 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0),
      "WARNING: UNABLE TO COPY INTO THE NEW FILE\n .*\n\n         CHECK DISK SPACE AND DISK QUOTAS.\n");
}

}  // namespace
}  // namespace qrd::test

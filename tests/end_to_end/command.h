// The program qrd, run as a user runs it, on a root of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/program_run.h"
#include "support/programs.h"

namespace qrd::test {

using json = nlohmann::json;
using strings = std::vector<std::string>;

class commands : public testing::Test {
 protected:
  program_run run(strings arguments, const std::string& input = {}) {
    arguments.insert(arguments.begin(), {"--root", root_});
    return run_program(client_program, std::move(arguments), input);
  }

  // What a run prints that has to go well.
  std::string good(const strings& arguments, const std::string& input = {}) {
    const program_run result = run(arguments, input);
    EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments);
    EXPECT_EQ(result.errors, "") << testing::PrintToString(arguments);
    return result.output;
  }

  // The complaint of a run that has to fail: one line, and nothing else.
  std::string complaint(const strings& arguments, const std::string& input = {}, int status = 1) {
    const program_run result = run(arguments, input);
    EXPECT_EQ(result.status, status) << testing::PrintToString(arguments);
    EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_TRUE(result.errors.starts_with("qrd: ")) << result.errors;
    return result.errors.substr(0, result.errors.size() - 1);
  }

  // What a failed run says, in as many lines as it likes.
  std::string complaints(const strings& arguments, const std::string& input = {}, int status = 1) {
    const program_run result = run(arguments, input);
    EXPECT_EQ(result.status, status) << testing::PrintToString(arguments);
    EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
    return result.errors;
  }

  // The root becomes a copy of the sample database.
  void use_sample_database() {
    std::filesystem::copy(shipped_root, root_, std::filesystem::copy_options::recursive);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root_))
      std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_write,
                                   std::filesystem::perm_options::add);
  }

  void make_directory() {
    good({"new", "study", "S"});
    good({"new", "directory", "S", "D"});
  }

  temporary_directory scratch_;
  std::string root_ = scratch_ / "root";
};

}  // namespace qrd::test

// A study with one directory, open in the test's own process, and requests on it.
#pragma once

#include "support/requests.h"
#include "support/study_root.h"

namespace qrd::test {

// Study "S" with units, directory "D"; the distance unit is the metre.
struct open_study : requests {
  void SetUp() override {
    root_.make_study("S", study_descriptor(1));
    root_.write_registry(pair("$init$/S", "S"));
    expect_answer("CQRDDATA", bytes(root_.path()), "SOK");
    expect_done("CSTUDYSET", "S");
    expect_done("CDIRNEW", "D");
    expect_done("CDIRSET", "D");
  }

  // Makes a points file with so many samples at (1, 1), (2, 2) and so on, and makes it the current one.
  void make_points(const std::string& name, int samples, int dimension = 2) {
    bytes arguments;
    arguments.text(name).i64(samples).i32(dimension);
    for (int axis = 0; axis < dimension; ++axis)
      for (int i = 1; i <= samples; ++i) arguments.f64(i);
    expect_done("CPFILENEW", arguments);
    expect_done("CFILESET", bytes(name));
  }

  // Selects these samples (1 or 0 each) of the current file by a new variable.
  void select_samples(const std::string& name, const std::vector<int>& flags) {
    const auto count = static_cast<std::int64_t>(flags.size());
    expect_done("CVARFNEW", bytes(name).i32(1, 1, 5, 0, 0));
    expect_done("CVARSET", bytes(name));
    expect_done("CWRITVARS", bytes().i64(1, count, count).u8(flags));
    expect_done("CSELSET", bytes(name));
  }

  // Paths in the study, and of the n-th file of the directory.
  std::string in_study(const std::string& name) const { return root_ / ("S/" + name); }
  std::string in_file(int number, const std::string& name) const {
    return in_study("QRD/DIRE.1/FILE." + std::to_string(number) + "/" + name);
  }

  study_root root_;
};

}  // namespace qrd::test

// The descriptors of files and variables, built without the code under test.
#pragma once

#include "support/bytes.h"

namespace qrd::test {

// A file descriptor of any version. The defaults are those of an empty points file.
struct file_fields {
  std::string name = "File";
  int organisation = 1;
  int dimension = 3;
  int lines = 0;
  std::vector<double> lengths = {0, 0, 0, 0, 0, 0};  // x0, y0, z0, dx, dy, dz
  std::vector<int> nodes = {0, 0, 0};
  std::vector<double> angles = {0, 0, 0};
  std::string link = "";
  std::int64_t samples = 0;
  std::int64_t allocated = 0;

  std::string bytes_of(int version = 1100) const {
    bytes b;
    b.i32(version).text(name);
    if (version < 520) b.i32(77);
    b.i32(organisation, dimension, lines);
    b.f64(lengths).i32(nodes);
    for (std::size_t i = 0; i < (version < 200 ? 2U : 3U); ++i) b.f64(angles[i]);
    b.text(link);
    if (version < 520) {
      b.i32(88, static_cast<int>(samples), static_cast<int>(allocated));
    } else {
      b.i64(samples, allocated);
    }
    for (int i = 0; version < 1100 && i < (version < 900 ? 3 : 10); ++i) b.text("m");
    return b.str();
  }
};

// A variable descriptor of version 900 or later.
struct variable_fields {
  std::string name = "Var";
  int type = 0;
  int kind = 0;
  int bit_length = 64;
  int implicit = 0;
  std::string unit = "";
  double factor = 0.0;

  int format = 2, width = 10, digits = 3;

  std::string bytes_of(int version = 1100) const {
    bytes b;
    b.i32(version).text(name).i32(type, kind, bit_length, implicit);
    return b.i32(format, width, digits).text(unit).f64(factor).str();
  }
};

// The table of a macro variable: its indices, and their texts if it has any.
inline std::string macro_bytes(const std::vector<int>& indices, const strings& texts = {}) {
  bytes b = bytes().i32(1100, static_cast<int>(indices.size())).i32(indices);
  return b.i32(static_cast<int>(texts.size())).text(texts);
}

// The table of a lines file.
inline std::string line_table(const std::vector<std::int64_t>& entries) {
  return bytes().i64(entries);
}

}  // namespace qrd::test

// A catalogue laid out byte by byte, and the store pointed at it.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "store/qd_init.h"
#include "support/bytes.h"
#include "support/temporary_directory.h"
#include "units/qu_units.h"
#include "util/qu_file.h"
#include "util/qu_string.h"

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
    b.i32(organisation).i32(dimension).i32(lines);
    for (double value : lengths) b.f64(value);
    for (int value : nodes) b.i32(value);
    for (std::size_t i = 0; i < (version < 200 ? 2U : 3U); ++i) b.f64(angles[i]);
    b.text(link);
    if (version < 520) {
      b.i32(88).i32(static_cast<int>(samples)).i32(static_cast<int>(allocated));
    } else {
      b.i64(samples).i64(allocated);
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

  std::string bytes_of(int version = 1100) const {
    return bytes()
        .i32(version)
        .text(name)
        .i32(type)
        .i32(kind)
        .i32(bit_length)
        .i32(implicit)
        .i32(2)
        .i32(10)
        .i32(3)
        .text(unit)
        .f64(factor)
        .str();
  }
};

class catalogue_tree {
 public:
  catalogue_tree() {
    qu_path_join(study_path, {folder_.path().string()});
    qu_path_join(catalogue_path, {folder_ / "QRD"});
    write_file(folder_ / "read_write.def", "");
    qu_path_join(handle_test_path, {folder_ / "read_write.def"});
    std::filesystem::create_directory(folder_ / "QRD");
    unit_flag = 1;
    qu_formats_reset();
  }
  ~catalogue_tree() {
    unit_flag = 1;
    qu_formats_reset();
  }

  // The path of a folder of the catalogue, made if it isn't there: "DIRE.1/FILE.2".
  std::string folder(const std::string& path) const {
    std::string whole = folder_ / ("QRD/" + path);
    std::filesystem::create_directories(whole);
    return whole;
  }
  std::string descriptor(const std::string& path) const { return folder_ / ("QRD/" + path + "/DESCR"); }
  // An object with this descriptor; its folder.
  std::string add(const std::string& path, const std::string& content) const {
    std::string whole = folder(path);
    write_file(whole + "/DESCR", content);
    return whole;
  }
  std::string add_directory(const std::string& path, const std::string& name) const {
    return add(path, bytes().i32(1100).text(name).str());
  }
  std::string operator/(const std::string& name) const { return folder_ / name; }

 private:
  temporary_directory folder_;
};

}  // namespace qrd::test

// A catalogue laid out byte by byte, and the store pointed at it.
#pragma once

#include "catalogue/qd_study_lock.h"
#include "catalogue/qu_study.h"
#include "disk/qd_handles.h"
#include "disk/qu_study_descriptor.h"
#include "disk/qu_version.h"
#include "disk/store_state.h"
#include "samples/qd_io.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_study_session.h"
#include "samples/qd_variable_table.h"
#include "support/descriptors.h"
#include "support/fresh_state.h"
#include "support/test.h"
#include "units/qu_units.h"
#include "util/qu_critical.h"
#include "util/qu_file.h"
#include "util/qu_hooks.h"
#include "util/qu_string.h"

namespace qrd::test {

class catalogue_tree {
 public:
  catalogue_tree() {
    fresh_state();
    qu_path_join(store.study_path, {folder_.path().string()});
    qu_path_join(store.catalogue_path, {folder_ / "QRD"});
    write_file(folder_ / "read_write.def", "");
    qu_path_join(store.handle_test_path, {folder_ / "read_write.def"});
    hooks.handle_test_path = store.handle_test_path;
    fs::create_directory(folder_ / "QRD");
  }
  ~catalogue_tree() { fresh_state(); }

  std::string path() const { return folder_ / "QRD"; }
  // The path of a folder of the catalogue, made if it isn't there: "DIRE.1/FILE.2".
  std::string folder(const std::string& path) const {
    std::string whole = folder_ / ("QRD/" + path);
    fs::create_directories(whole);
    return whole;
  }
  std::string descriptor(const std::string& path) const { return folder_ / ("QRD/" + path + "/DESCR"); }
  // An object with this descriptor; its folder.
  std::string add(const std::string& path, const std::string& content) const {
    std::string whole = folder(path);
    write_file(whole + "/DESCR", content);
    return whole;
  }
  std::string add(const std::string& path, const file_fields& fields) const {
    return add(path, fields.bytes_of());
  }
  std::string add(const std::string& path, const variable_fields& fields) const {
    return add(path, fields.bytes_of());
  }
  std::string add_directory(const std::string& path, const std::string& name) const {
    return add(path, bytes().i32(1100).text(name).str());
  }
  std::string operator/(const std::string& name) const { return folder_ / name; }

 private:
  temporary_directory folder_;
};

}  // namespace qrd::test

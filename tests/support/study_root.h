// A database root with studies, built without the code under test.
#pragma once

#include "support/test.h"

namespace qrd::test {

inline std::string study_descriptor(std::int32_t unit_flag, std::int32_t version = 140000,
                                    std::int32_t is_64bit = 0) {
  return bytes().i32(520, unit_flag, version, is_64bit).str();
}

class study_root {
 public:
  std::string path() const { return directory_.path() / "root"; }
  std::string operator/(const std::string& name) const { return path() + "/" + name; }

  study_root() { fs::create_directory(path()); }

  // The lines behind the two of the root paths.
  void write_registry(const std::string& pairs, const std::string& windows = "") const {
    write_file(*this / "study_names.def", "root_unix      =\nroot_windows   =" + windows + "\n" + pairs);
  }
  std::string registry() const { return read_file(*this / "study_names.def"); }

  // The folders of a study and its descriptor; its path.
  std::string make_study(const std::string& name, const std::string& descriptor) const {
    std::string study = *this / name;
    for (const char* folder : {"DEF", "QRD", "TMP", "PARAM/DVARIO", "PARAM/MVARIO", "PARAM/NEIGH",
                               "PARAM/ANAM", "PARAM/MCORREL", "PARAM/PCAMOD", "PARAM/PROP", "PARAM/MREGR",
                               "CSCALE", "U_LITHO", "TRANSFO", "METAFILE", "U_COLOR", "IMAGES"})
      fs::create_directories(study + "/" + folder);
    write_file(study + "/DESCR", descriptor);
    return study;
  }

 private:
  temporary_directory directory_;
};

// The two lines of a study.
inline std::string pair(const std::string& path, const std::string& name) {
  return "physical_name  =" + path + "\nlogical_name   =" + name + "\n";
}

}  // namespace qrd::test

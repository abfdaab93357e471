// Changes of several descriptors that belong together, such as the two sides of a link.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "disk/qd_records.h"
#include "util/qu_file_replace.h"

namespace qrd {

class descriptor_changes {
 public:
  // Prepares the new descriptor of an object beside its old one: a full disk is met here, before anything has
  // changed. False if it can't be written.
  // REQUIRES: the caller has locked the object's folder since it read the record.
  bool add(const char* path, const qd_file_record& record);
  bool add(const char* path, const qd_variable_record& record);
  // Puts all in place, in the order of their coming. False if one can't be; those before it are as they were.
  bool commit();

 private:
  struct change {
    std::string path;
    std::string before;
    std::unique_ptr<replaced_file> fresh;
  };
  template <typename Record>
  bool prepare(const char* path, const Record& record, bool (*put)(std::FILE*, const Record&));

  std::vector<change> changes_;
};

}  // namespace qrd

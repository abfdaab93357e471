#include "disk/qd_descriptor_changes.h"

#include <cstdio>

#include "disk/qd_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_variable_descriptor.h"

namespace qrd {

namespace {

bool read_whole(const std::string& path, std::string& content) {
  file_stream stream(qu_file_open_n(path.c_str(), read_binary));
  if (!stream) return false;
  char block[4096];
  while (const std::size_t count = std::fread(block, 1, sizeof block, stream.get()))
    content.append(block, count);
  return std::ferror(stream.get()) == 0;
}

void write_back(const std::string& path, const std::string& content) {
  replaced_file file(path.c_str(), write_binary);
  if (file && std::fwrite(content.data(), 1, content.size(), file.get()) == content.size()) file.commit();
}

}  // namespace

template <typename Record>
bool descriptor_changes::prepare(const char* path, const Record& record,
                                 bool (*put)(std::FILE*, const Record&)) {
  path_text descriptor;
  qd_descriptor_path(path, descriptor);
  change next{descriptor, {}, nullptr};
  if (!read_whole(next.path, next.before)) return false;
  next.fresh = std::make_unique<replaced_file>(descriptor, write_binary);
  if (!*next.fresh || !put(next.fresh->get(), record) || std::fflush(next.fresh->get()) != 0) return false;
  changes_.push_back(std::move(next));
  return true;
}

bool descriptor_changes::add(const char* path, const qd_file_record& record) {
  return prepare(path, record, qd_file_descriptor_put);
}

bool descriptor_changes::add(const char* path, const qd_variable_record& record) {
  return prepare(path, record, qd_variable_descriptor_put);
}

bool descriptor_changes::commit() {
  for (std::size_t i = 0; i < changes_.size(); ++i) {
    if (changes_[i].fresh->commit()) continue;
    while (i-- > 0) write_back(changes_[i].path, changes_[i].before);
    return false;
  }
  changes_.clear();
  return true;
}

}  // namespace qrd

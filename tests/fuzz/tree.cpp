#include "fuzz/tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "fuzz/system.h"
#include "support/bytes.h"

namespace qrd::fuzz {

namespace {

namespace fs = std::filesystem;

constexpr char folder_of_a_folder[] = "/";
// Of every tree: inputs hold its path, within texts whose lengths they state.
constexpr std::size_t path_length = 48;
constexpr char path_in_inputs[] = "/the_folder_of_the_tree_________________________";
static_assert(sizeof path_in_inputs == path_length + 1);

std::string new_folder() {
  const char* place = std::getenv("TMPDIR");
  if (place == nullptr) place = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  std::string path = std::string(place) + "/qrd_fuzz_";
  path.append(path_length - std::min(path_length - 6, path.size()) - 6, '_').append("XXXXXX");
  if (path.size() != path_length || mkdtemp(path.data()) == nullptr) {
    std::perror(path.c_str());
    std::abort();
  }
  return path;
}

void remove_whole(const std::string& path) {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

}  // namespace

tree::tree() : folder_(new_folder()) {
  confine_to(folder_);
  fs::create_directory(root());
  test::write_file(root() + "/study_names.def", "root_unix      =\nroot_windows   =\n");
}

tree::~tree() {
  remove_whole(folder_);
}

std::string tree::root_in_inputs() {
  return std::string(path_in_inputs) + "/root";
}

std::string tree::with_root(std::string input) const {
  for (std::size_t at = input.find(path_in_inputs); at != std::string::npos;
       at = input.find(path_in_inputs, at))
    input.replace(at, path_length, folder_);
  return input;
}

void tree::remember() {
  image_.clear();
  files_.clear();
  for (const auto& entry : fs::recursive_directory_iterator(root())) {
    const std::string path = entry.path().lexically_relative(root()).string();
    image_[path] = entry.is_directory() ? folder_of_a_folder : test::read_file(entry.path().string());
  }
  for (const auto& [path, content] : image_)
    if (content != folder_of_a_folder) files_.push_back(path);
  take_changes();
}

void tree::restore() {
  const std::set<std::string> changes = take_changes();
  const std::string start = root() + "/";
  for (const std::string& path : changes)
    if (path.starts_with(start) && !image_.contains(path.substr(start.size()))) remove_whole(path);
  for (const std::string& path : changes)
    if (path.starts_with(start)) restore_place(path.substr(start.size()));
}

void tree::restore_file(const std::string& file) {
  if (image_.contains(file))
    put(file, image_.at(file));
  else
    remove(file);
}

void tree::restore_place(const std::string& place) {
  for (auto each = image_.lower_bound(place); each != image_.end() && each->first.starts_with(place);
       ++each) {
    if (each->first.size() > place.size() && each->first[place.size()] != '/') continue;
    const std::string path = root() + "/" + each->first;
    const bool is_folder = each->second == folder_of_a_folder;
    const fs::file_status status = fs::symlink_status(path);
    if (fs::exists(status) && fs::is_directory(status) != is_folder) remove_whole(path);
    if (is_folder)
      fs::create_directories(path);
    else
      put(each->first, each->second);
  }
}

// With the bare calls: this happens some thousand times a second.
void tree::put(const std::string& file, std::string_view content) {
  const std::string path = root() + "/" + file;
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (descriptor < 0) return;
  if (write(descriptor, content.data(), content.size()) < 0) std::perror("write");
  close(descriptor);
}

std::string tree::get(const std::string& file) const {
  const std::string path = root() + "/" + file;
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return "";
  std::string content(1 << 16, '\0');
  const ssize_t size = read(descriptor, content.data(), content.size());
  close(descriptor);
  content.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return content;
}

void tree::remove(const std::string& file) {
  unlink((root() + "/" + file).c_str());
}

}  // namespace qrd::fuzz

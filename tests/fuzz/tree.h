// A small database in memory that the server itself has made, and that is put back after each run.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qrd::fuzz {

class tree {
 public:
  // An empty root below a new folder, to which the server is confined.
  tree();
  tree(const tree&) = delete;
  tree& operator=(const tree&) = delete;
  ~tree();

  std::string root() const { return folder_ + "/root"; }
  // Names the root in inputs, whatever its path is in this process; equally long.
  static std::string root_in_inputs();
  std::string with_root(std::string input) const;

  // What stands there now is what restore() puts back.
  void remember();
  void restore();
  // Paths below the root of all files that were remembered, and their contents.
  const std::vector<std::string>& files() const { return files_; }
  const std::string& content(const std::string& file) const { return image_.at(file); }
  std::string content_or_nothing(const std::string& file) const {
    const auto found = image_.find(file);
    return found == image_.end() ? "" : found->second;
  }

  // Changes one file, as another program might.
  void put(const std::string& file, std::string_view content);
  std::string get(const std::string& file) const;
  void remove(const std::string& file);
  // Undoes such a change.
  void restore_file(const std::string& file);

 private:
  void restore_place(const std::string& place);

  std::string folder_;
  std::map<std::string, std::string> image_;  // by path below the root; a folder holds "/"
  std::vector<std::string> files_;
};

}  // namespace qrd::fuzz

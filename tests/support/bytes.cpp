#include "support/bytes.h"

#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qrd::test {

std::string read_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write_file(const std::string& path, std::string_view content) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!stream.flush()) throw std::runtime_error("cannot write " + path);
}

void gzip_file(const std::string& path, const std::string& content) {
  fs::remove(path);
  gzFile stream = gzopen((path + ".gz").c_str(), "wb");
  const int written = gzwrite(stream, content.data(), static_cast<unsigned>(content.size()));
  if (gzclose(stream) != Z_OK || written != static_cast<int>(content.size()))
    throw std::runtime_error("cannot compress " + path);
}

strings names_in(const std::string& folder) {
  strings names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

tree_image image_of(const fs::path& folder) {
  tree_image image;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    image[entry.path().lexically_relative(folder)] = entry.is_directory() ? "/" : read_file(entry.path());
  return image;
}

strings changes(const tree_image& before, const tree_image& after) {
  strings paths;
  for (const auto& [path, content] : before)
    if (const auto found = after.find(path); found == after.end() || found->second != content)
      paths.push_back(path);
  for (const auto& [path, content] : after)
    if (!before.contains(path)) paths.push_back(path);
  return paths;
}

}  // namespace qrd::test

#include "bench/scratch_folder.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace qrd::bench {

scratch_folder::scratch_folder(const std::filesystem::path& parent, const std::string& prefix) {
  std::string name = (parent / (prefix + "_XXXXXX")).string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("Cannot make a folder in " + parent.string());
  path_ = name;
}

scratch_folder::~scratch_folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace qrd::bench

// The files of the page, which are part of the program.
#pragma once

#include <span>
#include <string_view>

namespace qrd::view {

struct page_file {
  std::string_view path;  // of the URL
  std::string_view type;
  std::string_view content;
};

std::span<const page_file> page_files();

}  // namespace qrd::view

// The database of the fuzz targets, as the requests that make it.
#pragma once

#include <string>
#include <vector>

#include "support/bytes.h"

namespace qrd::fuzz {

using requests = test::strings;
inline std::string named(const char* request, const char* text) {
  return test::bytes(request).text(text);
}
inline void append(requests& all, const requests& more) {
  all.insert(all.end(), more.begin(), more.end());
}

// Groups of requests, in their order; each group works on what the first one has opened. `root` is the folder
// of the database.
std::vector<requests> building_requests(const std::string& root);

// CHELLO and CQRDDATA; with them, CSTUDYSET and CDIRSET of the study and directory that were made.
requests opening_requests(const std::string& root);
requests choosing_requests();

}  // namespace qrd::fuzz

// The database of the fuzz targets, as the requests that make it.
#pragma once

#include <string>
#include <vector>

namespace qrd::fuzz {

// Groups of requests, in their order; each group works on what the first one has opened. `root` is the folder
// of the database.
std::vector<std::vector<std::string>> building_requests(const std::string& root);

// CHELLO and CQRDDATA; with them, CSTUDYSET and CDIRSET of the study and directory that were made.
std::vector<std::string> opening_requests(const std::string& root);
std::vector<std::string> choosing_requests();

}  // namespace qrd::fuzz

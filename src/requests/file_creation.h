// What the requests that make and extend points, grid and lines files have in common. A function that gives
// false has refused the request, unless the connection is lost.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"
#include "util/qu_memory.h"

namespace qrd {

inline constexpr char unknown_dimension[] = "Unknown file dimension (%d) for file";
inline constexpr char cannot_create_file[] = "Cannot create file %s: %s/%s";
inline constexpr char cannot_create_variable[] = "Error creating variable %s: %s/%s/%s";
inline constexpr char cannot_delete_link[] = "Link between lines file and its header cannot be deleted";

inline bool is_file_dimension(std::int32_t dimension) {
  return dimension == 2 || dimension == 3;
}

// Reads samples * dimension coordinates off the socket, into the last of `parts` equal parts of the array; a
// missing value is refused. A count or dimension below 1 reads nothing.
bool read_coordinates(std::int64_t samples, std::int32_t dimension, std::int64_t parts,
                      checked_array<double>& values);

// A file of that name may be made in the current directory.
bool may_create_file(const char* name);

// The path and the record of the current file. Refuses nothing.
bool current_file(path_text& path, qd_file_record& record);

}  // namespace qrd

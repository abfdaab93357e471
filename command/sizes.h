// How much objects of a database hold.
#pragma once

#include <cstdint>
#include <string>

#include "command/names.h"
#include "qrd/table.h"

namespace qrd::command {

struct object_size {
  std::int64_t directories = 0;
  std::int64_t files = 0;
  std::int64_t variables = 0;  // those that are stored
  std::int64_t samples = 0;
  double bytes =
      0;  // of values, by samples and bits: what lies beside them and how they are packed isn't told

  object_size& operator+=(const object_size& other);
};

// A computed variable has nothing stored.
double bytes_of(const client::variable_info& variable, std::int64_t samples);
// Of a study, a directory, a file or a variable.
object_size size_of(client::database& owner, const object_path& path);

// For a reader: "1.2 MB".
std::string bytes_text(double bytes);

}  // namespace qrd::command

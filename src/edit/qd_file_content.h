// What a new file holds from the start, so that it appears in the catalogue complete.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "disk/qd_records.h"

namespace qrd {

// A variable with one value for each sample: a text where `width` isn't 0, a 64-bit number otherwise.
struct initial_samples {
  builtin_variable variable;
  const qd_format_record* format = nullptr;  // null: the usual one of such a variable
  std::span<const double> numbers = {};
  double factor = 1.0;          // stored value = number * factor
  std::int64_t width = 0;       // bytes of a text
  std::string_view texts = {};  // one behind the other, padded
};

struct file_content {
  std::int64_t sample_count = 0;
  std::vector<initial_samples> variables;
  // Writes what else belongs into the file's folder. False if that fails.
  std::function<bool(const char* folder)> companions;
  // Told by a creation that failed: the samples could not be written.
  bool samples_failed = false;
};

// The blocks of samples that a file with so many of them has room for. False if no file can have them.
bool qd_set_sample_count(std::int64_t sample_count, qd_file_record& record);

// Makes the folder of the variable with that number, with its samples, in a file that nobody sees yet. False
// if it can't be written. REQUIRES: a value for each sample of the record. May end the process.
bool qd_write_initial_samples(const char* file_path, const qd_file_record& record, std::size_t number,
                              const initial_samples& initial);

}  // namespace qrd

// The version of the database in a root.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qrd {

// A text that is no version is fatal, and so is a version that can't be written. May end the process, here
// and below.

// The version, 0 if the root has none; nothing if there is one that can't be read.
[[nodiscard]] std::optional<std::int64_t> qu_version_read(const char* root);
void qu_version_write(const char* root, std::int64_t version);
// True if this program can work on the root; else `refusal` tells why.
[[nodiscard]] bool qd_version_check(const char* root, std::string& refusal);

}  // namespace qrd

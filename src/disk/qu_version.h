// The version of the database in a root.
#pragma once

#include <cstdint>

namespace qrd {

// The version, 0 if the root has none, or `version_unreadable`.
inline constexpr std::int64_t version_unreadable = -1;
std::int64_t qu_version_read(const char* root);
void qu_version_write(const char* root, std::int64_t version);
// 0 accepted; 1 refused, with the message in version_message.
int qd_version_check(const char* root);
extern char version_message[1001];

}  // namespace qrd

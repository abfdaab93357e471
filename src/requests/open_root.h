// Opening a database root for a client.
#pragma once

#include <string>

namespace qrd {

// Opens the root that current_context.qrd_init names, and a study in it. Empty, or a text for the client. May
// end the process.
[[nodiscard]] std::string qrd_open_root();
// Opens the database root for CHELLO and CQRDDATA. False after a refusal, which leaves the path in use. May
// end the process.
[[nodiscard]] bool set_root(const char* path);

}  // namespace qrd

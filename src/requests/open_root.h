// Opening a database root for a client.
#pragma once

namespace qrd {

// Opens the root that current_context.qrd_init names, and a study in it. Null, or a text for the client.
const char* qrd_open_root();
// Opens the database root for CHELLO and CQRDDATA. False after a refusal, which leaves the path in use.
bool set_root(const char* path);

}  // namespace qrd

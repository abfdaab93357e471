// Opening a database root for a client.
#pragma once

namespace qrd {

// Opens the root that current_context.qrd_init names, and a study in it. Null, or a text for the client.
const char* qrd_open_root();

}  // namespace qrd

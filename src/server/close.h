// The end of serving.
#pragma once

namespace qrd {

// Gives the client time to read the last answer, then releases the study.
void server_close();

}  // namespace qrd

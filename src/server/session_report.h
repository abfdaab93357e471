// What the console is told of a session.
#pragma once

namespace qrd {

enum class session_end { fatal, goodbye, broken, silent, asked };

// Tells the begin, unless `is_quiet`, and at the end of the process the end. That of a silent client is
// always told.
void report_session(bool is_quiet);
// How the session ends, if it isn't by a fatal error.
void note_session_end(session_end how);

}  // namespace qrd

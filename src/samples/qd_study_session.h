// The tables of selected variables while a study is open.
#pragma once

namespace qrd {

// Empties the selection tables and installs the hooks of the library.
void qd_tables_init();
// Ends the work on the open study. REQUIRES: qd_init has run; with `strict`, no variable is selected any
// more.
void qd_end(int strict);

}  // namespace qrd

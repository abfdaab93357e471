// The lock flag and the data descriptor of the open study.
#pragma once

namespace qrd {

// True if the lock file was made, false if it was there, or if another server has just deleted the study.
// One that can't be written is fatal. May end the process.
bool qd_init();
// Takes the lock file away.
void qd_unlock();

}  // namespace qrd

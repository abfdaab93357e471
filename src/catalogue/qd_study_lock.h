// The lock flag and the data descriptor of the open study.
#pragma once

namespace qrd {

// 1 if the lock file was made, 0 if it was there, or if another server has just deleted the study.
int qd_init();
// Takes the lock file away.
void qd_unlock();

}  // namespace qrd

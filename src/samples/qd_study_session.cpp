#include "samples/qd_study_session.h"

#include "catalogue/qd_study_lock.h"
#include "disk/qu_study_descriptor.h"
#include "disk/store_state.h"
#include "samples/qd_io.h"
#include "samples/qd_variable_table.h"
#include "util/qu_hooks.h"
#include "util/qu_message.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

void end_open_study(int strict) {
  if (store.lock_taken != 0) qd_end(strict);
}

}  // namespace

void qd_tables_init() {
  hooks.end_study = end_open_study;
  hooks.mark_64bit = qu_study_mark_64bit;
  for (std::int64_t slot = 0; slot < table_slots; ++slot)
    if (sample_tables.io[slot] != nullptr) qd_free_io(slot + 1);
  qd_deselect_all();
}

void qd_end(int strict) {
  if (strict == 0) {
    qd_deselect_all();
  } else {
    for (const qd_selected_entry* entry : sample_tables.selected)
      if (entry != nullptr) qu_misuse(" WARNING: A Variable is not deselected...");
  }
  if (store.lock_taken == 0) qu_misuse_number("qd_end", 7);
  qd_unlock();
}

}  // namespace qrd

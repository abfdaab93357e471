#include "colour/answer_resources.h"

#include "server/answering.h"
#include "server/context.h"
#include "store/qd_init.h"
#include "util/qu_file.h"

namespace qrd {

bool resources_available() {
  if (!is_set(current_context.qrd_init)) {
    refuse("QRD_INIT is not set");
    return false;
  }
  // Another client may have deleted the study; without its folders the operations end the process.
  if (qu_file_isdirectory(u_color_path) == 0 || qu_file_isdirectory(cscale_path) == 0) {
    refuse("Study is not set");
    return false;
  }
  return true;
}

}  // namespace qrd

#include "requests/resource_files.h"

#include "disk/store_state.h"
#include "requests/context.h"
#include "util/qu_directory.h"
#include "wire/answer.h"

namespace qrd {

bool resources_available(resources needed) {
  if (!is_set(current_context.qrd_init)) {
    return refuse("QRD_INIT is not set");
  }
  const bool needs_palettes = needed != resources::scales;
  const bool needs_scales = needed != resources::palettes;
  // Another client may have deleted the study; without its folders the operations end the process.
  if ((needs_palettes && qu_file_isdirectory(store.u_color_path) == 0) ||
      (needs_scales && qu_file_isdirectory(store.cscale_path) == 0)) {
    return refuse("Study is not set");
  }
  // The palettes of the system lie in the root.
  if (needs_palettes && qu_file_isdirectory(store.root_path) == 0) {
    return refuse("QRD_INIT=%s: %s", store.root_path, "Cannot access directory");
  }
  return true;
}

}  // namespace qrd

// Making things so that nothing is left of what could not be completed.
#pragma once

#include <functional>

#include "command/session.h"

namespace qrd::command {

// Calls `act`, which sets `made` once the object is there. If it fails or is interrupted after that, `undo`
// takes the object away again, in the same session or, if that has broken, in a new one; it chooses study and
// directory itself. What went wrong first is what is thrown.
void make_or_undo(const common_options& common, client::connection& server,
                  const std::function<void(bool& made)>& act,
                  const std::function<void(client::connection&)>& undo);

}  // namespace qrd::command

// The imports of what isn't samples.
#pragma once

#include "command/command_line.h"
#include "command/options.h"

namespace qrd::command {

void add_object_imports(const command_line& parent, const common_options& common);

}  // namespace qrd::command

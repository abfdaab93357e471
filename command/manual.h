// The options and commands of a program as a part of its manual.
#pragma once

#include "command/command_line.h"

namespace qrd::command {

// Prints the document that scripts/manual puts into the page.
void print_manual(const described_command& program);

}  // namespace qrd::command

// What a word of the command line could become, for the shells.
#pragma once

#include <string>
#include <vector>

#include "command/command_line.h"

namespace qrd::command {

// Prints what the last of the words could be, each on a line: subcommands, options, words of a choice, names
// in the database that the words before lead to. Nothing if nobody answers within a moment. False where the
// word is that of a file, which shells know better.
bool complete(const described_command& program, const std::vector<std::string>& words);

}  // namespace qrd::command

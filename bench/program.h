// What the bench programs have in common as programs.
#pragma once

#include <functional>

#include "command/command_line.h"

namespace qrd::bench {

// Lets `add` tell the options, with callbacks for the work. False, with a text on standard error, when the
// words are wrong or the work threw something.
bool run_program(const char* name, const char* description,
                 const std::function<void(const command::command_line&)>& add, int count,
                 const char* const* words);

}  // namespace qrd::bench

// What the requests that make variables in the current file have in common.
#pragma once

#include <cstdint>

#include "units/qu_units.h"
#include "wire/answer.h"

namespace qrd {

// Study, directory and file are set. False after a refusal.
bool may_create_variables();
// Creates the variable unless the file has one of that name, and answers; the handler's status. May end the
// process.
request_status create_variable(const char* name, std::int32_t type, std::int64_t bit_length,
                               const qd_format_record& format);

}  // namespace qrd

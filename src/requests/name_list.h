// What the requests for lists of names share.
#pragma once

#include "util/qu_list.h"
#include "util/qu_outcome.h"
#include "wire/answer.h"

namespace qrd {

// Answers with the names, or refuses where they can't be told now; the handler's status.
// REQUIRES: there is what they are listed of.
request_status answer_names(found listed, const string_list& names);

}  // namespace qrd

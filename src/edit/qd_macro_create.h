// Growth of a macro variable by indices.
#pragma once

#include <cstdint>
#include <string>

namespace qrd {

enum class [[nodiscard]] macro_growth{
    done,
    refused,  // after a report
    gone      // another server has deleted the macro variable since the caller's test, or replaced it
};
// `alpha` holds one text per index, or is null. `refusal` gets what a client is to be told of a refusal: it
// stays empty for texts that can't be taken, which clients know to get no answer. REQUIRES: indices from 1 to
// macro_index_maximum, each once; without `refusal`, for an index that is there its own text.
macro_growth qd_create_macro_variable_indices(const char* directory, const char* file, const char* variable,
                                              std::int64_t count, const std::int64_t* indices,
                                              const char* const* alpha, std::string* refusal = nullptr);

}  // namespace qrd

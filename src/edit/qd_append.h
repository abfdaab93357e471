// Growth of files by samples.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace qrd {

// Gives the samples first to last of a growing file their values; false after a failure.
using sample_filler = std::function<bool(std::int64_t first, std::int64_t last)>;

// Adds samples (above 0) to every variable of a file. False after reports: the file is as it was then.
// `fill` gives the new samples their values before any other server sees them; where it gives false nothing
// has been added. With an `organisation` a lines file becomes one of that, in the moment in which the
// samples appear.
[[nodiscard]] bool qd_append_sample(const char* directory, const char* file, std::int64_t samples,
                                    const sample_filler& fill = nullptr,
                                    std::optional<std::int64_t> organisation = std::nullopt);

}  // namespace qrd

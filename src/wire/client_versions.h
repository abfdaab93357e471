// The clients for whom a layout differs, by the version that they tell in CHELLO.
#pragma once

#include <cstdint>
#include <limits>

namespace qrd {

struct client_versions {
  struct range {
    std::int32_t first = 1;
    std::int32_t last = 0;
  };
  const char* name;  // the one that layouts use
  range ranges[2];

  constexpr bool include(std::int32_t version) const {
    for (const range& each : ranges)
      if (version >= each.first && version <= each.last) return true;
    return false;
  }
};

inline constexpr std::int32_t oldest_version = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int32_t newest_version = std::numeric_limits<std::int32_t>::max();

// Lacks some fields of the requests on studies and variables.
inline constexpr client_versions old_client = {"old_client", {{oldest_version, 409}, {400000, 400999}}};
// Sends a range with numbers; version 410 had none again.
inline constexpr client_versions float_range_client = {"float_range_client",
                                                       {{407, 409}, {411, newest_version}}};
// Sends a range with texts.
inline constexpr client_versions text_range_client = {"text_range_client", {{700000, newest_version}, {}}};
// Gets the comment with the other facts of a variable.
inline constexpr client_versions comment_client = {"comment_client", {{oldest_version, 501999}, {}}};
// Tells the two kinds of lines files apart.
inline constexpr client_versions cores_client = {"cores_client", {{900000, newest_version}, {}}};
// Knows of the names of lines.
inline constexpr client_versions line_name_client = {"line_name_client", {{1300030, newest_version}, {}}};

inline constexpr const client_versions* all_client_versions[] = {
    &old_client, &float_range_client, &text_range_client, &comment_client, &cores_client, &line_name_client};

}  // namespace qrd

// What the kinds of things are called.
#pragma once

#include "qrd/resources.h"
#include "qrd/types.h"

namespace qrd::client {

constexpr const char* word_of(organisation kind) {
  switch (kind) {
    case organisation::points:
      return "points";
    case organisation::gravity_lines:
      return "gravity lines";
    case organisation::core_lines:
      return "core lines";
    case organisation::grid:
      return "grid";
  }
  return "unknown";
}

constexpr const char* word_of(scale_kind kind) {
  switch (kind) {
    case scale_kind::automatic:
      return "automatic";
    case scale_kind::classes:
      return "classes";
    case scale_kind::manual:
      return "manual";
    case scale_kind::facies:
      return "facies";
  }
  return "unknown";
}

}  // namespace qrd::client

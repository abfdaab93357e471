// Words of the database as the page knows them.
#pragma once

#include "qrd/resources.h"
#include "qrd/types.h"

namespace qrd::view {

constexpr const char* word_of(client::organisation kind) {
  switch (kind) {
    case client::organisation::points:
      return "points";
    case client::organisation::gravity_lines:
      return "gravity lines";
    case client::organisation::core_lines:
      return "core lines";
    case client::organisation::grid:
      return "grid";
  }
  return "unknown";
}

constexpr const char* word_of(client::scale_kind kind) {
  switch (kind) {
    case client::scale_kind::automatic:
      return "automatic";
    case client::scale_kind::classes:
      return "classes";
    case client::scale_kind::manual:
      return "manual";
    case client::scale_kind::facies:
      return "facies";
  }
  return "unknown";
}

}  // namespace qrd::view

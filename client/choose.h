// Making something current that is told by its name.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "qrd/error.h"
#include "qrd/names.h"

namespace qrd::client {

// Makes something current; at a refusal the names that there are decide what is said.
template <typename Choose, typename List>
void choose(const std::string& name, const Choose& set, const List& list) {
  try {
    set();
  } catch (const refusal& refused) {
    std::vector<std::string> known;
    try {
      known = list();
    } catch (const refusal&) {
      // Without a list nobody can say that the name is not there.
      throw refused;
    }
    // What is there and refused has another reason than its name.
    if (std::find(known.begin(), known.end(), name) != known.end()) throw;
    throw not_found(refused.what() + did_you_mean(name, known), name, near_names(name, known),
                    refused.asked());
  }
}

}  // namespace qrd::client

// Where names were last seen in the catalogue, so that a look-up needs no walk over all siblings. A hint is
// believed only after the descriptor that it leads to, read now, has told the name: whatever other servers do
// to the tree, nothing is to be kept up to date here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "util/qu_constants.h"

namespace qrd {

// A table of fixed size, whose pages are taken as it fills: of names that meet in it the older one goes.
class name_hints {
 public:
  // The objects of one folder.
  class folder {
   public:
    folder(name_hints& hints, std::string_view parent) : hints_(hints), mark_(mark_of(first_mark, parent)) {}

    // The entry of the folder under which an object of that name was seen first, or an empty text.
    std::string_view where(std::string_view name) const;
    // Entries that are longer than a number needs are not kept.
    void remember(std::string_view name, std::string_view entry);
    void forget(std::string_view name);

   private:
    name_hints& hints_;
    std::uint64_t mark_;
  };

 private:
  static constexpr std::uint64_t first_mark = 0xcbf29ce484222325;
  static constexpr std::size_t sets = 2048, places = 8;
  struct hint {
    std::uint64_t mark;  // of folder and name; 0 for an empty place
    char entry[16];
  };
  using hint_set = std::array<hint, places>;

  static std::uint64_t mark_of(std::uint64_t start, std::string_view text);
  hint* find(std::uint64_t mark);
  hint_set& set_of(std::uint64_t mark) { return table_[mark % sets]; }

  std::array<hint_set, sets> table_ = {};
};

// Those of this process.
inline name_hints known_names;

}  // namespace qrd

// Names of what is not yet, or no more, part of the tree. No look-up matches them: they hold no point, and
// are written in upper case as all names in a catalogue are.
//
//   N_<random>   a new folder or file in the making
//   O_<random>   an object on its way out
//   B_<random>   what is kept for its owner: a file that was found damaged, the old content of one that was
//                being written in place when its server died
//
// They are random, so that servers on other machines and in containers don't choose the same; whoever makes
// such a thing does so exclusively, and tries another name where one is taken. Folders in the making and on
// their way out, and files in the making, carry a lock (see qu_lock.h) for as long as their maker is at work.
#pragma once

#include <cerrno>
#include <string>
#include <string_view>

namespace qrd {

inline constexpr char being_made = 'N';
inline constexpr char being_deleted = 'O';
inline constexpr char kept_for_owner = 'B';

// A folder's is as short as "FILE.1", so that what fits under the final path fits under this one.
std::string qu_working_folder_name(char purpose);
std::string qu_working_file_name(char purpose);

// True if the name is one of something in the making or on its way out.
bool qu_is_working_name(std::string_view name);

// Tries names until `make(name)` gives 0 or fails, with errno set, by something else than a name in use.
// The name, or an empty text.
template <typename Make>
std::string qu_with_working_name(std::string (*choose)(char), char purpose, Make make) {
  constexpr int attempts = 100;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    std::string name = choose(purpose);
    if (make(name) == 0) return name;
    if (errno != EEXIST && errno != ENOTEMPTY) break;
  }
  return "";
}

}  // namespace qrd

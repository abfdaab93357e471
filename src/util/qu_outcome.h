// What came of looking for something in the tree, in the same words everywhere. What is done or isn't is a
// bool.
#pragma once

namespace qrd {

enum class [[nodiscard]] found{
    yes,
    no,         // there is none, or another server has taken it away
    unclear,    // can't tell: too many files are open, or something that can't be understood may have been it
    unreadable  // it is there, or may be, and can't be read now
};

}  // namespace qrd

// Small binary files that carry their names inside: <prefix><n> in one folder, n from 0 to 998. Each
// begins with an xint word and its name as xstring(50); a name is found by reading all of them.
//
// They appear, change and move to another number whole. What vanishes while it is looked for has gone or has
// moved, and is no damage; nor is what the disk, or want of memory or descriptors, keeps from being read.
#pragma once

#include <cstdio>
#include <functional>

#include "util/qu_constants.h"
#include "util/qu_file.h"
#include "util/qu_outcome.h"

namespace qrd {

struct named_file_kind {
  const char* prefix;            // such as "VENDOR."
  const char* corrupted_report;  // first line of the report on a damaged file
  const char* maximum_report;    // first line of the report when all numbers are taken
};

// One of them as a search meets it: opened once, at its start.
struct named_file {
  path_text path = "";
  name_text name = "";
  file_stream stream;
};

enum class [[nodiscard]] named_search{
    found,      // the visitor gave true
    ended,      // all have been shown
    no_folder,  // the folder can't be listed
    unreadable  // after a report: one that may be meant can't be read now
};

// What a search for one came to; in no folder there is none.
found qu_found(named_search search);

// True if `count` more files can be open; reports otherwise.
bool qu_named_file_room(int count);

// Shows each file to `visit` until that gives true. Where they change meanwhile it may begin anew, after
// `restart`. A damaged file is fatal. May end the process.
named_search qu_named_file_scan(const char* folder, const named_file_kind& kind,
                                const std::function<bool(named_file& file)>& visit,
                                const std::function<void()>& restart = {});
// The same for one name; the file on `found`. May end the process.
named_search qu_named_file_find(const char* folder, const named_file_kind& kind, const char* name,
                                named_file& file);
// For one whose content could not be read: reports. A damaged one is fatal. May end the process.
void qu_named_file_unread(const named_file_kind& kind, named_file& file);

// Writes a file whole, in place of `old_path` (or null), at the lowest number that is free then; the old one
// stays if that fails. `write` puts the content into the stream and gives false if it can't. False after the
// report that nothing could be written or that all numbers are taken.
// REQUIRES: the folder is locked since the old file was looked for.
bool qu_named_file_put(const char* folder, const named_file_kind& kind, const char* old_path,
                       const std::function<bool(std::FILE* stream)>& write);

}  // namespace qrd

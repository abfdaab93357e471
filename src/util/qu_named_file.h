// Small binary files that carry their names inside: <prefix><n> in one folder, n from 0 to 998. Each
// begins with an xint word and its name as xstring(50); a name is found by reading all of them.
#pragma once

#include <cstdio>
#include <functional>

#include "util/qu_constants.h"

namespace qrd {

struct named_file_kind {
  const char* prefix;            // such as "VENDOR."
  const char* corrupted_report;  // first line of the report on a damaged file
  const char* maximum_report;    // first line of the report when all numbers are taken
};

// True if `count` more files can be open; reports otherwise.
bool qu_named_file_room(int count);

// Ends the process after the report on a damaged file.
[[noreturn]] void qu_named_file_corrupted(const named_file_kind& kind, const char* path);

// Shows path and name of each file to `visit` until that gives true. 0 stopped so, 1 the files ended,
// 2 the folder can't be listed. A damaged file is fatal; one that has just gone is passed over.
int qu_named_file_scan(const char* folder, const named_file_kind& kind,
                       const std::function<bool(const char* path, const char* name)>& visit);
// The same results for one name; its path on 0.
int qu_named_file_find(const char* folder, const named_file_kind& kind, const char* name, path_text& path);

// Makes a file under the lowest free number; `write` puts its content into the stream and gives false if that
// fails. It appears whole, and no other file is ever seen beside it (where the file system can't do that, it
// grows under its number). False after the report that nothing could be written or that all numbers are
// taken.
bool qu_named_file_make(const char* folder, const named_file_kind& kind,
                        const std::function<bool(std::FILE* stream)>& write);

// True if no file of that path is there any more: another server may have replaced it since it was found.
bool qu_named_file_gone(const char* path);

}  // namespace qrd

// What the layers above let this one do and use.
#pragma once

namespace qrd {

struct upper_hooks {
  // Ends the study if one is open; `strict` tests that nothing is selected any more.
  void (*end_study)(int strict) = nullptr;
  // Marks the open study as holding counters beyond 32 bits.
  void (*mark_64bit)() = nullptr;
  // The file that qu_test_open_file opens; text of the open root.
  const char* handle_test_path = "";
};

// Null, or empty, until a store is opened.
extern upper_hooks hooks;

}  // namespace qrd

// How the library speaks: warnings on the console, and errors that end the process.
#pragma once

namespace qrd {

// Prints one message line (at most 1000 characters, a newline is added) on standard output.
// In the finished text "%%" shows as one percent sign, and any other conversion as nothing. Keeps errno.
void qu_message(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Prints "\n\nFatal Software Error\n<text>\n\n" and ends the process with status 1 through qu_exit(2).
[[noreturn]] void qu_fatal(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The same, with the text "Fatal Software Error No <number> in function <function>()\n".
[[noreturn]] void qu_fatal_number(const char* function, int number);

// The same two where the caller, and nothing that lies on disk, is at fault: what REQUIRES asks for is
// missing.
[[noreturn]] void qu_misuse(const char* format, ...) __attribute__((format(printf, 1, 2)));
[[noreturn]] void qu_misuse_number(const char* function, int number);

// The text of errno. Not re-entrant. REQUIRES: `mode` is 1.
const char* qu_strerror(int mode);

// Prints "<what> "<path>": <the text of errno>", and keeps errno.
void qu_report_failure(const char* what, const char* path);

// Tells how to repair a project whose files are in doubt, and ends then if `fatal`. May end the process.
void qu_recover_advice(bool fatal);

// Ends the open study through the hook (strict unless status is 2), flushes standard output and
// ends the process: exit code 0 for status 0, else 1.
[[noreturn]] void qu_exit(int status);

}  // namespace qrd

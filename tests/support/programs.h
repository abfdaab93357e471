// What the tests run and read. The paths are told to one source alone, so that the others are the same in
// every build.
#pragma once

namespace qrd::test {

extern const char server_program[];
extern const char client_program[];
// The shipped database, what is known of it, and the description of the requests.
extern const char shipped_root[];
extern const char shipped_facts[];
extern const char protocol_document[];

}  // namespace qrd::test

// The requests that change a tree or bring it up to date, each in its smallest case.
#pragma once

#include "qrd/connection.h"
#include "support/test.h"

namespace qrd::test {

// A root, and a client that has said hello but opened nothing.
struct scene {
  client::connection& to;
  fs::path root;

  void open() const { to.open_root(root.string()); }
};

struct fault_case {
  std::string name;
  // Through a server that nothing disturbs, on a root with the empty studies "T" and "S"; then what an older
  // program, or a compressing one, would have made of the files.
  std::function<void(const scene&)> made;
  // Before the first fault: what the client chooses.
  std::function<void(const scene&)> chosen;
  std::function<void(const scene&)> request;
  // The place in the view whose samples the request writes over where they are: a cut write leaves old and
  // new ones.
  std::string written_over = {};
  // The place of the file that was linked with one that is deleted: the name of what is no more may stay
  // there.
  std::string partner = {};
  // The places of variables that a cut request may leave beside all that was there: prepared, and taken over
  // by the next one.
  strings prepared = {};
  // What must be possible behind each point, whatever came of the request.
  std::function<void(const scene&)> afterwards = {};
};

const std::vector<fault_case>& fault_cases();

inline void PrintTo(const fault_case& tried, std::ostream* out) {
  *out << tried.name;
}

}  // namespace qrd::test

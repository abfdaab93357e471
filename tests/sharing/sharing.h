// Several servers on one root, each with a client in a thread of its own, that act at the same time, round
// after round. What they choose comes from fixed seeds.
//
// A case lasts about a second; QRD_SHARING_SECONDS in the environment makes each last longer.
#pragma once

#include "qrd/connection.h"
#include "support/study_root.h"

namespace qrd::test {

struct visitor {
  client::connection& to;
  std::minstd_rand choice;
  int round = 0;

  int pick(int count) { return static_cast<int>(choice() % static_cast<unsigned>(count)); }
};

// A refusal that a turn lets pass, a server that ends and an answer out of place are failures.
using turn = std::function<void(visitor&)>;

// Servers of process namespaces of their own have equal process numbers, as those of other machines may have.
enum class process_numbers { different, equal };

// A root with the studies "S", which has the directory "D", and "T".
struct sharing : testing::Test {
  struct play {
    std::vector<turn> turns;               // one for each server
    std::function<void()> before = [] {};  // each round, while nobody acts
    std::function<void()> after = [] {};   // likewise
    int most_rounds = 100000;
    process_numbers numbers = process_numbers::different;
  };

  sharing();
  // Skips the test where the machine gives no such namespaces.
  void together(const play& played);
  // One turn with nobody else there.
  void alone(const std::function<void(client::connection&)>& only);
  std::string in_file(int number, const std::string& name) const;

  study_root root_;
};

// Lets refusals pass; true if there was none. A server's end is none.
bool attempt(const std::function<void()>& ask);

}  // namespace qrd::test

// One call of the server fails, or the server dies in its place: at every call of every request that changes
// a tree.
//
// Behind each such point: the server has refused, or ended with a message that names the cause; a fresh
// server reads the tree; what was there is there; nothing half-made is visible; and the request, repeated,
// succeeds.
//
// The short sweep strikes at every call that changes the tree, in one way or two, and at some of the others.
// With QRD_FAULTS=all each call is struck in every way.
#include <sys/mman.h>

#include <sstream>

#include "faults/cases.h"
#include "faults/control.h"
#include "support/database.h"
#include "support/root_view.h"

namespace qrd::test {
namespace {

struct fault {
  fault_action action = fault_action::nothing;
  int error = 0;
};

const char* name_of(const fault& one) {
  static const std::map<fault_action, const char*> names = {{fault_action::kill, "killed"},
                                                            {fault_action::cut, "killed halfway"},
                                                            {fault_action::full, "full disk"},
                                                            {fault_action::famine, "no memory any more"},
                                                            {fault_action::torn, "short, then full disk"}};
  const auto found = names.find(one.action);
  return found == names.end() ? strerrorname_np(one.error) : found->second;
}

bool is_whole_sweep() {
  const char* wanted = std::getenv("QRD_FAULTS");
  return wanted != nullptr && std::strcmp(wanted, "all") == 0;
}

// The short sweep strikes at so many calls of a kind, spread over all of them.
std::uint32_t most_struck(bool changes) {
  return changes ? 8 : 3;
}

// In how many ways a call is struck. The first ones are those of the short sweep.
struct faults_of_a_call {
  std::vector<fault> always;
  std::vector<fault> in_whole_sweep;
};

faults_of_a_call faults_of(const fault_control::call& call) {
  using enum fault_action;
  const fault died = {kill, 0}, full_disk = {full, ENOSPC}, broken = {once, EIO};
  if (call.kind == call_kind::open && !call.changes) return {{{once, EMFILE}}, {broken}};
  static const std::map<call_kind, faults_of_a_call> faults = {
      {call_kind::write, {{full_disk, {cut, 0}}, {broken, {once, EDQUOT}, {torn, ENOSPC}, died}}},
      {call_kind::open, {{full_disk, died}, {broken, {once, EMFILE}}}},
      {call_kind::rename, {{broken, died}, {{once, ENOSPC}}}},
      {call_kind::sync, {{broken}, {{once, ENOSPC}}}},
      {call_kind::unlink, {{broken, died}, {{once, EBUSY}}}},
      {call_kind::mkdir, {{full_disk, died}, {{once, EDQUOT}}}},
      {call_kind::resize, {{full_disk, died}, {broken}}},
      {call_kind::lock, {{{once, ENOLCK}}, {}}},
      {call_kind::allocate, {{{once, ENOMEM}}, {{famine, ENOMEM}}}},
      {call_kind::close, {{broken}, {}}},
      {call_kind::read, {{broken}, {}}},
      {call_kind::look, {{broken}, {}}}};
  return faults.at(call.kind);
}

// The memory that is shared with the preloaded library.
class mapped_control {
 public:
  mapped_control() {
    const int descriptor = ::open(path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    void* mapped = MAP_FAILED;
    if (ftruncate(descriptor, sizeof(fault_control)) == 0)
      mapped = mmap(nullptr, sizeof(fault_control), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (mapped == MAP_FAILED) throw std::runtime_error("cannot map " + path());
    control_ = static_cast<fault_control*>(mapped);
  }
  ~mapped_control() { munmap(control_, sizeof(fault_control)); }

  std::string path() const { return directory_ / "control"; }
  fault_control* operator->() { return control_; }

 private:
  temporary_directory directory_;
  fault_control* control_ = nullptr;
};

server_settings preloaded(const std::string& control) {
  return {.environment = {{"LD_PRELOAD", FAULTS_LIBRARY}, {control_variable, control}}};
}

enum class ending { done, refused, ended, killed, silent };
constexpr const char* ending_names[] = {"done", "refused", "ended", "killed", "gave no answer"};

struct observation {
  ending how = ending::done;
  std::string text;  // of the refusal, or the last words on the console
  int status = 0;
};

// A server with a client that has the root open, and the wire between them.
struct watched_server {
  explicit watched_server(const fs::path& root) {
    connection.set_timeout(60s);
    connection.hello(client::newest_version);
    connection.architecture(true);
    connection.open_root(root);
  }
  server_process process;
  raw_connection wire = process.connect();
  client::connection connection{client::stream(dup(wire.descriptor()))};
};

// The root that a case begins with, and what a client may see there before and after.
class sweep {
 public:
  explicit sweep(const fault_case& tried) : tried_(tried) {
    base_.make_study("T", study_descriptor(1));
    base_.make_study("S", study_descriptor(1));
    base_.write_registry(pair("$init$/T", "T") + pair("$init$/S", "S"));
    {
      watched_server server(base_.path());
      tried_.made({server.connection, base_.path()});
      server.connection.abandon();
    }
    for (const char* study : {"T/LOCK", "S/LOCK"}) fs::remove(base_ / study);
    base_image_ = image_of(base_.path());
    {
      const database copy(base_.path());
      before_ = view(copy.root());
    }
    const database copy(base_.path());
    const observation undisturbed = strike({}, 0, copy.root());
    EXPECT_EQ(undisturbed.how, ending::done) << undisturbed.text;
    calls_.assign(control_->calls, control_->calls + std::min<std::uint32_t>(control_->counted, most_calls));
    EXPECT_LT(control_->counted, most_calls);
    after_image_ = image_of(copy.root());
    after_ = view(copy.root());
  }

  void run() {
    using group = std::pair<call_kind, bool>;
    std::map<group, std::uint32_t> all, met;
    for (const fault_control::call& call : calls_) ++all[{call.kind, call.changes}];
    for (std::uint32_t i = 0; i < calls_.size(); ++i) {
      const group kind = {calls_[i].kind, calls_[i].changes};
      const std::uint32_t stride = 1 + (all[kind] - 1) / most_struck(kind.second);
      if (met[kind]++ % stride != 0 && !is_whole_sweep()) continue;
      const faults_of_a_call possible = faults_of(calls_[i]);
      std::vector<fault> chosen = possible.always;
      if (is_whole_sweep())
        chosen.insert(chosen.end(), possible.in_whole_sweep.begin(), possible.in_whole_sweep.end());
      for (const fault& one : chosen) try_point(one, i);
    }
    std::printf("%s: %d calls, %d points", tried_.name.c_str(), static_cast<int>(calls_.size()), points_);
    for (const auto& [what, count] : found_) std::printf(", %d %s", count, what.c_str());
    std::printf("\n");
  }

 private:
  static constexpr std::uint32_t most_calls = fault_control::most_calls;

  static root_view view(const fs::path& root) {
    watched_server server(root);
    root_view seen = view_of(server.wire);
    server.connection.abandon();
    return seen;
  }

  observation strike(const fault& one, std::uint32_t target, const fs::path& root) {
    server_process process(preloaded(control_.path()));
    client::connection_options options;
    options.timeout = 15s;  // longer than a lock is waited for
    auto connection = client::connection::connect("127.0.0.1", process.port(), options);
    const scene at = {connection, root};
    tried_.chosen(at);

    control_->counted = 0;
    control_->struck = false;
    control_->target = target;
    control_->action = one.action;
    control_->error = one.error;
    std::snprintf(control_->root, sizeof control_->root, "%s", root.c_str());
    control_->armed = true;
    observation seen;
    try {
      tried_.request(at);
    } catch (const client::refusal& refused) {
      seen = {ending::refused, refused.what(), 0};
    } catch (const client::error& broken) {
      seen = {ending::silent, broken.what(), 0};
    }
    control_->armed = false;
    connection.abandon();
    // One that has answered would only take its time to end.
    const std::optional<int> status = process.wait(seen.how == ending::silent ? 3s : 0s);
    seen.status = status.value_or(0);
    // One that lets its client wait ends with the connection.
    const bool is_waited_for = seen.text.starts_with("the server does not answer");
    // Clients know that these requests get no answer where no file can be opened, or no memory be had.
    const auto is_of = [&](const char* request) { return tried_.name.starts_with(request); };
    const bool is_known = one.error == EMFILE   ? is_of("CVARDEL") || is_of("CLFILECNT") || is_of("CWRITLINF")
                          : one.error == ENOMEM ? is_of("CPOLYNEW")
                                                : false;
    if (is_waited_for && is_known) seen.how = ending::refused;
    if (seen.how == ending::silent && status && !is_waited_for) {
      const bool is_injected = one.action == fault_action::kill || one.action == fault_action::cut;
      seen.how = is_injected && *status == 128 + SIGKILL ? ending::killed : ending::ended;
      seen.text = process.output() + process.errors();
    }
    return seen;
  }

  void try_point(const fault& one, std::uint32_t target) {
    const database copy(base_.path());
    const observation seen = strike(one, target, copy.root());
    if (!control_->struck) return;
    ++points_;
    const auto found = [&](const std::string& what, const std::string& detail) {
      ++found_[what];
      const fault_control::call& call = calls_[target];
      ADD_FAILURE() << what << ": " << tried_.name << ", " << call.name << " " << call.path << " (call "
                    << target << "), " << name_of(one) << ": " << ending_names[static_cast<int>(seen.how)]
                    << " " << seen.text << "\n"
                    << detail;
    };

    if (seen.how == ending::silent) found("no answer", "");
    if (seen.how != ending::killed && seen.status > 128)
      found("ended by a signal", std::to_string(seen.status));
    if (seen.how == ending::ended && !names_cause(seen.text)) found("unnamed end", "");
    const std::string lost = lost_files(image_of(copy.root()));
    if (!lost.empty()) found("lost", lost);
    watched_server server(copy.root());
    try {
      const root_view now = without_what_may_differ(view_of(server.wire), seen.how);
      const root_view old = without_what_may_differ(before_, seen.how),
                      fresh = without_what_may_differ(after_, seen.how);
      // Undoing takes memory too: without any, what a refusal leaves must be readable and repeatable.
      const bool is_cut =
          (seen.how != ending::done && seen.how != ending::refused) || one.action == fault_action::famine;
      if (seen.how == ending::done) {
        if (now != fresh) found("done with something missing", differences(fresh, now));
      } else if (now != old && !(is_cut && (is_between(old, fresh, now) || is_only_prepared(old, now)))) {
        found(lost_values(old, fresh, now) ? "lost"
              : now == fresh               ? "changed"
                                           : "half-made",
              differences(old, now));
      }
      const bool is_done_already = now == fresh || removed(old, fresh, now) == whole::all;
      if (!is_done_already || old == fresh) repeat({server.connection, copy.root()}, server, found);
      if (tried_.afterwards) {
        try {
          tried_.afterwards({server.connection, copy.root()});
        } catch (const std::exception& problem) {
          found("not usable afterwards", std::string(problem.what()) + server.process.output());
        }
      }
      server.connection.abandon();
    } catch (const std::exception& problem) {
      found("unreadable", problem.what() + server.process.output() + server.process.errors());
    }
  }

  template <typename Found>
  void repeat(const scene& at, watched_server& server, const Found& found) {
    try {
      tried_.chosen(at);
      tried_.request(at);
    } catch (const std::exception& problem) {
      found("not repeatable", std::string(problem.what()) + server.process.output());
      return;
    }
    const root_view now = view_of(server.wire);
    if (now != after_) found("otherwise repeated", differences(after_, now));
  }

  // A number alone says nothing to whoever reads it, unless it is one of the allocator.
  static bool names_cause(const std::string& console) {
    if (console.find("in function qu_mem_") != std::string::npos) return true;
    std::istringstream lines(console);
    std::string line;
    std::getline(lines, line);  // the server's name
    while (std::getline(lines, line))
      if (!line.empty() && !line.starts_with("Fatal Software Error")) return true;
    return false;
  }

  root_view without_what_may_differ(root_view seen, ending how) const {
    if (how != ending::refused) seen.erase(tried_.partner);
    if (how != ending::done) seen.erase(tried_.written_over);
    return seen;
  }

  root_view without_prepared(root_view seen) const {
    for (const std::string& place : tried_.prepared) {
      seen.erase(place.substr(0, place.rfind('/')) + " variables");
      std::erase_if(seen, [&](const auto& each) { return each.first.starts_with(place + " "); });
    }
    return seen;
  }
  bool is_only_prepared(const root_view& old, const root_view& now) const {
    return !tried_.prepared.empty() && without_prepared(old) == without_prepared(now);
  }

  // Files that the request has no business with.
  std::string lost_files(const tree_image& now) const {
    std::string lines;
    for (const auto& [path, content] : base_image_) {
      const auto after = after_image_.find(path);
      if (after == after_image_.end() || after->second != content) continue;
      const auto found = now.find(path);
      if (found == now.end() || found->second != content) lines += "  " + path + "\n";
    }
    return lines;
  }

  enum class whole { none, all, part };

  // How much is in `seen` of what `from` has and `to` has not, with the values of `from`.
  static whole held(const root_view& from, const root_view& to, const root_view& seen) {
    int all = 0, there = 0, right = 0;
    for (const auto& [place, text] : from) {
      if (to.contains(place)) continue;
      ++all;
      const auto found = seen.find(place);
      if (found == seen.end()) continue;
      ++there;
      if (found->second == text) ++right;
    }
    return there == 0 ? whole::none : right == all ? whole::all : whole::part;
  }
  static whole removed(const root_view& old, const root_view& fresh, const root_view& now) {
    if (held(old, fresh, old) == whole::none) return whole::none;
    const whole left = held(old, fresh, now);
    return left == whole::none ? whole::all : left == whole::all ? whole::none : whole::part;
  }

  // What a cut request may leave: objects come and go as a whole, and what stays has its old or its new
  // values, which differ from one object to the other when several change.
  static bool is_between(const root_view& old, const root_view& fresh, const root_view& now) {
    if (held(fresh, old, now) == whole::part || held(old, fresh, now) == whole::part) return false;
    for (const auto& [place, text] : now) {
      const auto before = old.find(place), after = fresh.find(place);
      if ((before == old.end() || before->second != text) && (after == fresh.end() || after->second != text))
        return false;
    }
    return std::all_of(old.begin(), old.end(), [&](const auto& each) {
      return now.contains(each.first) || !fresh.contains(each.first);
    });
  }

  // Whether something has neither its old nor its new value.
  static bool lost_values(const root_view& old, const root_view& fresh, const root_view& now) {
    const auto value = [](const root_view& seen, const std::string& place) {
      const auto found = seen.find(place);
      return found == seen.end() ? std::optional<std::string>() : found->second;
    };
    return std::any_of(old.begin(), old.end(), [&](const auto& each) {
      const auto left = value(now, each.first);
      return left != each.second && left != value(fresh, each.first);
    });
  }

  const fault_case& tried_;
  study_root base_;
  mapped_control control_;
  tree_image base_image_, after_image_;
  root_view before_, after_;
  std::vector<fault_control::call> calls_;
  int points_ = 0;
  std::map<std::string, int> found_;
};

class faults : public testing::TestWithParam<fault_case> {};

TEST_P(faults, leave_the_tree_whole) {
  sweep(GetParam()).run();
}

INSTANTIATE_TEST_SUITE_P(every, faults, testing::ValuesIn(fault_cases()),
                         [](const auto& tried) { return tried.param.name; });

}  // namespace
}  // namespace qrd::test

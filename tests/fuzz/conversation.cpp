#include "fuzz/conversation.h"

#include <algorithm>
#include <random>

namespace qrd::fuzz {

namespace {

constexpr std::size_t longest_step = 4096;
constexpr std::size_t most_steps = 64;
constexpr auto step_kinds = static_cast<unsigned>(step_kind::remove) + 1;

class reader {
 public:
  explicit reader(std::string_view rest) : rest_(rest) {}
  bool at_end() const { return rest_.empty(); }
  std::uint8_t byte() {
    if (rest_.empty()) return 0;
    const auto value = static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return value;
  }
  std::uint16_t word() {
    const unsigned high = byte();
    return static_cast<std::uint16_t>(high << 8 | byte());
  }
  std::string text(std::size_t length) {
    std::string value(rest_.substr(0, length));
    rest_.remove_prefix(value.size());
    return value;
  }

 private:
  std::string_view rest_;
};

void add_word(std::string& out, std::size_t value) {
  out += static_cast<char>(value >> 8);
  out += static_cast<char>(value);
}
void add_name(std::string& out, std::string_view name) {
  out += static_cast<char>(name.size());
  out += name;
}

class mutator {
 public:
  mutator(unsigned seed, const ingredients& known,
          std::size_t (*mutate)(std::uint8_t* data, std::size_t size, std::size_t limit))
      : random_(seed), known_(known), mutate_(mutate) {}

  void change(conversation& steps) {
    const unsigned kind = below(12);
    if (steps.empty() || kind == 0) return insert(steps, {.data = one_of(known_.requests)});
    if (kind <= 3) return insert(steps, change_of_file());
    const std::size_t at = below(steps.size());
    if (kind == 4) {
      steps.erase(steps.begin() + static_cast<std::ptrdiff_t>(at));
    } else if (kind == 5) {
      insert(steps, step(steps[at]));
    } else if (kind == 6) {
      std::swap(steps[at], steps[below(steps.size())]);
    } else if (kind <= 8 && steps[at].kind != step_kind::request) {
      steps[at].look = some_look();
    } else {
      change_data(steps[at]);
    }
  }

 private:
  unsigned below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }
  const std::string& one_of(const std::vector<std::string>& values) { return values[below(values.size())]; }
  std::uint8_t some_look() {
    const unsigned kind = below(4);
    return static_cast<std::uint8_t>(kind == 0 ? 0 : kind == 1 ? below(256) : 1 + below(6));
  }

  void insert(conversation& steps, step added) {
    steps.insert(steps.begin() + below(steps.size() + 1), std::move(added));
  }

  step change_of_file() {
    step made;
    made.kind = static_cast<step_kind>(1 + below(step_kinds - 1));
    made.file = one_of(known_.files);
    made.look = some_look();
    if (made.kind == step_kind::copy) {
      made.data = one_of(known_.files);
      // Most often something of its kind.
      const std::string name = made.file.substr(made.file.rfind('/') + 1);
      for (int tries = 0; tries < 50 && !made.data.ends_with(name); ++tries) made.data = one_of(known_.files);
    } else if (made.kind == step_kind::patch) {
      // The numbers of most files fill four bytes.
      made.place = static_cast<std::uint16_t>(4 * below(below(4) == 0 ? 1024 : 32));
      static constexpr unsigned char last_bytes[] = {0, 1, 2, 3, 7, 8, 16, 64, 127, 255};
      made.data = std::string(4, '\0');
      made.data[3] = static_cast<char>(last_bytes[below(std::size(last_bytes))]);
      if (below(4) == 0) made.data[below(4)] = static_cast<char>(random_());
    } else if (made.kind == step_kind::cut) {
      made.place = static_cast<std::uint16_t>(below(256));
    }
    return made;
  }

  void change_data(step& changed) {
    std::string& data = changed.data;
    const std::size_t size = data.size();
    data.resize(longest_step);
    data.resize(mutate_(reinterpret_cast<std::uint8_t*>(data.data()), size, longest_step));
  }

  std::minstd_rand random_;
  const ingredients& known_;
  std::size_t (*mutate_)(std::uint8_t* data, std::size_t size, std::size_t limit);
};

}  // namespace

conversation parse(std::string_view input) {
  conversation steps;
  reader in(input);
  while (!in.at_end() && steps.size() < most_steps) {
    step each;
    each.kind = static_cast<step_kind>(in.byte() % step_kinds);
    if (each.kind != step_kind::request) {
      each.file = in.text(in.byte());
      each.look = in.byte();
    }
    if (each.kind == step_kind::request || each.kind == step_kind::whole) each.data = in.text(in.word());
    if (each.kind == step_kind::patch || each.kind == step_kind::cut) each.place = in.word();
    if (each.kind == step_kind::patch || each.kind == step_kind::copy) each.data = in.text(in.byte());
    steps.push_back(std::move(each));
  }
  return steps;
}

std::string unparse(const conversation& steps) {
  std::string out;
  for (const step& each : steps) {
    out += static_cast<char>(each.kind);
    if (each.kind != step_kind::request) {
      add_name(out, each.file);
      out += static_cast<char>(each.look);
    }
    if (each.kind == step_kind::patch || each.kind == step_kind::cut) add_word(out, each.place);
    if (each.kind == step_kind::request || each.kind == step_kind::whole) {
      add_word(out, each.data.size());
      out += each.data;
    }
    if (each.kind == step_kind::patch || each.kind == step_kind::copy)
      add_name(out, std::string_view(each.data).substr(0, 255));
  }
  return out;
}

std::string mutated(std::string_view input, std::size_t limit, unsigned seed, const ingredients& known,
                    std::size_t (*mutate)(std::uint8_t* data, std::size_t size, std::size_t limit)) {
  conversation steps = parse(input);
  mutator(seed, known, mutate).change(steps);
  std::string out = unparse(steps);
  while (out.size() > limit && !steps.empty()) {
    steps.pop_back();
    out = unparse(steps);
  }
  return out;
}

}  // namespace qrd::fuzz

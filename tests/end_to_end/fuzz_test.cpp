// Conversations that make no sense, with a fixed seed: whatever comes, the server ends in an orderly way.
//
// QRD_FUZZ_ROUNDS and QRD_FUZZ_SEED run it longer by hand, best with the sanitizers.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <limits>
#include <random>
#include <string>

#include "end_to_end/hostile.h"
#include "end_to_end/requests.h"

namespace qrd::test {
namespace {

int setting(const char* name, int usual) {
  const char* value = std::getenv(name);
  return value == nullptr ? usual : std::atoi(value);
}

class nonsense {
 public:
  explicit nonsense(unsigned seed) : random_(seed) {}

  // Some requests that fit the database, some that don't, and some that are damaged.
  std::vector<std::string> conversation() {
    choose();
    const int count = 1 + below(12);
    for (int i = 0; i < count; ++i) {
      if (below(5) == 0) choose();
      std::string request =
          made(request_layouts[static_cast<std::size_t>(below(std::size(request_layouts)))]);
      if (below(4) == 0) damage(request);
      out_.push_back(request);
    }
    return out_;
  }

 private:
  template <typename Number>
  int below(Number limit) {
    return static_cast<int>(random_() % static_cast<unsigned>(limit));
  }
  template <typename Value, std::size_t Count>
  Value one_of(const Value (&values)[Count]) {
    return values[below(Count)];
  }

  void choose() {
    const bool old = below(4) == 0;
    const char* files[] = {"collars", "cores", "domains"};
    const char* variables[] = {
        "Cu",     "hole", "ore", "Cu class", "depth", "S", "Z+ Gravity Center", "LN+ Line Number (READONLY)",
        "N+ NAME"};
    out_.push_back(bytes().text("CSTUDYSET").text(old ? "Archive" : "Holes").str());
    out_.push_back(bytes().text("CDIRSET").text(old ? "Old data" : "Drilling").str());
    out_.push_back(bytes().text("CFILESET").text(old ? "cube" : one_of(files)).str());
    out_.push_back(bytes().text("CVARSET").text(old ? "number" : one_of(variables)).str());
    if (below(3) == 0) out_.push_back(bytes().text("CSELSET").text(below(2) == 0 ? "ore" : "sampled").str());
  }

  std::string text() {
    const char* texts[] = {
        "",     "Holes",         "Drilling", "cores",    "collars", "domains", "Cu",      "hole",    "ore",
        "new",  "macro[xxxxx]",  "macro[1]", "macro{a}", "None",    "m",       "ft",      "project", "Grades",
        "Full", "Copper manual", "Zones",    "%s%n%d",   "a/b",     "..",      "[xxxxx]", "]",       "{}"};
    if (below(12) == 0) return std::string(static_cast<std::size_t>(below(300)), 'x');
    if (below(40) == 0) return std::string(static_cast<std::size_t>(9990 + below(20)), 'y');
    return one_of(texts);
  }
  std::int64_t number(bool wide) {
    const std::int64_t special[] = {0, 1, 2, 3, 4, 7, 8, 16, 32, 50, 64, 100, 512, 3762, 100000, -1, -2};
    const std::int64_t large[] = {2147483647,
                                  -2147483648LL,
                                  2147483648LL,
                                  4294967295LL,
                                  1LL << 40,
                                  1LL << 61,
                                  std::numeric_limits<std::int64_t>::max(),
                                  std::numeric_limits<std::int64_t>::min()};
    if (wide && below(6) == 0) return one_of(large);
    if (below(10) == 0) return static_cast<std::int32_t>(random_());
    return one_of(special);
  }
  double real() {
    const double special[] = {0.0,
                              1.0,
                              -1.0,
                              10.0,
                              90.0,
                              1e30,
                              -1e31,
                              1e308,
                              1.2345e308,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN(),
                              5e-324,
                              -999.0};
    return one_of(special);
  }

  std::string made(const request_layout& layout) {
    bytes request;
    request.text(layout.name);
    for (const auto& [type, fitting] : arguments_of(layout)) {
      const bool fits = fitting && below(6) != 0;
      if (type == 's') request.text(text());
      if (type == 'd') request.f64(real());
      if (type == 'b') request.u8(static_cast<std::uint8_t>(random_()));
      if (type == 'n') request.i32(below(60) - 5);
      if (type == 'i') request.i32(static_cast<std::int32_t>(fits ? *fitting : number(false)));
      if (type == 'l') request.i64(fits ? *fitting : number(true));
    }
    return request.str();
  }

  void damage(std::string& request) {
    const int kind = below(4);
    const auto at = static_cast<std::size_t>(below(request.size()));
    if (kind == 0) request.resize(at);
    if (kind == 1) request[at] = static_cast<char>(random_());
    if (kind == 2) request.insert(at, static_cast<std::size_t>(below(9)), static_cast<char>(random_()));
    if (kind == 3)
      for (int i = 0; i < 1 + below(40); ++i) request += static_cast<char>(random_());
  }

  std::mt19937 random_;
  std::vector<std::string> out_;
};

TEST(fuzz, whatever_comes_the_server_ends_in_an_orderly_way) {
  const int seed = setting("QRD_FUZZ_SEED", 1);
  in_parallel(setting("QRD_FUZZ_ROUNDS", 96), shipped_root, [&](int round, workspace& space) {
    SCOPED_TRACE("QRD_FUZZ_SEED=" + std::to_string(seed + round) + " QRD_FUZZ_ROUNDS=1");
    expect_orderly(end_of(space.root(), nonsense(static_cast<unsigned>(seed + round)).conversation()));
    space.restore();
  });
}

}  // namespace
}  // namespace qrd::test

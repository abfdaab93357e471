#include "support/root_view.h"

#include <bit>
#include <sstream>

#include "support/layout.h"
#include "wire/connection.h"

namespace qrd::test {

namespace {

struct answer {
  bool refused = false;
  std::string told;
  std::vector<std::int64_t> numbers;
  strings texts;
};

class viewer {
 public:
  explicit viewer(raw_connection& wire) : wire_(wire) {}

  root_view view() {
    each("", "studies", "CSTUDYLST", "CSTUDYSET", [&] {
      put_bag(0);
      for (const std::string& name : put("palettes", "CPALLST").texts)
        put("palette " + name, "CPALREAD", bytes(name));
      for (const std::string& name : put("scales", "CSCALST").texts)
        put("scale " + name, "CSCAREAD", bytes(name));
      each("/", "directories", "CDIRLST", "CDIRSET", [&] {
        put_bag(1);
        each("/", "files", "CFILELST", "CFILESET", [&] { view_file(); });
      });
    });
    return std::move(view_);
  }

 private:
  std::uint64_t number(std::size_t size) {
    std::uint64_t value = 0;
    for (char byte : wire_.receive(size)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }
  std::string text() {
    const std::size_t size = number(4);
    return wire_.receive((size + 3) / 4 * 4).substr(0, size);
  }
  answer ask(const char* request, const bytes& arguments) {
    const request_row& row = row_of(request);
    wire_.send(bytes(request).raw(arguments));
    answer got;
    got.refused = text() == "SERROR";
    if (got.refused) {
      got.told = "refused: " + text();
      return got;
    }
    std::ostringstream told;
    told.precision(17);
    walk_layout(row.values, protocol_version, [&](const layout_value& value) -> std::int64_t {
      if (value.type == value_type::text) {
        got.texts.push_back(text());
        told << got.texts.back() << ' ';
        return 0;
      }
      const bool is_word = value.type == value_type::whole;
      const std::uint64_t image = number(value.type == value_type::byte ? 1 : is_word ? 4 : 8);
      const auto whole = is_word ? static_cast<std::int32_t>(image) : static_cast<std::int64_t>(image);
      got.numbers.push_back(whole);
      value.type == value_type::real ? told << std::bit_cast<double>(image) << ' ' : told << whole << ' ';
      return whole;
    });
    got.told = told.str();
    return got;
  }
  answer put(const std::string& what, const char* request, const bytes& arguments = {}) {
    answer got = ask(request, arguments);
    view_[place_ + " " + what] = got.told;
    return got;
  }
  // The line that tells when an object was made differs from one making to the next.
  void put_comment(int owner) {
    std::string comment = put("comment", "CCOMGET", bytes().i32(owner)).told;
    constexpr std::string_view label = "Creation Date:";
    const std::size_t begin = comment.find(label), end = std::min(comment.find('\n', begin), comment.size());
    if (begin != std::string::npos)
      view_[place_ + " comment"] = comment.erase(begin + label.size(), end - begin - label.size());
  }
  void put_bag(int scope) {
    const bytes which = bytes(viewed_bag).i32(scope);
    const answer exists = put("bag", "CVDATEXIS", which);
    if (!exists.refused && exists.numbers[0] != 0) put("bag", "CVDATREAD", which);
  }
  // Acts at the place of each name of a list, where it can be had.
  template <typename Act>
  void each(const char* separator, const char* what, const char* list, const char* choose, const Act& act) {
    const std::string above = place_;
    for (const std::string& name : put(what, list).texts) {
      place_ = above;
      place_ += separator + name;
      if (!put("can be had", choose, bytes(name)).refused) act();
    }
    place_ = above;
  }

  void view_file() {
    put_bag(2);
    const answer info = put("info", "CFILEINFO");
    const auto is = [&](std::size_t field, std::int64_t value) {
      return !info.refused && info.numbers[field] == value;
    };
    put_comment(2);
    if (is(2, 1)) put("polygons", "CPOLYGONS");
    if (is(1, 1)) put("faults", "CFAULTS", bytes().i32(127));
    put("wireframes", "CWIREREAD");
    if (is(0, 1) || is(0, 2)) put("lines", "CLFILECNT");
    each("/", "variables", "CVARLST", "CVARSET", [&] { view_variable(); });
  }

  void view_variable() {
    const bytes all = bytes().i64(-1, -1).i32(0);
    put_bag(3);
    const answer info = put("info", "CVARINFO");
    put_comment(3);
    const std::int64_t type = info.refused ? 0 : info.numbers[0];
    if (type != 5) {
      put("values", type == 1 ? "CREADVARC" : "CREADVARF", all);
      return;
    }
    const answer indices = put("indices", "CMACROALP");
    for (std::size_t i = 1; !indices.refused && i + 1 < indices.numbers.size(); ++i) {
      const auto index = static_cast<std::int32_t>(indices.numbers[i]);
      const std::string what = "values of " + std::to_string(index);
      if (!put(what, "CINDSET", bytes().i32(index)).refused) put(what, "CREADVARF", all);
    }
  }

  raw_connection& wire_;
  std::string place_;
  root_view view_;
};

std::string cut(const std::string& value) {
  constexpr std::size_t most = 120;
  return value.size() <= most ? value : value.substr(0, most) + "...";
}

}  // namespace

root_view view_of(raw_connection& wire) {
  return viewer(wire).view();
}

std::string differences(const root_view& expected, const root_view& actual) {
  std::string lines;
  for (const auto& [place, value] : expected) {
    const auto found = actual.find(place);
    if (found == actual.end())
      lines += "  gone: " + place + "\n";
    else if (found->second != value)
      lines += "  " + place + ": " + cut(found->second) + " instead of " + cut(value) + "\n";
  }
  for (const auto& [place, value] : actual)
    if (!expected.contains(place)) lines += "  new: " + place + ": " + cut(value) + "\n";
  return lines;
}

}  // namespace qrd::test

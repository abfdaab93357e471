// The layouts of all requests, for tests that make requests by the hundred.
//
// A layout is a row of tokens: s a text, i an int, l a long, d a double, b a byte, n an int that the room on
// disk depends on; "i=2" has that value so that what follows fits, "d*6" is six of them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qrd::test {

struct request_layout {
  std::string_view name;
  std::string_view arguments;
};

// Those that name a place in the file system are left out: CHELLO, CQRDDATA, CSTUDYNEW.
inline constexpr request_layout request_layouts[] = {
    {"CNEWSESS", ""},
    {"CSUPREQ", ""},
    {"CARCH", "i"},
    {"CBYE BYE", ""},
    {"CUNITMODE", "i"},
    {"CDISTUSET", "s"},
    {"CUNITCR", "s s s"},
    {"CSTUDYLST", ""},
    {"CSTUDYSET", "s"},
    {"CSTUDYDEL", ""},
    {"CDIRNEW", "s"},
    {"CDIRLST", ""},
    {"CDIRXIST", "s"},
    {"CDIRSET", "s"},
    {"CDIRDEL", ""},
    {"CFILELST", ""},
    {"CFILETLST", "i i"},
    {"CFILEXIST", "s"},
    {"CFILESET", "s"},
    {"CFILEDEL", ""},
    {"CFILEINFO", ""},
    {"CPFILENEW", "s l=2 i=2 d*4"},
    {"CPFILEAPP", "l=1 i=3 d*3"},
    {"CGFILENEW", "s i=2 d d n d d n"},
    {"CLFILENEW", "s i"},
    {"CLFILEAPP", "i=1 i=3 d*3"},
    {"CLFILEAPC", "i=1 i=3 d*3 d*3"},
    {"CLFILELNK", "s"},
    {"CLFILECNT", ""},
    {"GRIDMODO", "d*3"},
    {"GRIDMODM", "d*3"},
    {"GRIDMODR", "d*3"},
    {"CSELSET", "s"},
    {"CCOMGET", "i"},
    {"CCOMSET", "i i s"},
    {"CVARLST", ""},
    {"CVARTLST", "i"},
    {"CVARXIST", "s"},
    {"CVARSET", "s"},
    {"CVARDEL", ""},
    {"CINDSET", "i"},
    {"CINDASET", "s"},
    {"CVARINFO", ""},
    {"CMACROIND", ""},
    {"CMACROALP", ""},
    {"CMACROADD", "i=2 i=1 i i i=1 s s"},
    {"CREADVARF", "l l i"},
    {"CREADLINF", "i"},
    {"CREADVARS", "l l"},
    {"CREADVARC", "l l i"},
    {"CVARFNEW", "s i=8 i i i i=0"},
    {"CVARMNEW", "s i=4 i i i i=1 s"},
    {"CVARCNEW", "s n"},
    {"CVARCOMM", "i s"},
    {"CWRITVARF", "l=1 l=2 i d l=2 d*2"},
    {"CWRITLINF", "l=1 l=2 d d*2"},
    {"CWRITVARS", "l=1 l=2 l=2 b*2"},
    {"CWRITVARC", "l=1 l=2 i s l=2 s s"},
    {"CVARUNIT", "i=2 s s"},
    {"CVARLNAME", ""},
    {"CFAULTS", "i"},
    {"CWRITFAUL", "i=1 i d i=1 s i i=2 d*12 i d*12 i"},
    {"CVDATVERS", "s i"},
    {"CVDATREAD", "s i"},
    {"CVDATWRIT", "s i i i=2 s i=1 i s i=5 i=2 d*2"},
    {"CVDATEXIS", "s i"},
    {"CPOLYGONS", ""},
    {"CPOLYNEW", "s i d*6 l=1 s s d*2 i=3 d*6"},
    {"CWIREREAD", ""},
    {"CWIRENEW", "s i=1 s i*3 i=1 i=3 i=1 d*9 i*3"},
    {"CPALLST", ""},
    {"CPALXIST", "s"},
    {"CPALWRIT", "s i=2 i*6"},
    {"CPALREAD", "s"},
    {"CPALDEL", "s"},
    {"CSCALST", ""},
    {"CSCAXIST", "s"},
    {"CSCANEW", "s i=2 i s i=2 i*12 i*3 s s i i=0 i=1 i=0 d*3 i*2"},
    {"CSCAREAD", "s"},
    {"CSCADEL", "s"},
};

struct request_argument {
  char type;
  std::optional<std::int64_t> fitting;
};

// One for each value.
inline std::vector<request_argument> arguments_of(const request_layout& layout) {
  std::vector<request_argument> arguments;
  for (std::string_view rest = layout.arguments; !rest.empty();) {
    const std::string token(rest.substr(0, rest.find(' ')));
    rest.remove_prefix(std::min(rest.size(), token.size() + 1));
    const int value = token.size() > 2 ? std::stoi(token.substr(2)) : 1;
    const bool fits = token.size() > 2 && token[1] == '=';
    for (int i = 0; i < (fits ? 1 : value); ++i)
      arguments.push_back({token[0], fits ? std::optional<std::int64_t>(value) : std::nullopt});
  }
  return arguments;
}

}  // namespace qrd::test

// Which names an object of the catalogue may have.
#include "catalogue/qd_name.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "disk/qd_macro_table.h"
#include "disk/qd_records.h"
#include "util/qu_constants.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr std::string_view reserved_names[] = {no_name, "New Directory", "New File", "New Variable"};
constexpr std::string_view generic_suffix = "[xxxxx]";
constexpr std::string_view forbidden_characters = "[]{}";

bool is_printable(char c) {
  auto byte = static_cast<unsigned char>(c);
  return byte >= 32 && byte != 127 && byte != 255;
}

}  // namespace

name_code qd_name_check(const char* name) {
  // The name is stored as it stands, blanks and all, so that the room counts for the untrimmed text.
  bool fits = std::strlen(name) < name_size;
  std::string_view text = qu_trimmed(name);
  if (text.empty()) return name_code::blank;
  if (!fits) return name_code::too_long;
  if (std::find(std::begin(reserved_names), std::end(reserved_names), text) != std::end(reserved_names))
    return name_code::reserved;
  if (!std::all_of(text.begin(), text.end(), is_printable)) return name_code::not_printable;

  if (text.ends_with(generic_suffix)) text.remove_suffix(generic_suffix.size());
  if (text.find_first_of(forbidden_characters) != std::string_view::npos) return name_code::forbidden;
  return qu_trimmed(text).empty() ? name_code::blank : name_code::valid;
}

name_code qd_variable_name_check(const char* name, int type) {
  const name_code code = qd_name_check(name);
  if (code != name_code::valid) return code;
  // An index is looked for at the very end of a name: behind it, blanks would make a macro unreachable,
  // and can't hide one in a plain name.
  if (type == VAR_MACRO)
    return qd_macro_name_kind(name) == index_form::generic ? name_code::valid : name_code::bad_macro;
  const bool is_plain = qd_macro_name_kind(std::string(qu_trimmed(name)).c_str()) == index_form::none;
  return is_plain ? name_code::valid : name_code::forbidden;
}

const char* qd_name_fault(name_code code, named_object object) {
  switch (code) {
    case name_code::blank:
      return "         IS BLANK OR NULL...\n";
    case name_code::reserved:
      return "         IS A RESERVED KEYWORD...\n";
    case name_code::not_printable:
      return "         HAS NON PRINTABLE CHARACTERS...\n";
    case name_code::forbidden:
      return object == named_object::variable ? "         HAS FORBIDDEN CHARACTERS: [ ] or { } ...\n"
                                              : "         HAS FORBIDDEN CHARACTERS: [ or ] ...\n";
    case name_code::too_long:
      return "         IS TOO LONG...\n";
    default:
      return "         IS NOT A VALID NEW MACRO VARIABLE NAME...\n";
  }
}

}  // namespace qrd

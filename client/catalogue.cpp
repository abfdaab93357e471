// Requests that walk and change the tree: studies, directories, files, variables, comments, units.
#include "qrd/connection.h"

namespace qrd::client {

void connection::set_unit_mode(unit_mode mode) {
  call(request("CUNITMODE").add_int(static_cast<std::int32_t>(mode)), "SDONE");
}

void connection::set_distance_unit(const std::string& symbol) {
  named("CDISTUSET", symbol);
}

void connection::set_creation_units(const std::string& x, const std::string& y, const std::string& z) {
  call(request("CUNITCR").add_string(x, max_unit).add_string(y, max_unit).add_string(z, max_unit), "SDONE");
}

void connection::set_variable_unit(const std::string& unit, const std::optional<std::string>& shown) {
  packet full = request("CVARUNIT");
  full.add_int(shown ? 2 : 1).add_string(unit, max_unit);
  if (shown) full.add_string(*shown, max_unit);
  call(full, "SDONE");
}

std::vector<std::string> connection::studies() {
  return list(request("CSTUDYLST"), "SSTUDIES");
}

void connection::set_study(const std::string& name) {
  named("CSTUDYSET", name);
}

void connection::new_study(const std::string& name, const std::string& path) {
  packet full = request("CSTUDYNEW");
  full.add_string(name);
  if (!is_old()) full.add_string(path);
  call(full, "SDONE");
}

void connection::delete_study() {
  plain("CSTUDYDEL");
}

std::vector<std::string> connection::directories() {
  return list(request("CDIRLST"), "SDIRS");
}

bool connection::directory_exists(const std::string& name) {
  return exists("CDIRXIST", name);
}

void connection::set_directory(const std::string& name) {
  named("CDIRSET", name);
}

void connection::new_directory(const std::string& name) {
  named("CDIRNEW", name);
}

void connection::delete_directory() {
  plain("CDIRDEL");
}

std::vector<std::string> connection::files() {
  return list(request("CFILELST"), "SFILES");
}

std::vector<std::string> connection::files(std::optional<organisation> kind,
                                           std::optional<std::int32_t> dimension) {
  constexpr std::int32_t any = -1;
  constexpr std::int32_t first_version_with_cores = 900000;
  std::int32_t code = any;
  if (kind) {
    if (*kind == organisation::core_lines && version_ < first_version_with_cores)
      throw bad_argument("core lines cannot be asked for in this version of the protocol");
    code = static_cast<std::int32_t>(*kind);
  }
  return list(request("CFILETLST").add_int(code).add_int(dimension.value_or(any)), "SFILES");
}

bool connection::file_exists(const std::string& name) {
  return exists("CFILEXIST", name);
}

void connection::set_file(const std::string& name) {
  named("CFILESET", name);
}

void connection::delete_file() {
  plain("CFILEDEL");
}

std::vector<std::string> connection::variables() {
  return list(request("CVARLST"), "SVARS");
}

std::vector<std::string> connection::variables(variable_filter filter) {
  return list(request("CVARTLST").add_int(static_cast<std::int32_t>(filter)), "SVARS");
}

bool connection::variable_exists(const std::string& name) {
  return exists("CVARXIST", name);
}

void connection::set_variable(const std::string& name) {
  named("CVARSET", name);
}

void connection::delete_variable() {
  plain("CVARDEL");
}

std::string connection::comment(comment_owner owner) {
  call(request("CCOMGET").add_int(static_cast<std::int32_t>(owner)), "SCOMMENT");
  return wire_.read_string(unlimited);
}

void connection::set_comment(comment_owner owner, const std::string& text) {
  // The server has no use for the second number: a comment is always replaced.
  call(request("CCOMSET").add_int(static_cast<std::int32_t>(owner)).add_int(0).add_string(text, unlimited),
       "SDONE");
}

void connection::set_variable_comment(const std::string& text) {
  call(request("CVARCOMM").add_int(0).add_string(text, unlimited), "SDONE");
}

}  // namespace qrd::client

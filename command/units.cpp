// qrd units: the symbols that make a variable a length.
#include "qrd/units.h"

#include <cstdio>

#include "command/options.h"
#include "command/output.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

void list_units(const common_options& common) {
  constexpr double centimetres_of_a_metre = 100;
  json::elements all;
  for (const client::length_unit& unit : client::length_units())
    all.push_back(
        {{"unit", unit.symbol}, {"name", unit.name}, {"metres", unit.centimetres / centimetres_of_a_metre}});
  if (common.json) {
    print_description(all, true);
    return;
  }
  for (const json& one : all)
    std::printf("%s\t%s\t%s m\n", shown_text(one["unit"]).c_str(), shown_text(one["name"]).c_str(),
                shown_text(one["metres"]).c_str());
}

}  // namespace

void add_units_command(const command_line& program, const common_options& common) {
  const command_line command = program.add_subcommand("units", "List the symbols of the length units");
  command.callback([&common] { list_units(common); });
}

}  // namespace qrd::command

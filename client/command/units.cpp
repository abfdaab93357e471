// qrd units: the symbols that make a variable a length.
#include "client/units.h"

#include <cstdio>

#include "client/command/options.h"
#include "client/command/output.h"
#include "client/numbers.h"

namespace qrd::command {

namespace {

void list_units(const common_options& common) {
  constexpr double centimetres_of_a_metre = 100;
  json all = json::array();
  for (const client::length_unit& unit : client::length_units())
    all.push_back(
        {{"unit", unit.symbol}, {"name", unit.name}, {"metres", unit.centimetres / centimetres_of_a_metre}});
  if (common.json) {
    print_description(all, true);
    return;
  }
  for (const json& one : all)
    std::printf("%s\t%s\t%s m\n", one["unit"].get_ref<const std::string&>().c_str(),
                one["name"].get_ref<const std::string&>().c_str(),
                client::number_text(one["metres"].get<double>()).c_str());
}

}  // namespace

void add_units_command(CLI::App& program, const common_options& common) {
  CLI::App* command = program.add_subcommand("units", "List the symbols of the length units");
  command->callback([&common] { list_units(common); });
}

}  // namespace qrd::command

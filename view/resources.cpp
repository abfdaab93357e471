// Palettes and colour scales of a study.
#include "qrd/words.h"
#include "view/answers.h"

namespace qrd::view {

namespace {

json scale_json(const std::string& name, const client::colour_scale& scale) {
  json told = {{"name", name},
               {"kind", client::word_of(scale.kind)},
               {"palette", scale.palette},
               {"classes", scale.classes}};
  told["bounds"] = scale.bounds;
  told["indices"] = scale.palette_indices;
  json intervals = json::array(), facies = json::array();
  for (const client::facies_interval& one : scale.intervals)
    intervals.push_back(json::array({one.minimum, one.maximum, one.palette_index}));
  for (const client::facies_class& one : scale.facies)
    facies.push_back({{"label", one.label}, {"colour", one.colour}});
  told["intervals"] = intervals;
  told["facies"] = facies;
  return told;
}

}  // namespace

answer resources_answer(source& from, const query& asked) {
  return from.with([&](client::database& database) {
    client::connection& server = database.at(asked.text("study"));
    json palettes = json::array(), scales = json::array();
    for (const std::string& name : server.palettes())
      palettes.push_back({{"name", name}, {"colours", server.palette(name)}});
    for (const std::string& name : server.scales()) scales.push_back(scale_json(name, server.scale(name)));
    return json_answer({{"palettes", palettes}, {"scales", scales}});
  });
}

}  // namespace qrd::view

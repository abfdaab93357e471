// What there is, level by level.
#include "qrd/words.h"
#include "view/answers.h"

namespace qrd::view {

answer tree_answer(source& from, const query& asked) {
  const std::string study = asked.text_or("study", {});
  const std::string directory = asked.text_or("directory", {});
  return from.with([&](client::database& database) {
    if (study.empty())
      return json_answer({{"root", database.options().root}, {"studies", database.at_root().studies()}});
    if (directory.empty()) return json_answer({{"directories", database.at(study).directories()}});
    json files = json::array();
    for (const std::string& name : database.at(study, directory).files()) {
      // One that has gone since, or that can't be read, must not hide the others.
      json one = {{"name", name}};
      try {
        const client::file_info info = database.at({study, directory, name}).file_info();
        one["organisation"] = client::word_of(info.organisation);
        one["dimension"] = info.dimension;
        one["samples"] = info.samples;
        one["lines"] = info.lines;
        one["polygons"] = info.has_polygons;
        one["faults"] = info.has_faults;
      } catch (const client::refusal& problem) {
        one["problem"] = problem.what();
      }
      files.push_back(one);
    }
    return json_answer({{"files", files}});
  });
}

}  // namespace qrd::view

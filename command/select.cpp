// qrd new selection: a selection variable from a condition.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "command/interruption.h"
#include "command/options.h"
#include "command/rows.h"
#include "command/session.h"
#include "qrd/names.h"

namespace qrd::command {

namespace {

constexpr const char* selection_type = "STUDY DIRECTORY FILE SELECTION";

struct select_options {
  place_options place;
  row_options rows;
  std::string comment;
};

void select(const common_options& common, const select_options& options) {
  need_names(options.place.words, 4, selection_type);
  if (options.rows.where.empty() && options.rows.box.empty() && options.rows.nodes.empty())
    throw wrong_usage("--where, --box or --nodes has to tell what is selected");
  if (options.place.compress)
    throw wrong_usage("a selection is made of all samples: --compress leaves some out");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.place.words;
    const object_path path = take_path(all, words, all_levels, last_name::made);
    if (!words.empty()) throw wrong_usage(std::string("the names have to be ") + selection_type);
    client::check_new_name(path[3], "variable");
    client::table file(all, place_of(path));
    const auto known = file.names();
    if (std::find(known.begin(), known.end(), path[3]) != known.end())
      throw client::error("the variable \"" + path[3] + "\" is there already");
    all.use_unit(options.place.unit);
    std::vector<double> selected(static_cast<std::size_t>(file.samples()));
    std::int64_t count = 0;
    read_rows(file, {}, options.place, options.rows, common.quiet, [&](const row_block& block) {
      for (const std::size_t row : block.rows) selected[static_cast<std::size_t>(block.first) - 1 + row] = 1;
      count += static_cast<std::int64_t>(block.rows.size());
    });
    const interruption_guard guard;
    const auto act = [&](bool& made) {
      client::new_variable wish;
      wish.name.name = path[3];
      wish.bits = 1;
      wish.comment = options.comment;
      const client::column column = file.make(wish);
      made = true;
      file.write(column, selected);
      check_interruption();
    };
    client::make_or_undo(all, act, [&] { file.remove(path[3]); });
    std::printf("%s: %lld of %lld samples\n", path[3].c_str(), static_cast<long long>(count),
                static_cast<long long>(file.samples()));
  });
}

}  // namespace

void add_selection_command(const command_line& parent, const common_options& common) {
  const command_line command =
      parent.add_subcommand("selection", "Make a selection of the samples that fulfil a condition");
  auto options = std::make_shared<select_options>();
  add_names(command, options->place.words, selection_type, "The selection to make");
  add_filter_options(command, options->rows);
  add_range_options(command, options->place);
  add_unit_options(command, options->place.unit);
  add_index_option(command, options->place);
  command.add_option("--comment", options->comment, "Comment (default: the condition)").type_name("TEXT");
  command.callback([options, &common] {
    if (options->comment.empty()) options->comment = options->rows.where;
    select(common, *options);
  });
}

}  // namespace qrd::command

// qrd plot: a picture of a file, or of the colours of a study.
#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

#include "command/interruption.h"
#include "command/options.h"
#include "command/output_file.h"
#include "command/place.h"
#include "command/progress.h"
#include "command/session.h"
#include "plot/draw.h"
#include "plot/format.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

constexpr const char* file_names = "STUDY DIRECTORY FILE [VARIABLE...]";

struct plot_options {
  plot::request wish;
  std::vector<std::string> words;
  // Files whose objects are shown too, as they are named.
  std::vector<std::string> polygons, wireframes, faults;
  std::string output;
  bool force = false;
  std::int32_t dots_per_inch = 144;
};

bool is_sheet(const plot::request& wish) {
  return wish.wanted == plot::kind::palettes || wish.wanted == plot::kind::scales;
}

// The numbers between the separators; nothing unless there are so many.
std::optional<std::vector<double>> numbers_of(const std::string& text, char separator, std::size_t count) {
  std::vector<double> numbers;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    const auto number = client::parse_number(text.substr(begin, end - begin));
    if (!number) return std::nullopt;
    numbers.push_back(*number);
    begin = end + 1;
  }
  return numbers.size() == count ? std::optional(numbers) : std::nullopt;
}

std::string problem_of_section(const std::string& text) {
  return numbers_of(text, ',', 4) ? "" : "a section is told as x0,y0,x1,y1";
}

std::string problem_of_size(const std::string& text) {
  constexpr double least_width = 400, least_height = 300, most = 5000;
  const auto size = numbers_of(text, 'x', 2);
  return size && size->front() >= least_width && size->back() >= least_height && size->front() <= most &&
                 size->back() <= most
             ? ""
             : "a size is told as WIDTHxHEIGHT in points, from 400x300 to 5000x5000";
}

// For a length, and for how many times heights are enlarged.
std::string problem_of_factor(const std::string& text) {
  constexpr double least = 1e-6, most = 1e6;
  const auto number = client::parse_number(text);
  return number && *number >= least && *number <= most ? "" : "a number from 0.000001 to 1000000 is wanted";
}

std::string problem_of_output(const std::string& path) {
  return plot::format_of(path) ? "" : "the name of a picture ends with .svg, .png or .pdf";
}

// The names on the command line: of a sheet only the study, else a file and variables, patterns among them.
void take_names(client::database& owner, std::vector<std::string> words, plot::request& wish) {
  if (is_sheet(wish)) {
    const object_path study = take_path(owner, words, 1);
    if (!words.empty()) throw wrong_usage("palettes and scales are those of a study: name nothing but it");
    wish.place.study = study.front();
    return;
  }
  wish.place = take_file(owner, words);
  client::table file(owner, wish.place);
  for (const client::column& one : open_columns(file, words, wish.index)) wish.variables.push_back(one.title);
}

// The files of a list: without a directory in that of the picture's file, without a study in its study.
std::vector<client::file_place> files_beside(client::database& owner, const client::file_place& place,
                                             const std::vector<std::string>& names) {
  std::vector<client::file_place> files;
  for (const std::string& name : names) {
    const auto levels = std::count(name.begin(), name.end(), '/');
    std::vector<std::string> words;
    if (levels < 2) words.push_back(place.study);
    if (levels < 1) words.push_back(place.directory);
    words.push_back(name);
    files.push_back(take_file(owner, words));
    if (!words.empty()) throw wrong_usage("\"" + name + "\" names more than a file");
  }
  return files;
}

void draw(const common_options& common, const plot_options& options) {
  need_names(options.words, is_sheet(options.wish) ? 1 : 3, is_sheet(options.wish) ? "STUDY" : file_names);
  with_database(common, [&](client::database& owner) {
    // A picture that is interrupted leaves nothing behind.
    const interruption_guard guard;
    plot::request wish = options.wish;
    take_names(owner, options.words, wish);
    wish.polygons = files_beside(owner, wish.place, options.polygons);
    wish.wireframes = files_beside(owner, wish.place, options.wireframes);
    wish.faults = files_beside(owner, wish.place, options.faults);
    output_file file(options.output, options.force ? existing_file::replaced : existing_file::kept);
    progress_bar bar("reading", 0, common.quiet);
    wish.progress = bar.function();
    const std::string bytes =
        plot::bytes_of(plot::draw(owner, wish), *plot::format_of(options.output), options.dots_per_inch);
    check_interruption();
    std::fwrite(bytes.data(), 1, bytes.size(), file.stream());
    file.finish();
  });
}

// What is drawn; a map if none of them is given.
void add_kinds(const command_line& command, plot_options& options) {
  plot::request& wish = options.wish;
  const auto wants = [&wish](plot::kind kind) { return [&wish, kind] { wish.wanted = kind; }; };
  const auto word = [&wish](plot::kind kind, std::string& into) {
    return [&wish, kind, &into](const std::string& text) {
      wish.wanted = kind;
      into = text;
    };
  };
  const std::array kinds = {
      command.add_flag_callback("--histogram", wants(plot::kind::histogram),
                                "How often the values of VARIABLE occur"),
      command
          .add_word_option("--against", word(plot::kind::scatter, wish.against),
                           "Scatter: VARIABLE to the right, this one upwards")
          .type_name("VARIABLE"),
      command
          .add_word_option(
              "--line", word(plot::kind::strip_log, wish.line),
              "Strip log of a line, such as a hole, by name or number; of several variables side by side")
          .type_name("LINE"),
      command
          .add_word_option(
              "--section",
              [&wish](const std::string& text) {
                const std::vector<double> at = numbers_of(text, ',', 4).value();
                wish.wanted = plot::kind::section;
                wish.section.from = {at[0], at[1]};
                wish.section.to = {at[2], at[3]};
              },
              "Vertical section between two points of the map")
          .type_name("X0,Y0,X1,Y1")
          .check(problem_of_section),
      command.add_option("--level", wish.level, "Level of a 3D grid, from 1 (default: the middle one)")
          .type_name("N"),
      command.add_flag_callback("--palettes", wants(plot::kind::palettes),
                                "Sheet of the palettes of STUDY, or of the one of --palette"),
      command.add_flag_callback("--scales", wants(plot::kind::scales),
                                "Sheet of the colour scales of STUDY, or of the one of --scale"),
  };
  for (std::size_t i = 0; i < kinds.size(); ++i)
    for (std::size_t k = i + 1; k < kinds.size(); ++k) kinds[i].excludes(kinds[k]);
  const auto length = [](std::optional<double>& into) {
    return [&into](const std::string& text) { into = client::parse_number(text); };
  };
  command
      .add_word_option("--width", length(wish.section.width),
                       "Corridor of the section, half of it on each side (default: a tenth of its length)")
      .type_name("LENGTH")
      .check(problem_of_factor)
      .needs(kinds[3]);
  command
      .add_word_option(
          "--exaggeration", length(wish.section.exaggeration),
          "How many times heights are enlarged in a section (default: a round number that fills it)")
      .type_name("FACTOR")
      .check(problem_of_factor)
      .needs(kinds[3]);
  const auto add_objects = [&](const char* name, std::vector<std::string>& files, const char* text) {
    const option added = command.add_option(name, files, text).one_at_a_time().type_name("FILE");
    for (const std::size_t other : {0U, 1U, 2U, 5U, 6U}) added.excludes(kinds[other]);
  };
  add_objects("--polygons", options.polygons,
              "File whose polygons a map or section shows too, also as DIRECTORY/FILE; several by several");
  add_objects("--wireframes", options.wireframes, "File whose wireframes it shows too, likewise");
  add_objects("--faults", options.faults, "File whose faults it shows too, likewise");
}

}  // namespace

void add_plot_command(const command_line& program, const common_options& common) {
  const command_line command = program.add_subcommand(
      "plot", "Draw a map, section, strip log, histogram or scatter, or the colours of a study, into a file");
  auto options = std::make_shared<plot_options>();
  plot::request& wish = options->wish;
  add_names(command, options->words, file_names, "What is shown; variables as in stem[12] or stem{name} too");
  command.add_option("-o,--output", options->output, "File to write; its ending tells the format")
      .required()
      .type_name("FILE.svg|png|pdf")
      .check(problem_of_output);
  command.add_flag("-f,--force", options->force, "Replace the file if it is there");
  add_kinds(command, *options);
  const option scale =
      command.add_option("--scale", wish.scale, "Colour scale of the study").type_name("SCALE");
  command
      .add_option("--palette", wish.palette,
                  "Palette, spread over the values (default: dark violet to light yellow)")
      .type_name("PALETTE")
      .excludes(scale);
  command.add_option("--selection", wish.selection, "Selection variable: only what it selects is drawn")
      .type_name("VARIABLE");
  command.add_option("--index", wish.index, "Column of macro variables, by number or name");
  add_unit_options(command, wish.unit);
  command
      .add_word_option(
          "--size",
          [&wish](const std::string& text) {
            const std::vector<double> sides = numbers_of(text, 'x', 2).value();
            wish.whole = {sides[0], sides[1]};
          },
          "Size in points, 1/72 inch (default: 800x600)")
      .type_name("WIDTHxHEIGHT")
      .check(problem_of_size);
  command.add_option("--dpi", options->dots_per_inch, "Dots per inch of a PNG (default: 144)")
      .range(30, 1200);
  command.callback([options, &common] { draw(common, *options); });
}

}  // namespace qrd::command

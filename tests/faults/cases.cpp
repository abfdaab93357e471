#include "faults/cases.h"

#include <sstream>

#include "support/descriptors.h"
#include "support/root_view.h"
#include "support/study_root.h"

namespace qrd::test {

namespace {

using client::vendor_scope;
using step = std::function<void(const scene&)>;

const std::vector<double> three_points = {1, 2, 3, 10, 20, 30};
const std::vector<double> two_points = {5, 6, 7, 8};
const std::vector<std::uint8_t> first_and_last = {1, 0, 1};

step all(std::vector<step> steps) {
  return [steps = std::move(steps)](const scene& at) {
    for (const step& each : steps) each(at);
  };
}

void nothing(const scene& /*at*/) {}

step ask(const std::function<void(client::connection&)>& act) {
  return [act](const scene& at) { act(at.to); };
}

// A place from the study on: "S/D/P".
step choice(const std::string& place) {
  return [=](const scene& at) {
    at.open();
    std::istringstream names(place);
    std::string name;
    for (const auto set : {&client::connection::set_study, &client::connection::set_directory,
                           &client::connection::set_file, &client::connection::set_variable})
      if (std::getline(names, name, '/')) (at.to.*set)(name);
  };
}

void directory(const scene& at) {
  at.to.set_study("S");
  at.to.new_directory("D");
  at.to.set_directory("D");
}

// "P": three points with a number, a text and a selection.
void points(const scene& at) {
  directory(at);
  at.to.new_points("P", 2, three_points);
  at.to.set_file("P");
  at.to.new_float_variable("v", 64, {}, "");
  at.to.set_variable("v");
  at.to.write_floats(std::vector<double>{1.5, 2.5, 3.5});
  at.to.new_text_variable("t", 5);
  at.to.set_variable("t");
  at.to.write_texts(strings{"one", "two", "three"});
  at.to.new_float_variable("s", 1);
  at.to.set_variable("s");
  at.to.write_selection(first_and_last);
  at.to.set_comment(client::comment_owner::file, "a file");
}

// In "P": a macro variable with two columns.
void add_macro(const scene& at, const std::vector<std::int32_t>& indices,
               const std::optional<strings>& names = {}) {
  at.to.new_macro_variable("m[xxxxx]", 32, {}, "");
  at.to.set_variable("m[xxxxx]");
  at.to.add_macro_indices(indices, names);
  for (const std::int32_t index : indices) {
    at.to.set_index(index);
    at.to.write_floats(std::vector<double>{index + 0.25, index + 0.5, index + 0.75});
  }
}
void macro(const scene& at) {
  add_macro(at, {2, 5});
}
void named_macro(const scene& at) {
  add_macro(at, {2}, strings{"gold"});
}

void grid(const scene& at) {
  directory(at);
  client::grid_geometry shape;
  shape.nx = 2;
  shape.ny = 3;
  at.to.new_grid("G", shape);
  at.to.set_file("G");
  at.to.new_float_variable("v", 32, {}, "");
  at.to.set_variable("v");
  at.to.write_floats(std::vector<double>{1, 2, 3, 4, 5, 6});
}

// "L": two lines, and "H", their points, with a text that can name them.
void lines(const scene& at) {
  directory(at);
  at.to.new_lines("L", 2);
  at.to.set_file("L");
  at.to.append_line(2, std::vector<double>{1, 2, 3, 10, 20, 30});
  at.to.append_line(2, std::vector<double>{5, 6, 50, 60});
  at.to.new_float_variable("v", 64, {}, "");
  at.to.set_variable("v");
  at.to.write_floats(std::vector<double>{1, 2, 3, 4, 5});
  at.to.new_points("H", 2, std::vector<double>{1, 2, 3, 4});
  at.to.set_file("H");
  at.to.new_text_variable("name", 4);
  at.to.set_variable("name");
  at.to.write_texts(strings{"a", "b"});
  at.to.set_file("L");
}

void linked(const scene& at) {
  lines(at);
  at.to.link_lines("H");
}

void named_lines(const scene& at) {
  linked(at);
  at.to.set_file("H");
  at.to.set_variable("name");
  at.to.set_line_name();
}

std::vector<client::contour> contours() {
  return {{"a", "A", 0, 0, {{0, 0}, {4, 0}, {4, 4}}}, {"b", "B", 0, 0, {{5, 5}, {6, 5}, {6, 6.5}}}};
}

std::vector<client::wireframe> wireframes() {
  const client::wireframe_piece piece = {{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {{{0, 2, 1}}}};
  return {{"Ore", 1, 2, 3, {piece}}};
}

client::fault_set one_fault() {
  const client::fault_segment segment = {.points = {{1, 2, 0}, {3, 4, 0}}};
  return {.faults = {{"North", false, {segment}}}};
}

client::vendor_bag bag(std::int32_t version) {
  return {version, {{"number", version}, {"text", std::string("t")}, {"reals", std::vector<double>{1, 2}}}};
}

client::colour_scale scale(client::scale_kind kind, std::int32_t red) {
  client::colour_scale one;
  one.kind = kind;
  one.palette = "P";
  one.colour_1 = {red, 2, 3};
  one.colour_2 = {4, 5, 6};
  if (kind == client::scale_kind::manual) {
    one.bounds = {0, 1.5, 3};
    one.palette_indices = {2, 0};
  }
  if (kind == client::scale_kind::facies) {
    one.intervals = {{1, 2, 0}, {3, 4, 1}};
    one.facies = {{{10, 20, 30}, "sand"}, {{40, 50, 60}, "clay"}};
  }
  return one;
}

const std::vector<client::rgb> greys = {{0, 0, 0}, {128, 127, 126}, {255, 255, 255}};
const std::vector<client::rgb> reds = {{255, 0, 0}, {128, 0, 0}};

step palette(const std::vector<client::rgb>& colours) {
  return [&](const scene& at) { at.to.set_study("S"), at.to.write_palette("Colours", colours); };
}
step scaled(client::scale_kind kind, std::int32_t red) {
  return [=](const scene& at) { at.to.set_study("S"), at.to.write_scale("Scale", scale(kind, red)); };
}

step bagged(vendor_scope scope, std::int32_t version) {
  return [=](const scene& at) { at.to.write_vendor_data(viewed_bag, scope, bag(version)); };
}

// Paths of the first directory's files.
fs::path in_file(const scene& at, int file, const std::string& name) {
  return at.root / "S/QRD/DIRE.1" / ("FILE." + std::to_string(file)) / name;
}

// Compresses the samples of all the variables of a file that have some on disk.
void compress(const scene& at, int file) {
  for (const auto& entry : fs::directory_iterator(in_file(at, file, ""))) {
    const std::string path = (entry.path() / "DATAVAR").string();
    if (!fs::exists(path) || fs::file_size(path) == 0) continue;
    gzip_file(path, read_file(path));
  }
}

void compressed_points(const scene& at) {
  points(at);
  compress(at, 1);
}

void old_grid(const scene& at) {
  grid(at);
  const file_fields file = {"G", 5, 2, 0, {0, 0, 0, 1, 1, 0}, {2, 3, 1}, {0, 0, 0}, "", 6, 512};
  write_file(in_file(at, 1, "DESCR"), file.bytes_of(500));
  write_file((at.root / "S/QRD/DIRE.1/DESCR").string(), bytes().i32(400).text("D"));
}

// As a program of 32 bits left them.
void old_lines(const scene& at) {
  lines(at);
  const file_fields file = {
      .name = "L", .organisation = 2, .dimension = 2, .lines = 2, .samples = 5, .allocated = 512};
  write_file(in_file(at, 1, "DESCR"), file.bytes_of(500));
  write_file(in_file(at, 1, "LINE"), bytes().i32(1, 4, 6));
}

void old_anamorphoses(const scene& at) {
  fs::rename(at.root / "S/PARAM/ANAM", at.root / "S/PARAM/MHISTO");
  write_file((at.root / "S/PARAM/MHISTO/one").string(), "kept");
}

// Nothing of the template's is in "S" yet.
void bare_study(const scene& at) {
  at.to.new_study("Template", at.root / "Template");
  write_file(at.root / "Template/DEF/environ_gene.def", "general\n");
  write_file(at.root / "Template/DEF/DISP1", "shown\n");
  write_file(at.root / "Template/CSCALE/NOTE", "scale\n");
  for (const char* palette : {"PAL.1", "PAL.2"})
    write_file(at.root / "Template/U_COLOR" / palette, std::string(palette) + "\n  1   2   3\n");
  write_file(at.root / "S/DEF/environ.def", "own\n");
  for (const char* folder : {"CSCALE", "U_LITHO", "TRANSFO", "U_COLOR", "IMAGES", "METAFILE"})
    fs::remove_all(at.root / "S" / folder);
}

// Behind an opening the study has all of the template, once.
void has_the_template(const scene& at) {
  at.open();
  at.to.set_study("S");
  const std::map<std::string, std::string> wanted = {{"DEF/environ.def", "own\ngeneral\n"},
                                                     {"DEF/DISP1", "shown\n"},
                                                     {"CSCALE/NOTE", "scale\n"},
                                                     {"U_COLOR/PAL.1", "PAL.1\n  1   2   3\n"},
                                                     {"U_COLOR/PAL.2", "PAL.2\n  1   2   3\n"}};
  for (const auto& [path, content] : wanted)
    if (read_file(at.root / "S" / path) != content) throw std::runtime_error("not as the template: " + path);
}

// A study of that name is there, or can be made.
step can_have_study(const std::string& name) {
  return [=](const scene& at) {
    at.open();
    const strings names = at.to.studies();
    if (std::find(names.begin(), names.end(), name) == names.end()) at.to.new_study(name, at.root / name);
    at.to.set_study(name);
  };
}

std::vector<fault_case> study_cases() {
  const auto make = [](const scene& at) { at.to.new_study("New", at.root / "New"); };
  const auto make_deep = [](const scene& at) { at.to.new_study("New", at.root / "a/b/New"); };
  const auto remove = [](const scene& at) { at.to.delete_study(); };
  const auto set = [](const scene& at) { at.to.set_study("S"); };
  const auto open = [](const scene& at) { at.open(); };
  return {
      {"CSTUDYNEW", nothing, open, make, {}, {}, {}, can_have_study("New")},
      {"CSTUDYNEW_with_parents", nothing, open, make_deep},
      {"CSTUDYDEL", points, choice("S"), remove, {}, {}, {}, can_have_study("S")},
      {"CSTUDYDEL_of_the_first", points, choice("T"), remove, {}, {}, {}, can_have_study("T")},
      {"CSTUDYSET_of_a_bare_study", bare_study, open, set, {}, {}, {}, has_the_template},
      {"CQRDDATA", nothing, nothing, open},
      {"CSTUDYSET", nothing, open, set},
      {"CSTUDYSET_with_old_anamorphoses", old_anamorphoses, open, set},
  };
}

std::vector<fault_case> directory_cases() {
  return {
      {"CDIRNEW", points, choice("S"), ask([](auto& to) { to.new_directory("New"); })},
      {"CDIRDEL", points, choice("S/D"), ask([](auto& to) { to.delete_directory(); })},
      {"CDIRLST_of_old_descriptors", old_grid, choice("S"), ask([](auto& to) { to.directories(); })},
  };
}

std::vector<fault_case> file_cases() {
  const auto remove = ask([](auto& to) { to.delete_file(); });
  // With the three that are there, more than one block of 512 samples.
  static const std::vector<double> many(2 * 600, 7.5);
  static const std::vector<double> few = {4, 40};
  static const client::grid_geometry two_nodes = {2, {}, {1, 1, 0}, 2};
  static const client::point3 origin, moved = {7, 8, 0}, coarse = {2, 3, 0};
  return {
      {"CPFILENEW", points, choice("S/D"), ask([](auto& to) { to.new_points("New", 2, few); })},
      {"CPFILEAPP", all({points, macro}), choice("S/D/P"), ask([](auto& to) { to.append_points(2, few); })},
      {"CPFILEAPP_beyond_the_room", all({points, macro}), choice("S/D/P"),
       ask([](auto& to) { to.append_points(2, many); })},
      {"CPFILEAPP_to_compressed_samples", compressed_points, choice("S/D/P"),
       ask([](auto& to) { to.append_points(2, few); })},
      {"CGFILENEW", points, choice("S/D"), ask([](auto& to) { to.new_grid("New", two_nodes); })},
      {"CLFILENEW", points, choice("S/D"), ask([](auto& to) { to.new_lines("New", 2); })},
      {"CLFILEAPP", lines, choice("S/D/L"), ask([](auto& to) { to.append_line(2, few); })},
      {"CLFILEAPP_beyond_the_room", lines, choice("S/D/L"), ask([](auto& to) { to.append_line(2, many); })},
      {"CLFILEAPC_first_cores",
       all({directory, ask([](auto& to) { to.new_lines("L", 2); })}),
       choice("S/D/L"),
       ask([](auto& to) { to.append_cores(2, origin, few); }),
       {},
       {},
       {"S/D/L/XB+ Begin of Sample", "S/D/L/YB+ Begin of Sample", "S/D/L/XE+ End of Sample",
        "S/D/L/YE+ End of Sample"}},
      {"CLFILELNK", lines, choice("S/D/L"), ask([](auto& to) { to.link_lines("H"); })},
      {"CLFILELNK_to_other_points", all({linked, ask([](auto& to) { to.new_points("I", 2, two_points); })}),
       choice("S/D/L"), ask([](auto& to) { to.link_lines("I"); })},
      {"CFILEDEL", points, choice("S/D/P"), remove},
      {"CFILEDEL_of_lines", named_lines, choice("S/D/L"), remove, {}, "S/D/H info"},
      {"CFILEDEL_of_their_points", named_lines, choice("S/D/H"), remove, {}, "S/D/L info"},
      {"GRIDMODO", grid, choice("S/D/G"), ask([](auto& to) { to.set_grid_origin(moved); })},
      {"GRIDMODM", grid, choice("S/D/G"), ask([](auto& to) { to.set_grid_mesh(coarse); })},
      {"GRIDMODR", grid, choice("S/D/G"), ask([](auto& to) { to.set_grid_rotation(30, 0, 0); })},
      {"CFILEINFO_of_an_old_grid", old_grid, choice("S/D"),
       ask([](auto& to) { to.set_file("G"), to.file_info(); })},
      {"CLFILECNT_of_old_lines", old_lines, choice("S/D"),
       ask([](auto& to) { to.set_file("L"), to.line_lengths(); })},
  };
}

std::vector<fault_case> variable_cases() {
  static const std::vector<double> three = {7, 8, 9};
  static const std::vector<std::int32_t> more_indices = {7, 9};
  static const strings metals = {"lead", "zinc"}, letters = {"x", "y", "z"};
  static const std::vector<std::uint8_t> middle = {0, 1, 0};
  return {
      {"CVARFNEW", points, choice("S/D/P"),
       ask([](auto& to) { to.new_float_variable("New", 32, {}, "g/t"); })},
      {"CVARMNEW", points, choice("S/D/P"),
       ask([](auto& to) { to.new_macro_variable("new[xxxxx]", 32, {}, ""); })},
      {"CMACROADD", all({points, macro}), choice("S/D/P/m[xxxxx]"),
       ask([](auto& to) { to.add_macro_indices(more_indices); })},
      {"CMACROADD_with_names", all({points, named_macro}), choice("S/D/P/m[xxxxx]"),
       ask([](auto& to) { to.add_macro_indices(more_indices, metals); })},
      {"CVARCNEW", points, choice("S/D/P"), ask([](auto& to) { to.new_text_variable("New", 4); })},
      {"CVARDEL", points, choice("S/D/P/v"), ask([](auto& to) { to.delete_variable(); })},
      {"CVARDEL_of_line_names", named_lines, choice("S/D/H/name"),
       ask([](auto& to) { to.delete_variable(); })},
      {"CVARLNAME", linked, choice("S/D/H/name"), ask([](auto& to) { to.set_line_name(); })},
      {"CVARUNIT", points, choice("S/D/P/X+ Gravity Center"),
       ask([](auto& to) { to.set_variable_unit("m", "km"); })},
      {"CCOMSET_of_a_file", points, choice("S/D/P"),
       ask([](auto& to) { to.set_comment(client::comment_owner::file, "another\ncomment"); })},
      {"CCOMSET_of_a_variable", points, choice("S/D/P/v"),
       ask([](auto& to) { to.set_comment(client::comment_owner::variable, "another"); })},
      {"CVARCOMM", points, choice("S/D/P/v"), ask([](auto& to) { to.set_variable_comment("another"); })},
      {"CREADVARF_of_compressed_samples", compressed_points, choice("S/D/P/v"),
       ask([](auto& to) { to.read_floats(); })},
      {"CWRITVARF", points, choice("S/D/P/v"), ask([](auto& to) { to.write_floats(three); }),
       "S/D/P/v values"},
      {"CWRITVARF_over_compressed_samples", compressed_points, choice("S/D/P/v"),
       ask([](auto& to) { to.write_floats(three); }), "S/D/P/v values"},
      {"CWRITLINF", lines, choice("S/D/L/v"), ask([](auto& to) { to.write_line(1, three); }),
       "S/D/L/v values"},
      {"CWRITVARS", points, choice("S/D/P/s"), ask([](auto& to) { to.write_selection(middle); }),
       "S/D/P/s values"},
      {"CWRITVARC", points, choice("S/D/P/t"), ask([](auto& to) { to.write_texts(letters); }),
       "S/D/P/t values"},
  };
}

std::vector<fault_case> object_cases() {
  std::vector<fault_case> cases = {
      {"CPOLYNEW", points, choice("S/D"), ask([](auto& to) { to.new_polygons("New", contours()); })},
      {"CWIRENEW", points, choice("S/D"), ask([](auto& to) { to.new_wireframes("New", wireframes()); })},
      {"CWRITFAUL", points, choice("S/D/P"), ask([](auto& to) { to.write_faults(one_fault()); })},
      {"CPOLYGONS", all({directory, ask([](auto& to) { to.new_polygons("A", contours()); })}),
       choice("S/D/A"), ask([](auto& to) { to.polygons(); })},
      {"CWIREREAD", all({directory, ask([](auto& to) { to.new_wireframes("W", wireframes()); })}),
       choice("S/D/W"), ask([](auto& to) { to.wireframes(); })},
      {"CFAULTS", all({points, ask([](auto& to) { to.write_faults(one_fault()); })}), choice("S/D/P"),
       ask([](auto& to) { to.faults(); })},
      {"CPALWRIT", palette(reds), choice("S"), ask([](auto& to) { to.write_palette("New", greys); })},
      {"CPALWRIT_over_another", palette(reds), choice("S"), palette(greys)},
      {"CPALDEL", palette(reds), choice("S"), ask([](auto& to) { to.delete_palette("Colours"); })},
      {"CSCANEW", scaled(client::scale_kind::automatic, 1), choice("S"),
       ask([](auto& to) { to.write_scale("New", scale(client::scale_kind::facies, 7)); })},
      {"CSCANEW_over_another", scaled(client::scale_kind::facies, 1), choice("S"),
       scaled(client::scale_kind::manual, 9)},
      {"CSCADEL", scaled(client::scale_kind::manual, 1), choice("S"),
       ask([](auto& to) { to.delete_scale("Scale"); })},
  };
  // Another write for each owner of a bag, first and once more.
  const struct {
    const char* owner;
    vendor_scope scope;
    step chosen;
  } owners[] = {{"a_study", vendor_scope::study, choice("S")},
                {"a_directory", vendor_scope::directory, choice("S/D")},
                {"a_file", vendor_scope::file, choice("S/D/P")},
                {"a_variable", vendor_scope::variable, choice("S/D/P/v")}};
  for (const auto& [owner, scope, chosen] : owners) {
    cases.push_back({std::string("CVDATWRIT_of_") + owner, points, chosen, bagged(scope, 2)});
    const step first = all({points, [](const scene& at) { at.to.set_variable("v"); }, bagged(scope, 1)});
    cases.push_back({std::string("CVDATWRIT_over_that_of_") + owner, first, chosen, bagged(scope, 2)});
  }
  return cases;
}

}  // namespace

const std::vector<fault_case>& fault_cases() {
  static const std::vector<fault_case> cases = [] {
    std::vector<fault_case> result;
    for (const auto& group :
         {study_cases(), directory_cases(), file_cases(), variable_cases(), object_cases()})
      result.insert(result.end(), group.begin(), group.end());
    return result;
  }();
  return cases;
}

}  // namespace qrd::test

// Sheets of the palettes and of the colour scales of a study.
#include <algorithm>

#include "plot/kinds.h"
#include "qrd/words.h"

namespace qrd::plot {

namespace {

constexpr double border = 16, heading_height = 58, label_size = 9, bar_height = 16;

// Entries of one height, below each other, in as many columns as keep the sheet from becoming a strip.
template <typename Draw>
picture sheet(const std::string& title, const std::string& noun, std::size_t entries, double width,
              double height, const Draw& draw) {
  constexpr std::size_t most_rows = 40;
  if (entries == 0) throw client::error("there is nothing to draw: the study has no " + noun);
  const std::size_t columns = (entries + most_rows - 1) / most_rows, rows = (entries + columns - 1) / columns;
  const double whole_width = static_cast<double>(columns) * (width + border) + border;
  const double whole_height = heading_height + static_cast<double>(rows) * height + border;
  page made = make_page({whole_width, whole_height}, {title, counted(entries, noun)}, 0);
  for (std::size_t i = 0; i < entries; ++i)
    draw(made.drawn,
         box{border + static_cast<double>(i / rows) * (width + border),
             heading_height + static_cast<double>(i % rows) * height, width, height - 8},
         i);
  return std::move(made.drawn);
}

void draw_bar(picture& on, const box& area, const std::vector<rgb>& colours) {
  const double each = area.width / static_cast<double>(std::max<std::size_t>(1, colours.size()));
  for (std::size_t i = 0; i < colours.size(); ++i)
    on.add_box({area.left + each * static_cast<double>(i), area.top, each, area.height},
               {colours[i], std::nullopt, 0, true});
  on.add_box(area, {std::nullopt, dark, 0.5});
}

// What stands below the bar: the bounds of a manual scale, the labels of facies; as far as they fit.
void draw_words(picture& on, const box& bar, const client::colour_scale& scale) {
  const bool is_manual = scale.kind == client::scale_kind::manual;
  const std::size_t words = is_manual ? scale.bounds.size() : scale.facies.size();
  const double each =
      bar.width / static_cast<double>(std::max<std::size_t>(1, is_manual ? words - 1 : words));
  double free_from = bar.left - 1;
  for (std::size_t i = 0; i < words; ++i) {
    const std::string text =
        is_manual ? short_text(scale.bounds[i]) : fitted(scale.facies[i].label, label_size, each);
    const double width = width_of(text, label_size), at = bar.left + each * static_cast<double>(i);
    // Bounds stand below the edges, labels below the colours.
    const double left = is_manual ? std::clamp(at - width / 2, bar.left, bar.right() - width) : at;
    if (left < free_from) continue;
    on.add_label({{left, bar.bottom() + label_size + 2}, text, label_size});
    free_from = left + width + 4;
  }
}

void draw_scale(picture& on, const box& area, const std::string& name, const client::colour_scale& scale,
                const std::vector<rgb>& palette) {
  std::vector<rgb> colours;
  if (scale.kind == client::scale_kind::facies) {
    for (const client::facies_class& one : scale.facies) colours.push_back(one.colour);
  } else {
    // Any values will do: the colours of the classes are the same.
    const double any[] = {0, 1};
    for (const colour_class& one : scale_map(scale, palette, any).classes) colours.push_back(one.colour);
  }
  std::string told =
      std::string(client::word_of(scale.kind)) + ", " + std::to_string(colours.size()) + " classes";
  if (!scale.palette.empty() && scale.palette != "None") told += ", palette " + scale.palette;
  if (scale.read_only) told += ", read-only";
  on.add_label({{area.left, area.top + label_size},
                fitted(name, label_size * 1.08, area.width / 2),
                label_size,
                anchor::start,
                false,
                true});
  on.add_label({{area.right(), area.top + label_size},
                fitted(told, label_size, area.width / 2),
                label_size,
                anchor::end});
  const box bar{area.left, area.top + label_size + 5, area.width, bar_height};
  draw_bar(on, bar, colours);
  draw_words(on, bar, scale);
}

}  // namespace

picture draw_palettes(client::database& owner, const request& wish) {
  client::connection& server = owner.at(wish.place.study);
  const std::vector<std::string> names =
      wish.palette.empty() ? server.palettes() : std::vector<std::string>{wish.palette};
  std::vector<std::vector<rgb>> palettes;
  for (const std::string& name : names) palettes.push_back(named_palette(server, name));
  return sheet(wish.place.study + ": palettes", "palettes", names.size(), 360, 44,
               [&](picture& on, const box& area, std::size_t i) {
                 on.add_label({{area.left, area.top + label_size},
                               fitted(names[i], label_size * 1.08, area.width - 80),
                               label_size,
                               anchor::start,
                               false,
                               true});
                 on.add_label({{area.right(), area.top + label_size},
                               counted(palettes[i].size(), "colours"),
                               label_size,
                               anchor::end});
                 draw_bar(on, {area.left, area.top + label_size + 5, area.width, bar_height}, palettes[i]);
               });
}

picture draw_scales(client::database& owner, const request& wish) {
  client::connection& server = owner.at(wish.place.study);
  const std::vector<std::string> names =
      wish.scale.empty() ? server.scales() : std::vector<std::string>{wish.scale};
  std::vector<client::colour_scale> scales;
  std::vector<std::vector<rgb>> palettes;
  for (const std::string& name : names) {
    scales.push_back(named_scale(server, name));
    palettes.push_back(palette_if_any(server, scales.back().palette));
  }
  return sheet(wish.place.study + ": colour scales", "colour scales", names.size(), 440, 60,
               [&](picture& on, const box& area, std::size_t i) {
                 draw_scale(on, area, names[i], scales[i], palettes[i]);
               });
}

}  // namespace qrd::plot

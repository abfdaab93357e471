#include "plot/canvas.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "plot/cairo_library.h"
#include "qrd/error.h"

namespace qrd::plot {

namespace {

constexpr double points_per_inch = 72;

cairo_status_t collect(void* bytes, const unsigned char* data, unsigned size) noexcept {
  try {
    static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), size);
    return CAIRO_STATUS_SUCCESS;
  } catch (...) {
    // Cairo is C: nothing may be thrown through it.
    return CAIRO_STATUS_NO_MEMORY;
  }
}

void check(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS)
    throw client::error(std::string("cannot draw the picture: ") + cairo().status_to_string(status));
}

// A surface with what draws on it; shapes are drawn by calling it.
class canvas {
 public:
  // Takes the surface over.
  explicit canvas(cairo_surface_t* surface)
      : surface_(surface, cairo().surface_destroy), pen_(cairo().create(surface), cairo().destroy) {
    check(cairo().surface_status(surface));
    cairo().set_line_join(pen_.get(), CAIRO_LINE_JOIN_ROUND);
    cairo().set_fill_rule(pen_.get(), CAIRO_FILL_RULE_EVEN_ODD);
  }

  void draw(const picture& drawn, double scale) {
    cairo().scale(pen_.get(), scale, scale);
    cairo().set_source_rgb(pen_.get(), 1, 1, 1);
    cairo().paint(pen_.get());
    cairo().save(pen_.get());
    for (const shape& one : drawn.shapes) std::visit(*this, one);
    cairo().restore(pen_.get());
    cairo().show_page(pen_.get());
    check(cairo().status(pen_.get()));
  }

  cairo_surface_t* surface() const { return surface_.get(); }

  void operator()(const path& one) const {
    for (const std::vector<point>& part : one.parts) {
      cairo().new_sub_path(pen_.get());
      for (const point& at : part) cairo().line_to(pen_.get(), near(at.x), near(at.y));
      if (one.closed) cairo().close_path(pen_.get());
    }
    cairo().set_fill_rule(pen_.get(), one.overlaps ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
    show(one.style);
  }

  void operator()(const circle& one) const {
    cairo().arc(pen_.get(), near(one.centre.x), near(one.centre.y), one.radius, 0, 2 * std::numbers::pi);
    show(one.style);
  }

  void operator()(const label& one) const {
    cairo().save(pen_.get());
    cairo().select_font_face(pen_.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                             one.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo().set_font_size(pen_.get(), one.size);
    colour(one.colour);
    cairo().move_to(pen_.get(), near(one.at.x), near(one.at.y));
    if (one.upwards) cairo().rotate(pen_.get(), -std::numbers::pi / 2);
    cairo_text_extents_t extents;
    cairo().text_extents(pen_.get(), one.words.c_str(), &extents);
    if (one.side != anchor::start)
      cairo().rel_move_to(pen_.get(), -extents.x_advance / (one.side == anchor::middle ? 2 : 1), 0);
    cairo().show_text(pen_.get(), one.words.c_str());
    cairo().new_path(pen_.get());
    cairo().restore(pen_.get());
  }

  void operator()(const clip& one) const {
    cairo().restore(pen_.get());
    cairo().save(pen_.get());
    if (!one.area) return;
    cairo().rectangle(pen_.get(), one.area->left, one.area->top, one.area->width, one.area->height);
    cairo().clip(pen_.get());
  }

 private:
  // The numbers of cairo end at 2^23; what lies that far outside is as invisible nearer by.
  static double near(double value) {
    constexpr double farthest = 100000;
    return std::isfinite(value) ? std::clamp(value, -farthest, farthest) : 0;
  }

  void colour(const rgb& of, double opacity = 1) const {
    const auto part = [](std::int32_t value) { return std::clamp(value, 0, 255) / 255.0; };
    cairo().set_source_rgba(pen_.get(), part(of[0]), part(of[1]), part(of[2]), opacity);
  }

  void show(const look& style) const {
    cairo().set_antialias(pen_.get(), style.hard_edges ? CAIRO_ANTIALIAS_NONE : CAIRO_ANTIALIAS_DEFAULT);
    if (style.fill) {
      colour(*style.fill, style.opacity);
      cairo().fill_preserve(pen_.get());
    }
    if (style.line) {
      colour(*style.line);
      cairo().set_line_width(pen_.get(), style.width);
      cairo().stroke_preserve(pen_.get());
    }
    cairo().new_path(pen_.get());
  }

  std::unique_ptr<cairo_surface_t, decltype(cairo_library::surface_destroy)> surface_;
  std::unique_ptr<cairo_t, decltype(cairo_library::destroy)> pen_;
};

}  // namespace

std::string png_bytes(const picture& drawn, double dots_per_inch) {
  constexpr double most_dots = 100e6;
  const double scale = dots_per_inch / points_per_inch;
  const double width = std::ceil(drawn.width * scale), height = std::ceil(drawn.height * scale);
  constexpr double longest_side = 32767;  // of cairo
  if (width > longest_side || height > longest_side || width * height > most_dots)
    throw client::error("the picture is too large for a PNG: ask for fewer dots per inch, or for SVG or PDF");
  canvas on(
      cairo().image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height)));
  on.draw(drawn, scale);
  std::string bytes;
  check(cairo().surface_write_to_png_stream(on.surface(), collect, &bytes));
  return bytes;
}

std::string pdf_bytes(const picture& drawn) {
  std::string bytes;
  canvas on(cairo().pdf_surface_create_for_stream(collect, &bytes, drawn.width, drawn.height));
  // Else the bytes would tell when they were made.
  cairo().pdf_surface_set_metadata(on.surface(), CAIRO_PDF_METADATA_CREATE_DATE, "2000-01-01T00:00:00Z");
  on.draw(drawn, 1);
  cairo().surface_finish(on.surface());
  check(cairo().surface_status(on.surface()));
  return bytes;
}

}  // namespace qrd::plot

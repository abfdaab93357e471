// Cairo, loaded when it is first needed: with all the libraries behind it, it would double the time in which
// every other command starts.
#pragma once

#include <cairo-pdf.h>
#include <cairo.h>

namespace qrd::plot {

// What is used of it, without the "cairo_" in front.
#define QRD_CAIRO_FUNCTIONS(use)                                                                           \
  use(arc) use(clip) use(close_path) use(create) use(destroy) use(fill_preserve) use(image_surface_create) \
      use(line_to) use(move_to) use(new_path) use(new_sub_path) use(paint)                                 \
          use(pdf_surface_create_for_stream) use(pdf_surface_set_metadata) use(rectangle) use(rel_move_to) \
              use(restore) use(rotate) use(save) use(scale) use(select_font_face) use(set_antialias)       \
                  use(set_fill_rule) use(set_font_size) use(set_line_join) use(set_line_width)             \
                      use(set_source_rgb) use(set_source_rgba) use(show_page) use(show_text) use(status)   \
                          use(status_to_string) use(stroke_preserve) use(surface_destroy)                  \
                              use(surface_finish) use(surface_status) use(surface_write_to_png_stream)     \
                                  use(text_extents)

struct cairo_library {
#define QRD_CAIRO_MEMBER(name) decltype(&::cairo_##name) name = nullptr;
  QRD_CAIRO_FUNCTIONS(QRD_CAIRO_MEMBER)
#undef QRD_CAIRO_MEMBER
};

// An `error` if it isn't there.
const cairo_library& cairo();

}  // namespace qrd::plot

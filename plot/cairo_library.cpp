#include "plot/cairo_library.h"

#include <dlfcn.h>

#include "qrd/error.h"

namespace qrd::plot {

namespace {

cairo_library load() {
  void* opened = dlopen("libcairo.so.2", RTLD_NOW | RTLD_LOCAL);
  if (opened == nullptr)
    throw client::error(std::string("PNG and PDF need cairo, SVG does not: ") + dlerror());
  cairo_library loaded;
#define QRD_CAIRO_LOAD(name)                                                            \
  loaded.name = reinterpret_cast<decltype(loaded.name)>(dlsym(opened, "cairo_" #name)); \
  if (loaded.name == nullptr) throw client::error("this cairo has no function cairo_" #name);
  QRD_CAIRO_FUNCTIONS(QRD_CAIRO_LOAD)
#undef QRD_CAIRO_LOAD
  return loaded;
}

}  // namespace

const cairo_library& cairo() {
  static const cairo_library loaded = load();
  return loaded;
}

}  // namespace qrd::plot

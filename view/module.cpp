// What the program loads for `qrd view`.
#include "view/serve.h"

extern "C" __attribute__((visibility("default"))) void qrd_view_serve(const qrd::view::serving& wish) {
  qrd::view::serve(wish);
}

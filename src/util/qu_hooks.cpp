#include "util/qu_hooks.h"

namespace qrd {

constinit upper_hooks hooks;

}  // namespace qrd

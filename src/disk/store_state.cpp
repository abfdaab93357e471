#include "disk/store_state.h"

namespace qrd {

constinit store_state store;

}  // namespace qrd

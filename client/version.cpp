#include "qrd/version.h"

namespace qrd::client {

const char* library_version() {
  return QRD_VERSION;
}

}  // namespace qrd::client

#include "wire/connection.h"

namespace qrd {

constinit conversation connection;

}  // namespace qrd

#include "util/qu_xdr.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "util/qu_constants.h"
#include "util/qu_hooks.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

bool fits_32_bits(std::int64_t value) {
  return value >= std::numeric_limits<std::int32_t>::min() &&
         value <= std::numeric_limits<std::int32_t>::max();
}

bool skip_bytes(XDR* xdr, std::uint32_t count) {
  char scratch[256];
  while (count > 0) {
    std::uint32_t step = std::min(count, static_cast<std::uint32_t>(sizeof scratch));
    if (XDR_GETBYTES(xdr, scratch, step) == FALSE) return false;
    count -= step;
  }
  return true;
}

std::uint32_t padding(std::uint32_t length) {
  return (4 - length % 4) % 4;
}

}  // namespace

xdr_stream::xdr_stream(std::FILE* file, xdr_op direction) : xdr_{} {
  xdrstdio_create(&xdr_, file, direction);
}

int qu_xdr_int(XDR* xdr, std::int64_t* value) {
  std::int32_t unit = 0;
  if (xdr->x_op == XDR_ENCODE) {
    if (*value == missing_int64) {
      unit = missing_int32;
    } else {
      if (!fits_32_bits(*value)) qu_misuse("Too big value for a 32bits integer");
      unit = static_cast<std::int32_t>(*value);
    }
    return xdr_int32_t(xdr, &unit);
  }
  if (xdr_int32_t(xdr, &unit) == FALSE) return FALSE;
  *value = unit == missing_int32 ? missing_int64 : unit;
  return TRUE;
}

int qu_xdr_long(XDR* xdr, std::int64_t* value) {
  if (xdr->x_op == XDR_ENCODE && *value != missing_int64 && !fits_32_bits(*value) &&
      hooks.mark_64bit != nullptr)
    hooks.mark_64bit();
  return xdr_int64_t(xdr, value);
}

int qu_xdr_text(XDR* xdr, char* text, std::uint32_t room, std::uint32_t limit) {
  if (xdr->x_op == XDR_ENCODE) {
    auto length = static_cast<std::uint32_t>(strnlen(text, room));
    return length <= limit && xdr_uint32_t(xdr, &length) != FALSE && xdr_opaque(xdr, text, length) != FALSE;
  }
  text[0] = '\0';
  std::uint32_t length = 0;
  if (xdr_uint32_t(xdr, &length) == FALSE || length > limit) return FALSE;
  std::uint32_t kept = std::min(length, room - 1);
  if (XDR_GETBYTES(xdr, text, kept) == FALSE) {
    text[0] = '\0';
    return FALSE;
  }
  text[kept] = '\0';
  return skip_bytes(xdr, length - kept + padding(length));
}

}  // namespace qrd

// Arrays of persisted values, moved in blocks. The bytes are those of the values one by one (RFC 4506).
#pragma once

#include <cstdint>

#include "util/qu_xdr.h"

namespace qrd {

// Non-zero on success; nothing at all is moved for a count of 0. Both directions.
int qu_xdr_doubles(XDR* xdr, double* values, std::int64_t count);
int qu_xdr_ints(XDR* xdr, std::int32_t* values, std::int64_t count);
// Bytes that are kept as they stand in the file, without a length before them or padding behind.
// REQUIRES: a multiple of 4 of them.
int qu_xdr_kept(XDR* xdr, void* bytes, std::int64_t count);

}  // namespace qrd

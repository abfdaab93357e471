// Persisted values: XDR (RFC 4506) over a standard stream. All bytes of binary files go through these.
#pragma once

#include <rpc/types.h>
#include <rpc/xdr.h>

#include <cstdint>
#include <cstdio>

namespace qrd {

// An XDR stream on an open file. It neither flushes nor closes the file, and reads on from where the
// file stands.
class xdr_stream {
 public:
  xdr_stream(std::FILE* file, xdr_op direction);
  xdr_stream(const xdr_stream&) = delete;
  xdr_stream& operator=(const xdr_stream&) = delete;
  // False if the stream could not be set up.
  explicit operator bool() const { return xdr_.x_ops != nullptr; }
  XDR* get() { return &xdr_; }

 private:
  XDR xdr_;
};

// An XDR stream that reads from bytes in memory. REQUIRES: they outlive it.
class xdr_memory {
 public:
  xdr_memory(char* bytes, std::uint32_t count) : xdr_{} { xdrmem_create(&xdr_, bytes, count, XDR_DECODE); }
  XDR* get() { return &xdr_; }

 private:
  XDR xdr_;
};

// The operations give non-zero on success and serve both directions.

// A 4-byte integer; missing_int64 in memory is missing_int32 on disk. REQUIRES: on writing, no other value
// beyond 32 bits.
int qu_xdr_int(XDR* xdr, std::int64_t* value);
// An 8-byte integer. Writing a value beyond 32 bits calls hooks.mark_64bit first.
int qu_xdr_long(XDR* xdr, std::int64_t* value);
// A string of at most `limit` characters, in a buffer of `room` bytes: always terminated, cut to
// room - 1 characters on reading.
int qu_xdr_text(XDR* xdr, char* text, std::uint32_t room, std::uint32_t limit);
template <std::uint32_t Room>
int qu_xdr_text(XDR* xdr, char (&text)[Room], std::uint32_t limit) {
  return qu_xdr_text(xdr, text, Room, limit);
}
// Values that the program keeps as another integer type than the disk's.
template <typename Enumeration>
int qu_xdr_enum(XDR* xdr, Enumeration* value) {
  std::int64_t number = static_cast<std::int64_t>(*value);
  int result = qu_xdr_int(xdr, &number);
  *value = static_cast<Enumeration>(number);
  return result;
}

}  // namespace qrd

// Contents of files as older programs wrote them, and what several tests send.
#pragma once

#include <zlib.h>

#include "support/bytes.h"

namespace qrd::test {

inline bytes& ring(bytes& out, const std::vector<double>& xy, double scale = 1) {
  out.i32(static_cast<std::int32_t>(xy.size() / 2));
  for (double value : xy) out.f64(value * scale);
  return out;
}

// One 3D polygon "Area" with the contour "Out", a grid and limits, in the layout of versions 4 to 6.
inline bytes nested_polygon(int version) {
  bytes file = bytes().i32(version, version == 4 ? 1 : 3);
  version == 6 ? file.i64(1, 1, 7) : file.i32(1, 1, 7);
  file.f64(0, 400, 0, 400, 0, 300)
      .text("Area")
      .i32(1, 2, 3, 4)
      .f64(100, 200, 300)
      .i32(1, 1)
      .text("Out")
      .i32(1);
  if (version == 4)
    file.f64(10, 20, 1, 2).i32(3, 4).f64(30, 5).i32(6).f64(90).i32(1);
  else
    file.f64(10, 20, 30, 1, 2, 5).i32(3, 4, 6).f64(90);
  ring(file.f64(0, 300), {0, 0, 400, 0, 400, 400, 0, 400}).i32(1);
  return ring(file, {100, 100, 200, 100, 200, 200});
}

// Contours "Up" and "Low" joined to "River", in the layout of versions 1 to 3.
inline bytes compound_polygons(int version) {
  bytes file = bytes().i32(version, 0);
  if (version == 3) file.i32(1);
  file.i32(1, 2, 7).f64(0, 400, 0, 400, 0, 0);
  for (const char* name : {"Up", "Low"}) {
    file.text(name).i32(1).f64(7, 8);
    if (version >= 2) file.f64(9);
    ring(file.f64(0, 0).i32(1).f64(10, 20, 1, 2).i32(3, 4).f64(15), {0, 0, 300, 0, 0, 300});
  }
  // A name that no contour has is passed over.
  file.i32(3).text("Up").text("gone").text("Low").text("River").i32(5, 6, 7);
  return version == 1 ? file : file.i32(8).f64(11, 12, 13);
}

// A manual scale of three classes with the colours 1 to 9, in the layout of versions 500000 to 501002.
inline bytes old_scale(int version, const char* name, const char* palette) {
  bytes file = bytes().i32(version).text(name).text(palette).i32(0, 2, 3);
  version >= 501000 ? file.i32(3).f64(0, 10, 20, 10, 20, 40) : file.f64(0, 10, 20, 40);
  file.i32(2, 1, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9);
  if (version >= 501002) file.i32(0);
  if (version >= 501001) file.i32(0).text("o").i32(0).text("n");
  if (version >= 501000) file.i32(0, 1).f64(1, 2, 3);
  if (version >= 501002) file.i32(0);
  return version >= 501000 ? file.i32(2, 10, 2, 1).text("m").f64(100) : file;
}

inline std::string gzipped(const std::string& content) {
  std::string out(compressBound(content.size()) + 64, '\0');
  z_stream stream = {};
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

// An automatic scale as a client sends it.
inline bytes automatic_scale(const std::string& name, const std::string& palette) {
  bytes out = bytes(name).i32(0, 0).text(palette).i32(0).i32(std::vector<int>(15));
  return out.text("").text("").i32(0, 0, 0, 0);
}

// Seven attributes of vendor data, one of each type, in the shape that wire and file share.
inline bytes attributes_of_all_types() {
  bytes body = bytes("nothing").i32(0).text("number").i32(1, -7).text("real").i32(2).f64(2.5);
  body.text("text").i32(3, 6).text("hello").text("ints").i32(4, 2, 1, 2147483647);
  return body.text("reals").i32(5, 1).f64(0.5).text("texts").i32(6, 2, 1).text("").i32(3).text("ab");
}

// LZW codes of 9 bits behind the head of such a file.
inline std::string nine_bit_codes(const std::vector<int>& codes, char flags) {
  std::string packed = {'\x1F', '\x9D', flags};
  unsigned bits = 0;
  int count = 0;
  for (int code : codes) {
    bits |= static_cast<unsigned>(code) << count;
    for (count += 9; count >= 8; count -= 8, bits >>= 8) packed += static_cast<char>(bits);
  }
  return count > 0 ? packed + static_cast<char>(bits) : packed;
}

}  // namespace qrd::test

// A study with one directory "Dir" and one file "File", laid out by hand byte by byte, and the engine
// pointed at it.
#pragma once

#include "samples/qd_sample_reader.h"
#include "support/catalogue_tree.h"

namespace qrd::test {

struct file_shape {
  std::int64_t samples = 0;
  int organisation = ORG_POINTS;
  int dimension = 3;
  std::vector<std::int64_t> line_table = {};
  double origin[3] = {0, 0, 0}, mesh[3] = {0, 0, 0}, angles[3] = {0, 0, 0};
  int nodes[3] = {0, 0, 0};
};

class sample_study {
 public:
  explicit sample_study(const file_shape& shape) {
    tree_.add_directory("DIRE.1", "Dir");
    tree_.folder("DIRE.1/FILE.1");
    set_shape(shape);
  }

  static std::string descriptor_of(const file_shape& shape) {
    file_fields fields = {.name = "File", .organisation = shape.organisation, .dimension = shape.dimension};
    fields.lines = shape.line_table.empty() ? 0 : static_cast<int>(shape.line_table.size()) - 1;
    for (std::size_t i = 0; i < 3; ++i) {
      fields.lengths[i] = shape.origin[i];
      fields.lengths[i + 3] = shape.mesh[i];
      fields.nodes[i] = shape.nodes[i];
      fields.angles[i] = shape.angles[i];
    }
    fields.samples = shape.samples;
    fields.allocated = (shape.samples + 511) / 512 * 512;
    return fields.bytes_of();
  }

  void set_shape(const file_shape& shape) {
    write_file(file_path() + "/DESCR", descriptor_of(shape));
    if (!shape.line_table.empty()) write_file(file_path() + "/LINE", line_table(shape.line_table));
  }

  std::string file_path() const { return tree_.path() + "/DIRE.1/FILE.1"; }

  // The folder of a new variable; `data` is its whole data file.
  std::string add(const std::string& name, int type, int bit_length, std::string_view data, int kind = 0,
                  int implicit = 0, double factor = 0.0) {
    std::string path = file_path() + "/VARI." + std::to_string(++variables_);
    fs::create_directory(path);
    write_file(path + "/DESCR", variable_fields{name, type, kind, bit_length, implicit,
                                                factor == 0.0 ? "" : "m", factor, 2, 10, 2}
                                    .bytes_of());
    write_file(path + "/DATAVAR", data);
    return path;
  }
  std::string add_implicit(const std::string& name, int kind) {
    return add(name, VAR_FLOAT, 64, "", kind, 1);
  }
  std::string add_macro(const std::string& name, int bit_length, std::string_view data,
                        const std::vector<int>& indices, const strings& alpha = {}) {
    std::string path = add(name, VAR_MACRO, bit_length, data);
    write_file(path + "/MACRO", macro_bytes(indices, alpha));
    return path;
  }

  std::string operator/(const std::string& name) const { return tree_ / name; }

 private:
  catalogue_tree tree_;
  int variables_ = 0;
};

// A selected variable (and selection) bound into an io record.
class bound {
 public:
  explicit bound(const char* variable, const char* selection = no_name, unit_choice choice = UNIT_NONE) {
    EXPECT_TRUE(qd_selection_select("Dir", "File", selection, selection_.handle));
    EXPECT_TRUE(qd_variable_select("Dir", "File", variable, choice, variable_.handle));
    io_.id = qd_set_io(selection_.handle, 1, &variable_.handle);
  }
  std::int64_t io() const { return io_.id; }
  const qd_variable_handle& handle() const { return variable_.handle; }

 private:
  selected_variable selection_, variable_;
  io_record io_;
};

// Stored bits as a text of '0' and '1', the top bit of the first byte first.
inline std::string to_bits(std::string_view data) {
  std::string bits;
  for (char byte : data)
    for (int bit = 7; bit >= 0; --bit) bits += (static_cast<unsigned char>(byte) >> bit & 1) != 0 ? '1' : '0';
  return bits;
}
inline std::string from_bits(const std::string& bits) {
  std::string data((bits.size() + 7) / 8, '\0');
  for (std::size_t i = 0; i < bits.size(); ++i)
    if (bits[i] == '1') data[i / 8] = static_cast<char>(data[i / 8] | 0x80 >> i % 8);
  return data;
}

// Bytes without a pattern, always the same for a seed.
inline std::string noise(std::size_t size, std::uint32_t seed) {
  std::string data(size, '\0');
  for (char& byte : data) {
    seed = seed * 1664525U + 1013904223U;
    byte = static_cast<char>(seed >> 24);
  }
  return data;
}

// What the stored form of a value is, written down bit by bit.
inline std::string stored_bits(double value, int bit_length) {
  auto number = [&](std::uint64_t image) {
    std::string bits;
    for (int bit = bit_length - 1; bit >= 0; --bit) bits += (image >> bit & 1) != 0 ? '1' : '0';
    return bits;
  };
  if (bit_length == 1) return value == 1.0 ? "0" : "1";
  if (bit_length == 32)
    return number(value == missing_double ? 0x7EB9BF36
                                          : std::bit_cast<std::uint32_t>(static_cast<float>(value)));
  if (bit_length == 64) return number(std::bit_cast<std::uint64_t>(value));
  return number(value == missing_double ? ~std::uint64_t{0} : static_cast<std::uint64_t>(value));
}

// The values of a range, from as many stored bytes as the array has room for values. False after a refusal.
inline bool read_numbers(std::int64_t io, selection_mode mode, std::int64_t first, std::int64_t last,
                         std::int64_t* count, std::span<double> values) {
  const qd_selected_entry& entry = *qd_entry(qd_io_of("read_numbers", io).variables.at(0));
  std::vector<unsigned char> stored(
      static_cast<std::size_t>(qd_stored_room(static_cast<std::int64_t>(values.size()), entry.bit_length)));
  sample_reader reader(stored);
  if (!qd_read_float_free(io, mode, first, last, reader)) return false;
  *count = reader.count();
  std::size_t taken = 0;
  for (auto piece = reader.next(); !piece.empty(); piece = reader.next()) {
    std::copy(piece.begin(), piece.end(), values.subspan(taken, piece.size()).begin());
    taken += piece.size();
  }
  EXPECT_EQ(static_cast<std::int64_t>(taken), *count);
  return true;
}

}  // namespace qrd::test

#include "samples/qd_convert.h"

#include <algorithm>
#include <bit>
#include <type_traits>

#include "disk/qd_data_file.h"
#include "util/qu_big_endian.h"
#include "util/qu_message.h"
#include "util/qu_wide_loop.h"

namespace qrd {

namespace {

// Numbers beyond this are missing, in 64 bits too, though the form could carry them.
constexpr double largest_stored = 1e30;

template <typename Item>
using image_of = std::conditional_t<sizeof(Item) == 8, std::uint64_t,
                                    std::conditional_t<sizeof(Item) == 4, std::uint32_t, std::uint16_t>>;

// The rules for one value. A not-a-number fails every comparison and so is missing in all forms.

// m is the largest number of the unsigned form, which stands for missing.
template <typename Stored, int m>
Stored encode_unsigned(double x) {
  const double stored = x >= 0.0 && x <= m ? x : m;
  return static_cast<Stored>(static_cast<int>(stored));
}

unsigned char encode_bit(double x) {
  return x == 1.0 ? 0 : 1;
}

float encode_float(double x) {
  return x >= -largest_stored && x <= largest_stored ? static_cast<float>(x) : missing_float;
}

double encode_double(double x) {
  return x >= -largest_stored && x <= largest_stored ? x : missing_double;
}

template <int bits>
unsigned char encode_field(double x) {
  if constexpr (bits == 1)
    return encode_bit(x);
  else
    return encode_unsigned<unsigned char, (1 << bits) - 1>(x);
}

template <int bits>
double decode_field(unsigned field) {
  if constexpr (bits == 1) return field == 0 ? 1.0 : 0.0;
  const double value = static_cast<int>(field);
  return value == (1 << bits) - 1 ? missing_double : value;
}

// Place of a field in its byte: how far it stands above the lowest bits.
template <int bits>
int field_shift(std::int64_t sample) {
  constexpr int per_byte = 8 / bits;
  return 8 - bits - bits * static_cast<int>((sample - 1) % per_byte);
}

template <int bits>
void decode_fields(const unsigned char* source, std::int64_t first, std::int64_t last, double* destination) {
  constexpr int per_byte = 8 / bits;
  constexpr unsigned field_mask = (1U << bits) - 1;
  std::int64_t sample = first;
  const auto decode_one = [&] {
    *destination++ = decode_field<bits>(*source >> field_shift<bits>(sample) & field_mask);
  };
  for (; sample <= last && (sample - 1) % per_byte != 0; ++sample) {
    decode_one();
    if (sample % per_byte == 0) ++source;
  }
  for (; sample + per_byte - 1 <= last; sample += per_byte, destination += per_byte) {
    const unsigned byte = *source++;
    for (int i = 0; i < per_byte; ++i)
      destination[i] = decode_field<bits>(byte >> (8 - bits * (i + 1)) & field_mask);
  }
  for (; sample <= last; ++sample) decode_one();
}

template <int bits, typename Value>
void encode_fields(std::int64_t first, std::int64_t last, Value value, unsigned char* destination) {
  constexpr int per_byte = 8 / bits;
  for (std::int64_t sample = first; sample <= last;) {
    // A whole byte but for the first and the last one.
    const std::int64_t begin = (sample - 1) % per_byte;
    const std::int64_t end = std::min<std::int64_t>(per_byte, begin + last - sample + 1);
    const std::int64_t behind = sample - begin - first;
    unsigned byte = 0;
    const auto put = [&](std::int64_t i) {
      byte |= static_cast<unsigned>(encode_field<bits>(value(behind + i))) << (8 - bits * (i + 1));
    };
    if (begin == 0 && end == per_byte)
      for (int i = 0; i < per_byte; ++i) put(i);
    else
      for (std::int64_t i = begin; i < end; ++i) put(i);
    *destination++ = static_cast<unsigned char>(byte);
    sample += end - begin;
  }
}

// Items that need no packing, in the order of the file.
template <typename Item>
void put_item(Item item, unsigned char* place) {
  using image = image_of<Item>;
  const auto bits = std::bit_cast<image>(item);
  qu_big_endian_copy<image>(place, &bits, 1);
}

template <typename Item>
Item item_at(const unsigned char* place) {
  using image = image_of<Item>;
  image bits;
  qu_big_endian_copy<image>(&bits, place, 1);
  return std::bit_cast<Item>(bits);
}

template <typename Item, typename Value, typename Rule>
void encode_items(std::int64_t count, Value value, Rule rule, unsigned char* destination) {
  for (std::int64_t i = 0; i < count; ++i)
    put_item<Item>(rule(value(i)), destination + i * std::int64_t{sizeof(Item)});
}

template <typename Value>
void encode_range(std::int64_t first, std::int64_t last, std::int64_t bit_length, Value value,
                  unsigned char* destination) {
  std::int64_t count = last - first + 1;
  switch (bit_length) {
    case 1:
      return encode_fields<1>(first, last, value, destination);
    case 2:
      return encode_fields<2>(first, last, value, destination);
    case 4:
      return encode_fields<4>(first, last, value, destination);
    case 8:
      for (std::int64_t i = 0; i < count; ++i) destination[i] = encode_unsigned<unsigned char, 255>(value(i));
      return;
    case 16:
      return encode_items<std::uint16_t>(count, value, encode_unsigned<std::uint16_t, 65535>, destination);
    case 32:
      return encode_items<float>(count, value, encode_float, destination);
    default:
      return encode_items<double>(count, value, encode_double, destination);
  }
}

void decode_range(const unsigned char* bytes, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                  double* destination) {
  std::int64_t count = last - first + 1;
  switch (bit_length) {
    case 1:
      return decode_fields<1>(bytes, first, last, destination);
    case 2:
      return decode_fields<2>(bytes, first, last, destination);
    case 4:
      return decode_fields<4>(bytes, first, last, destination);
    case 8:
      for (std::int64_t i = 0; i < count; ++i) destination[i] = decode_field<8>(bytes[i]);
      return;
    case 16:
      for (std::int64_t i = 0; i < count; ++i)
        destination[i] = decode_field<16>(item_at<std::uint16_t>(bytes + 2 * i));
      return;
    case 32:
      for (std::int64_t i = 0; i < count; ++i) {
        const auto item = item_at<float>(bytes + 4 * i);
        destination[i] = item == missing_float ? missing_double : static_cast<double>(item);
      }
      return;
    default:
      qu_big_endian_copy<std::uint64_t>(destination, bytes, count);
  }
}

// The `count` (1 to 8) bits that stand `position` bits behind the top of the first byte.
unsigned bits_at(const unsigned char* source, std::int64_t position, int count) {
  source += position / 8;
  int skipped = static_cast<int>(position % 8);
  unsigned pair = static_cast<unsigned>(source[0]) << 8;
  if (skipped + count > 8) pair |= source[1];
  return pair >> (16 - skipped - count) & ((1U << count) - 1);
}

}  // namespace

void qd_require_numeric(std::int64_t bit_length) {
  if (!is_numeric_bit_length(bit_length)) qu_misuse_number("_qd_file_decode", 10);
}

void _qd_file_decode(const void* source, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     double* destination) {
  qd_require_numeric(bit_length);
  const auto* bytes = static_cast<const unsigned char*>(source);
  qu_wide_loop([=] { decode_range(bytes, first, last, bit_length, destination); });
}

void _qd_file_encode(const double* source, std::int64_t first, std::int64_t last, std::int64_t bit_length,
                     void* destination) {
  qd_require_numeric(bit_length);
  auto* bytes = static_cast<unsigned char*>(destination);
  if (source != nullptr)
    qu_wide_loop([=] {
      encode_range(
          first, last, bit_length, [source](std::int64_t i) { return source[i]; }, bytes);
    });
  else
    encode_range(
        first, last, bit_length, [](std::int64_t) { return missing_double; }, bytes);
}

void qd_encode_sample(double value, std::int64_t first, std::int64_t sample, std::int64_t bit_length,
                      void* block) {
  auto* bytes = static_cast<unsigned char*>(block);
  std::int64_t i = sample - first;
  auto put_field = [&]<int bits>() {
    unsigned char& byte = bytes[(sample - 1) / (8 / bits) - (first - 1) / (8 / bits)];
    int shift = field_shift<bits>(sample);
    unsigned kept = byte & ~(((1U << bits) - 1) << shift);
    byte = static_cast<unsigned char>(kept | static_cast<unsigned>(encode_field<bits>(value)) << shift);
  };
  switch (bit_length) {
    case 1:
      return put_field.template operator()<1>();
    case 2:
      return put_field.template operator()<2>();
    case 4:
      return put_field.template operator()<4>();
    case 8:
      bytes[i] = encode_unsigned<unsigned char, 255>(value);
      return;
    case 16:
      return put_item<std::uint16_t>(encode_unsigned<std::uint16_t, 65535>(value), bytes + 2 * i);
    case 32:
      return put_item<float>(encode_float(value), bytes + 4 * i);
    default:
      return put_item<double>(encode_double(value), bytes + 8 * i);
  }
}

void qd_bits_shift(const unsigned char* source, unsigned char* destination, int source_bit,
                   int destination_bit, std::int64_t count) {
  std::int64_t from = 7 - source_bit;
  int room = destination_bit + 1;  // bits of the present destination byte that are still to fill
  while (count > 0) {
    int taken = static_cast<int>(std::min<std::int64_t>(room, count));
    *destination++ = static_cast<unsigned char>(bits_at(source, from, taken) << (room - taken));
    from += taken;
    count -= taken;
    room = 8;
  }
}

}  // namespace qrd

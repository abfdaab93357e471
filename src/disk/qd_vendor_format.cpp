#include "disk/qd_vendor_format.h"

#include <algorithm>

#include "util/qu_message.h"
#include "util/qu_xdr_block.h"

namespace qrd {

namespace {

constexpr std::int64_t vendor_word = 520;
constexpr std::uint32_t vendor_name_limit = 50;
// Texts and arrays grow by so many bytes or numbers while they are read. A multiple of 4, so that no padding
// falls inside a text.
constexpr std::uint32_t text_step = 1 << 16;
constexpr std::int64_t array_step = 1 << 13;

bool move_head(XDR* xdr, vendor_data& bag) {
  std::int64_t word = vendor_word;
  return qu_xdr_int(xdr, &word) && qu_xdr_text(xdr, bag.name, vendor_name_limit) &&
         qu_xdr_int(xdr, &bag.version);
}

// A text whose room (its length and a terminator) stands before it.
bool take_text(XDR* xdr, std::string& text) {
  std::int64_t room = 0;
  u_int length = 0;
  if (!qu_xdr_int(xdr, &room) || !xdr_u_int(xdr, &length) || std::int64_t{length} >= room) return false;
  // The length may lie: memory grows with what the file really holds.
  while (text.size() < length) {
    const std::size_t held = text.size();
    const u_int step = std::min(text_step, length - static_cast<u_int>(held));
    text.resize(held + step);
    if (!xdr_opaque(xdr, text.data() + held, step)) return false;
  }
  // Texts end at their terminator, wherever it stands.
  text.resize(std::min(text.size(), text.find('\0')));
  return true;
}

bool put_text(XDR* xdr, std::string& text) {
  auto room = static_cast<std::int64_t>(text.size()) + 1;
  char* characters = text.data();
  return qu_xdr_int(xdr, &room) && xdr_string(xdr, &characters, static_cast<u_int>(room));
}

template <typename Number>
bool read_numbers(XDR* xdr, std::vector<Number>& numbers, int (*move)(XDR*, Number*, std::int64_t)) {
  std::int64_t count = 0;
  if (!qu_xdr_int(xdr, &count) || count < 0) return false;
  for (std::int64_t held = 0; held < count; held += array_step) {
    const std::int64_t step = std::min(array_step, count - held);
    numbers.resize(static_cast<std::size_t>(held + step));
    if (!move(xdr, numbers.data() + held, step)) return false;
  }
  return true;
}

template <typename Number>
bool write_numbers(XDR* xdr, std::vector<Number>& numbers, int (*move)(XDR*, Number*, std::int64_t)) {
  auto count = static_cast<std::int64_t>(numbers.size());
  return qu_xdr_int(xdr, &count) && move(xdr, numbers.data(), count) != 0;
}

bool take_texts(XDR* xdr, std::vector<std::string>& texts) {
  std::int64_t count = 0;
  if (!qu_xdr_int(xdr, &count) || count < 0) return false;
  for (std::int64_t i = 0; i < count; ++i)
    if (!take_text(xdr, texts.emplace_back())) return false;
  return true;
}

bool put_texts(XDR* xdr, std::vector<std::string>& texts) {
  auto count = static_cast<std::int64_t>(texts.size());
  return qu_xdr_int(xdr, &count) &&
         std::all_of(texts.begin(), texts.end(), [xdr](std::string& text) { return put_text(xdr, text); });
}

decoding read_attribute(XDR* xdr, vendor_attribute& attribute) {
  const auto in_array = [](bool read) { return read ? decoding::done : decoding::spoilt; };
  const auto scalar = [](bool read) { return read ? decoding::done : decoding::corrupted; };
  if (!qu_xdr_text(xdr, attribute.name, vendor_name_limit)) return decoding::spoilt;
  std::int32_t type = 0;
  if (!xdr_int(xdr, &type)) return decoding::corrupted;
  if (!qd_vendor_data_set_type(attribute, type))
    qu_fatal("%s: Wrong Vendor Data Type (%d)", "qd_vendor_data_read", type);
  switch (type) {
    case 1:
      return scalar(xdr_int(xdr, &std::get<1>(attribute.value)) != 0);
    case 2:
      return scalar(xdr_double(xdr, &std::get<2>(attribute.value)) != 0);
    case 3:
      return in_array(take_text(xdr, std::get<3>(attribute.value)));
    case 4:
      return in_array(read_numbers(xdr, std::get<4>(attribute.value), qu_xdr_ints));
    case 5:
      return in_array(read_numbers(xdr, std::get<5>(attribute.value), qu_xdr_doubles));
    case 6:
      return in_array(take_texts(xdr, std::get<6>(attribute.value)));
    default:
      return decoding::done;
  }
}

bool write_attribute(XDR* xdr, vendor_attribute& attribute) {
  std::int32_t type = attribute.type();
  if (!qu_xdr_text(xdr, attribute.name, vendor_name_limit) || !xdr_int(xdr, &type)) return false;
  switch (type) {
    case 1:
      return xdr_int(xdr, &std::get<1>(attribute.value)) != 0;
    case 2:
      return xdr_double(xdr, &std::get<2>(attribute.value)) != 0;
    case 3:
      return put_text(xdr, std::get<3>(attribute.value));
    case 4:
      return write_numbers(xdr, std::get<4>(attribute.value), qu_xdr_ints);
    case 5:
      return write_numbers(xdr, std::get<5>(attribute.value), qu_xdr_doubles);
    case 6:
      return put_texts(xdr, std::get<6>(attribute.value));
    default:
      return true;
  }
}

}  // namespace

bool qd_vendor_data_set_type(vendor_attribute& attribute, std::int32_t type) {
  switch (type) {
    case 0:
      attribute.value.emplace<0>();
      return true;
    case 1:
      attribute.value.emplace<1>();
      return true;
    case 2:
      attribute.value.emplace<2>();
      return true;
    case 3:
      attribute.value.emplace<3>();
      return true;
    case 4:
      attribute.value.emplace<4>();
      return true;
    case 5:
      attribute.value.emplace<5>();
      return true;
    case 6:
      attribute.value.emplace<6>();
      return true;
    default:
      return false;
  }
}

bool qd_vendor_bag_head_read(XDR* xdr, vendor_data& bag) {
  return move_head(xdr, bag);
}

decoding qd_vendor_bag_read(XDR* xdr, vendor_data& bag) {
  std::int64_t count = 0;
  if (!move_head(xdr, bag) || !qu_xdr_int(xdr, &count)) return decoding::corrupted;
  auto state = decoding::done;
  for (std::int64_t i = 0; i < count && state == decoding::done; ++i)
    state = read_attribute(xdr, bag.attributes.emplace_back());
  return state;
}

bool qd_vendor_bag_write(XDR* xdr, vendor_data& bag) {
  auto count = static_cast<std::int64_t>(bag.attributes.size());
  return move_head(xdr, bag) && qu_xdr_int(xdr, &count) &&
         std::all_of(bag.attributes.begin(), bag.attributes.end(),
                     [xdr](vendor_attribute& attribute) { return write_attribute(xdr, attribute); });
}

}  // namespace qrd

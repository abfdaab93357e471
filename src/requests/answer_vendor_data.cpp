// CVDATEXIS, CVDATVERS, CVDATREAD, CVDATWRIT.
#include <algorithm>
#include <new>
#include <string>

#include "edit/qd_vendor_data.h"
#include "requests/arrival.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"
#include "wire/values.h"

namespace qrd {

namespace {

constexpr char vendor_failure[] = "An error occured while reading vendor data";
constexpr char write_failure[] = "An error occured while writing vendor data";
constexpr char memory_failure[] = "Memory Allocation error for atttribute";

// Who owns the bag of a request: 0 the study, 1 the directory, 2 the file, 3 and more the variable.
// `text` names the owner in debug prints. False after a refusal.
bool find_owner(std::int32_t scope, vendor_owner& owner, std::string& text) {
  const auto level = [&](const char* field, const char* missing, const char* separator) -> bool {
    if (!is_set(field)) {
      return refuse("%s", missing);
    }
    text.append(separator).append(field);
    return true;
  };
  if (!level(current_context.study, "Study is not set", "")) return false;
  if (scope <= 0) return true;
  if (!level(current_context.directory, "Directory is not set", ": ")) return false;
  owner.directory = current_context.directory;
  if (scope <= 1) return true;
  if (!level(current_context.file, "File is not set", "/")) return false;
  owner.file = current_context.file;
  if (scope <= 2) return true;
  if (!level(current_context.variable, "Variable is not set", "/")) return false;
  owner.variable = current_context.variable;
  return true;
}

arrival read_attribute_text(std::string& text) {
  std::int32_t room = 0;
  if (!read_arguments(room)) return arrival::broken;
  if (room < 1) return arrival::refused;
  request_text received;
  if (!_qrd_read_string(connection.client_socket, received.address(), static_cast<std::uint32_t>(room)))
    return arrival::broken;
  text = received.c_str();
  return arrival::complete;
}

template <typename Item, typename Read>
arrival read_array(std::vector<Item>& items, Read read) {
  std::int32_t count = 0;
  if (!read_arguments(count)) return arrival::broken;
  if (count < 0) return arrival::refused;
  return read_in_parts(items, count, read) ? arrival::complete : arrival::broken;
}

arrival read_texts(std::vector<std::string>& texts) {
  std::int32_t count = 0;
  if (!read_arguments(count)) return arrival::broken;
  if (count < 0) return arrival::refused;
  for (std::int32_t i = 0; i < count; ++i)
    if (arrival each = read_attribute_text(texts.emplace_back()); each != arrival::complete) return each;
  return arrival::complete;
}

arrival read_value(vendor_attribute& attribute) {
  const auto scalar = [](bool read) { return read ? arrival::complete : arrival::broken; };
  switch (attribute.type()) {
    case 1:
      return scalar(read_arguments(std::get<1>(attribute.value)));
    case 2:
      return scalar(read_arguments(std::get<2>(attribute.value)));
    case 3:
      return read_attribute_text(std::get<3>(attribute.value));
    case 4:
      return read_array(std::get<4>(attribute.value), _qrd_read_int_array);
    case 5:
      return read_array(std::get<5>(attribute.value), _qrd_read_double_array);
    case 6:
      return read_texts(std::get<6>(attribute.value));
    default:
      return arrival::complete;
  }
}

bool write_attribute_text(const std::string& text) {
  const auto room = static_cast<std::int32_t>(text.size() + 1);
  return write_value(wire_int{room}) &&
         write_value(wire_string{text.c_str(), static_cast<std::uint32_t>(room)});
}

template <typename Items>
wire_int count_of(const Items& items) {
  return {static_cast<std::int32_t>(items.size())};
}

bool write_attribute(const vendor_attribute& attribute) {
  if (!write_value(wire_string{attribute.name, name_size}) || !write_value(wire_int{attribute.type()}))
    return false;
  switch (attribute.type()) {
    case 1:
      return write_value(wire_int{std::get<1>(attribute.value)});
    case 2:
      return write_value(wire_double{std::get<2>(attribute.value)});
    case 3:
      return write_attribute_text(std::get<3>(attribute.value));
    case 4: {
      const auto& items = std::get<4>(attribute.value);
      return write_value(count_of(items)) &&
             write_value(wire_ints{items.data(), static_cast<std::int64_t>(items.size())});
    }
    case 5: {
      const auto& items = std::get<5>(attribute.value);
      return write_value(count_of(items)) &&
             write_value(wire_doubles{items.data(), static_cast<std::int64_t>(items.size())});
    }
    case 6: {
      const auto& items = std::get<6>(attribute.value);
      return write_value(count_of(items)) && std::all_of(items.begin(), items.end(), write_attribute_text);
    }
    default:
      return true;
  }
}

// What every request that asks for a bag begins with: the bag's name and who owns it, shown in a debug
// print. False after a failed read or a refusal.
bool read_target(const char* doing, name_text& name, vendor_owner& owner) {
  std::int32_t scope = 0;
  std::string text;
  if (!read_arguments(name, scope) || !find_owner(scope, owner, text)) return false;
  server_debug(1, "%s: \"%s\" in %s.", doing, name, text.c_str());
  return true;
}

}  // namespace

request_status server_answer_vendor_data_exists(const char* /*request*/) {
  name_text name;
  vendor_owner owner;
  if (!read_target("Reading Vendor Data Version", name, owner)) return not_served;
  std::int64_t version = 0;
  const found state = qd_vendor_data_version(name, owner, version);
  if (state == found::unreadable) return refuse("%s", vendor_failure);
  return answer(wire_int{state == found::yes ? 1 : 0});
}

request_status server_answer_vendor_data_version(const char* /*request*/) {
  name_text name;
  vendor_owner owner;
  if (!read_target("Reading Vendor Data Version", name, owner)) return not_served;
  std::int64_t version = 0;
  if (qd_vendor_data_version(name, owner, version) != found::yes) return refuse("%s", vendor_failure);
  return answer(wire_int{static_cast<std::int32_t>(version)});
}

request_status server_answer_vendor_data_read(const char* /*request*/) {
  name_text name;
  vendor_owner owner;
  if (!read_target("Reading Vendor Data", name, owner)) return not_served;
  vendor_data bag;
  if (qd_vendor_data_read(bag, owner, name) != found::yes) return refuse("%s", vendor_failure);
  return answer_with([&bag] {
    return write_value(wire_int{static_cast<std::int32_t>(bag.version)}) &&
           write_value(count_of(bag.attributes)) &&
           std::all_of(bag.attributes.begin(), bag.attributes.end(), write_attribute);
  });
}

request_status server_answer_vendor_data_write(const char* /*request*/) {
  vendor_data bag;
  std::int32_t version = 0;
  std::int32_t scope = 0;
  std::int32_t count = 0;
  if (!read_arguments(bag.name, version, scope, count)) return not_served;
  if (count < 0) return clean_and_refuse("%s", memory_failure);
  bag.version = version;
  try {
    for (std::int32_t i = 0; i < count; ++i) {
      vendor_attribute& attribute = bag.attributes.emplace_back();
      std::int32_t type = 0;
      if (!read_arguments(attribute.name, type)) return not_served;
      if (!qd_vendor_data_set_type(attribute, type))
        return clean_and_refuse("Wrong Vendor Data Type (%d)", type);
      const arrival state = read_value(attribute);
      if (state == arrival::broken) return not_served;
      if (state == arrival::refused) return clean_and_refuse("%s", memory_failure);
    }
  } catch (const std::bad_alloc&) {
    return clean_and_refuse("%s", memory_failure);
  }
  vendor_owner owner;
  std::string text;
  if (!find_owner(scope, owner, text)) return not_served;
  server_debug(1, "Writing Vendor Data: \"%s\" in %s.", bag.name, text.c_str());
  if (!qd_vendor_data_write(owner, bag)) return refuse("%s", write_failure);
  return answer();
}

}  // namespace qrd

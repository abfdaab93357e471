// Requests for palettes, colour scales and vendor data.
#include "qrd/resources.h"

#include "qrd/connection.h"

namespace qrd::client {

namespace {

rgb read_rgb(stream& wire) {
  rgb colour;
  for (std::int32_t& value : colour) value = wire.read_int();
  return colour;
}

// A text with its room, which counts a terminator, before it.
std::string read_roomy_text(stream& wire) {
  const std::int32_t room = wire.read_int();
  return wire.read_string(room > 0 ? static_cast<std::size_t>(room - 1) : 0);
}

void add_roomy_text(packet& part, const std::string& text) {
  part.add_int(static_cast<std::int32_t>(text.size() + 1)).add_string(text, unlimited);
}

vendor_value read_vendor_value(stream& wire, std::int32_t type) {
  switch (type) {
    case 0:
      return {};
    case 1:
      return wire.read_int();
    case 2:
      return wire.read_double();
    case 3:
      return read_roomy_text(wire);
    case 4:
      return wire.read_ints(wire.read_int());
    case 5:
      return wire.read_doubles(wire.read_int());
    case 6: {
      std::vector<std::string> texts;
      const std::int32_t count = wire.read_int();
      for (std::int32_t i = 0; i < count; ++i) texts.push_back(read_roomy_text(wire));
      return texts;
    }
    default:
      wire.close();
      throw protocol_error("the server sent an unknown type of vendor data " + std::to_string(type));
  }
}

void add_vendor_value(packet& part, const vendor_value& value) {
  if (const auto* number = std::get_if<std::int32_t>(&value)) part.add_int(*number);
  if (const auto* real = std::get_if<double>(&value)) part.add_double(*real);
  if (const auto* text = std::get_if<std::string>(&value)) add_roomy_text(part, *text);
  if (const auto* numbers = std::get_if<std::vector<std::int32_t>>(&value))
    part.add_int(static_cast<std::int32_t>(numbers->size())).add_ints(*numbers);
  if (const auto* reals = std::get_if<std::vector<double>>(&value))
    part.add_int(static_cast<std::int32_t>(reals->size())).add_doubles(*reals);
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value)) {
    part.add_int(static_cast<std::int32_t>(texts->size()));
    for (const std::string& text : *texts) add_roomy_text(part, text);
  }
}

}  // namespace

std::vector<std::string> connection::palettes() {
  return list(request("CPALLST"), "SPALLST");
}

bool connection::palette_exists(const std::string& name) {
  return exists("CPALXIST", name);
}

std::vector<rgb> connection::palette(const std::string& name) {
  call(request("CPALREAD").add_string(name, max_name), "SPAL");
  const std::int32_t count = wire_.read_int();
  std::vector<std::int32_t> channels[3];
  for (auto& channel : channels) channel = wire_.read_ints(count);
  std::vector<rgb> colours;
  for (std::size_t i = 0; i < channels[0].size(); ++i)
    colours.push_back({channels[0][i], channels[1][i], channels[2][i]});
  return colours;
}

void connection::write_palette(const std::string& name, std::span<const rgb> colours) {
  packet full = request("CPALWRIT");
  full.add_string(name, max_name).add_int(static_cast<std::int32_t>(colours.size()));
  for (std::size_t channel = 0; channel < 3; ++channel)
    for (const rgb& colour : colours) full.add_int(colour[channel]);
  call(full, "SDONE");
}

void connection::delete_palette(const std::string& name) {
  named("CPALDEL", name);
}

std::vector<std::string> connection::scales() {
  return list(request("CSCALST"), "SSCALST");
}

bool connection::scale_exists(const std::string& name) {
  return exists("CSCAXIST", name);
}

colour_scale connection::scale(const std::string& name) {
  call(request("CSCAREAD").add_string(name, max_name), "SSCALE");
  colour_scale scale;
  scale.kind = static_cast<scale_kind>(wire_.read_int());
  scale.read_only = wire_.read_bool();
  scale.palette = wire_.read_string();
  scale.classes = wire_.read_int();
  scale.colour_1 = read_rgb(wire_);
  scale.colour_3 = read_rgb(wire_);
  scale.colour_2 = read_rgb(wire_);
  const rgb facies_colour_2 = read_rgb(wire_);
  if (scale.kind == scale_kind::facies) scale.colour_2 = facies_colour_2;
  for (std::int32_t& mode : scale.modes) mode = wire_.read_int();
  wire_.read_string();
  wire_.read_string();
  const std::int32_t intervals = wire_.read_int();
  scale.integer_bounds = wire_.read_bool();
  const bool has_manual = wire_.read_bool();
  const bool has_facies = wire_.read_bool();
  if (has_manual) {
    scale.bounds = wire_.read_doubles(std::int64_t{scale.classes} + 1);
    scale.palette_indices = wire_.read_ints(scale.classes);
  }
  if (!has_facies) return scale;
  const std::vector<double> minima = wire_.read_doubles(intervals);
  const std::vector<double> maxima = wire_.read_doubles(intervals);
  const std::vector<std::int32_t> indices = wire_.read_ints(intervals);
  for (std::size_t i = 0; i < minima.size(); ++i)
    scale.intervals.push_back({minima[i], maxima[i], indices[i]});
  const std::int64_t classes = scale.classes;
  const std::vector<std::int32_t> rgbs = wire_.read_ints(3 * classes);
  const std::vector<std::string> labels = wire_.read_strings(classes);
  for (std::size_t i = 0; i < labels.size(); ++i)
    scale.facies.push_back({{rgbs[i], rgbs[labels.size() + i], rgbs[2 * labels.size() + i]}, labels[i]});
  return scale;
}

void connection::write_scale(const std::string& name, const colour_scale& scale) {
  const bool manual = scale.kind == scale_kind::manual;
  const bool facies = scale.kind == scale_kind::facies;
  const auto classes = static_cast<std::size_t>(scale.classes);
  if (manual && (scale.bounds.size() != classes + 1 || scale.palette_indices.size() != classes))
    throw bad_argument("a manual scale needs a palette index for each class, and one bound more");
  if (facies && scale.facies.size() != classes)
    throw bad_argument("a facies scale needs a colour and a label for each class");
  packet full = request("CSCANEW");
  full.add_string(name).add_int(static_cast<std::int32_t>(scale.kind)).add_bool(scale.read_only);
  full.add_string(scale.palette).add_int(scale.classes).add_ints(scale.colour_1);
  full.add_ints(scale.colour_3).add_ints(scale.colour_2).add_ints(scale.colour_2).add_ints(scale.modes);
  full.add_string("").add_string("").add_int(static_cast<std::int32_t>(scale.intervals.size()));
  full.add_bool(scale.integer_bounds).add_bool(manual).add_bool(facies);
  if (manual) full.add_doubles(scale.bounds).add_ints(scale.palette_indices);
  if (facies) {
    for (const facies_interval& one : scale.intervals) full.add_double(one.minimum);
    for (const facies_interval& one : scale.intervals) full.add_double(one.maximum);
    for (const facies_interval& one : scale.intervals) full.add_int(one.palette_index);
    for (std::size_t channel = 0; channel < 3; ++channel)
      for (const facies_class& one : scale.facies) full.add_int(one.colour[channel]);
    for (const facies_class& one : scale.facies) full.add_string(one.label);
  }
  call(full, "SDONE");
}

void connection::delete_scale(const std::string& name) {
  named("CSCADEL", name);
}

bool connection::vendor_data_exists(const std::string& name, vendor_scope scope) {
  call(request("CVDATEXIS").add_string(name, max_name).add_int(static_cast<std::int32_t>(scope)),
       "SVDATEXIS");
  return wire_.read_int() != 0;
}

std::int32_t connection::vendor_data_version(const std::string& name, vendor_scope scope) {
  call(request("CVDATVERS").add_string(name, max_name).add_int(static_cast<std::int32_t>(scope)),
       "SVDATVERS");
  return wire_.read_int();
}

vendor_bag connection::vendor_data(const std::string& name, vendor_scope scope) {
  call(request("CVDATREAD").add_string(name, max_name).add_int(static_cast<std::int32_t>(scope)), "SVDAT");
  vendor_bag bag;
  bag.version = wire_.read_int();
  const std::int32_t count = wire_.read_int();
  for (std::int32_t i = 0; i < count; ++i) {
    vendor_attribute attribute;
    attribute.name = wire_.read_string(max_name);
    attribute.value = read_vendor_value(wire_, wire_.read_int());
    bag.attributes.push_back(std::move(attribute));
  }
  return bag;
}

void connection::write_vendor_data(const std::string& name, vendor_scope scope, const vendor_bag& bag) {
  packet full = request("CVDATWRIT");
  full.add_string(name, max_name).add_int(bag.version).add_int(static_cast<std::int32_t>(scope));
  full.add_int(static_cast<std::int32_t>(bag.attributes.size()));
  for (const vendor_attribute& attribute : bag.attributes) {
    full.add_string(attribute.name, max_name).add_int(static_cast<std::int32_t>(attribute.value.index()));
    add_vendor_value(full, attribute.value);
  }
  call(full, "SDONE");
}

}  // namespace qrd::client

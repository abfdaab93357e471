#include "support/root_view.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <string_view>
#include <type_traits>
#include <variant>

#include "qrd/error.h"

namespace qrd::test {

namespace {

class text {
 public:
  text() { out_.precision(17); }
  template <typename... Values>
  text& add(const Values&... values) {
    (put(values), ...);
    return *this;
  }
  std::string str() const { return out_.str(); }

 private:
  template <typename Value>
  void put(const Value& value) {
    if constexpr (std::is_convertible_v<Value, std::string> || std::is_arithmetic_v<Value>)
      out_ << value << ' ';
    else
      for (const auto& one : value) put(one);
  }
  void put(std::monostate /*nothing*/) {}
  void put(const client::point3& point) { add(point.x, point.y, point.z); }
  void put(const std::optional<std::string>& name) { put(name.value_or("(none)")); }

  std::ostringstream out_;
};

std::string told(const client::polygon_set& set) {
  text out;
  out.add(set.dimension).add(set.lowest).add(set.highest);
  for (const client::contour& one : set.contours) {
    out.add(one.name, one.polygon, one.z_min, one.z_max, ":");
    for (const client::point2& vertex : one.vertices) out.add(vertex.x, vertex.y);
  }
  return out.str();
}

std::string told(const std::vector<client::wireframe>& objects) {
  text out;
  for (const client::wireframe& object : objects) {
    out.add(object.name, object.red, object.green, object.blue, ":");
    for (const client::wireframe_piece& piece : object.pieces) {
      out.add(piece.vertices);
      for (const client::triangle& one : piece.triangles) out.add(one.vertices);
    }
  }
  return out.str();
}

std::string told(const client::fault_set& set) {
  text out;
  out.add(set.is_2d, set.has_attributes);
  for (const client::fault& fault : set.faults) {
    out.add(fault.name, fault.is_polyline, ":");
    for (const client::fault_segment& segment : fault.segments)
      out.add(segment.points).add(segment.attributes).add(segment.priority);
  }
  return out.str();
}

std::string told(const client::colour_scale& scale) {
  text out;
  out.add(static_cast<int>(scale.kind), scale.read_only, scale.palette, scale.classes);
  out.add(scale.colour_1).add(scale.colour_2).add(scale.colour_3).add(scale.modes);
  out.add(scale.bounds).add(scale.palette_indices).add(scale.integer_bounds);
  for (const client::facies_interval& one : scale.intervals)
    out.add(one.minimum, one.maximum, one.palette_index);
  for (const client::facies_class& one : scale.facies) out.add(one.colour).add(one.label);
  return out.str();
}

std::string told(const std::vector<client::rgb>& colours) {
  text out;
  for (const client::rgb& colour : colours) out.add(colour);
  return out.str();
}

std::string told(const client::vendor_bag& bag) {
  text out;
  out.add(bag.version);
  for (const client::vendor_attribute& attribute : bag.attributes) {
    out.add(attribute.name, attribute.value.index());
    std::visit([&out](const auto& value) { out.add(value); }, attribute.value);
  }
  return out.str();
}

std::string told(const client::file_info& info) {
  text out;
  out.add(static_cast<int>(info.organisation), info.dimension, info.samples, info.lines, info.has_polygons);
  out.add(info.linked_file).add(info.line_name).add(info.origin).add(info.mesh);
  out.add(info.nx, info.ny, info.nz, info.rotated).add(info.angles).add(info.faults, info.fault_segments);
  return out.str();
}

// The line of a comment that tells when an object was made differs from one making to the next.
std::string undated(const std::string& comment) {
  constexpr std::string_view label = "Creation Date:";
  const std::size_t begin = comment.find(label);
  if (begin == std::string::npos) return comment;
  std::string rest = comment;
  const std::size_t end = std::min(comment.find('\n', begin), comment.size());
  return rest.erase(begin + label.size(), end - begin - label.size());
}

class viewer {
 public:
  explicit viewer(client::connection& connection) : connection_(connection) {}

  root_view view() {
    for (const std::string& name : listed("studies", [&] { return connection_.studies(); })) {
      place_ = name;
      if (!reached([&] { connection_.set_study(name); })) continue;
      view_study();
    }
    return std::move(view_);
  }

 private:
  template <typename Tell>
  void put(const std::string& what, const Tell& tell) {
    std::string& told_text = view_[place_ + " " + what];
    try {
      told_text = tell();
    } catch (const client::refusal& refused) {
      told_text = std::string("refused: ") + refused.what();
    }
  }
  template <typename Ask>
  std::vector<std::string> listed(const std::string& what, const Ask& ask) {
    std::vector<std::string> names;
    put(what, [&] {
      names = ask();
      return text().add(names).str();
    });
    return names;
  }
  template <typename Act>
  bool reached(const Act& act) {
    bool done = false;
    put("can be had", [&] {
      act();
      done = true;
      return "yes";
    });
    return done;
  }
  void put_bag(client::vendor_scope scope) {
    put("bag", [&] {
      return connection_.vendor_data_exists(viewed_bag, scope)
                 ? told(connection_.vendor_data(viewed_bag, scope))
                 : "none";
    });
  }

  void view_study() {
    put_bag(client::vendor_scope::study);
    for (const std::string& name : listed("palettes", [&] { return connection_.palettes(); }))
      put("palette " + name, [&] { return told(connection_.palette(name)); });
    for (const std::string& name : listed("scales", [&] { return connection_.scales(); }))
      put("scale " + name, [&] { return told(connection_.scale(name)); });
    const std::string study = place_;
    for (const std::string& name : listed("directories", [&] { return connection_.directories(); })) {
      place_ = study;
      place_ += "/" + name;
      if (reached([&] { connection_.set_directory(name); })) view_directory();
    }
  }

  void view_directory() {
    put_bag(client::vendor_scope::directory);
    const std::string directory = place_;
    for (const std::string& name : listed("files", [&] { return connection_.files(); })) {
      place_ = directory;
      place_ += "/" + name;
      if (reached([&] { connection_.set_file(name); })) view_file();
    }
  }

  void view_file() {
    put_bag(client::vendor_scope::file);
    client::file_info info;
    put("info", [&] { return told(info = connection_.file_info()); });
    put("comment", [&] { return undated(connection_.comment(client::comment_owner::file)); });
    if (info.has_polygons) put("polygons", [&] { return told(connection_.polygons()); });
    if (info.has_faults) put("faults", [&] { return told(connection_.faults()); });
    put("wireframes", [&] { return told(connection_.wireframes()); });
    if (info.organisation == client::organisation::gravity_lines ||
        info.organisation == client::organisation::core_lines)
      put("lines", [&] { return text().add(connection_.line_lengths()).str(); });
    const std::string file = place_;
    for (const std::string& name : listed("variables", [&] { return connection_.variables(); })) {
      place_ = file;
      place_ += "/" + name;
      if (reached([&] { connection_.set_variable(name); })) view_variable();
    }
  }

  void view_variable() {
    put_bag(client::vendor_scope::variable);
    client::variable_info info;
    put("info", [&] {
      info = connection_.variable_info();
      return text()
          .add(static_cast<int>(info.type), info.bits, info.characters, info.indices, info.unit)
          .str();
    });
    put("comment", [&] { return undated(connection_.comment(client::comment_owner::variable)); });
    if (info.type == client::variable_type::macro) {
      client::macro_indices indices;
      put("indices", [&] {
        indices = connection_.macro_indices();
        return text().add(indices.numbers).add(indices.names.value_or(std::vector<std::string>{})).str();
      });
      for (const std::int32_t index : indices.numbers)
        put("values of " + std::to_string(index), [&] {
          connection_.set_index(index);
          return text().add(connection_.read_floats().values).str();
        });
    } else if (info.type == client::variable_type::text) {
      put("values", [&] { return text().add(connection_.read_texts().values).str(); });
    } else {
      put("values", [&] { return text().add(connection_.read_floats().values).str(); });
    }
  }

  client::connection& connection_;
  std::string place_;
  root_view view_;
};

std::string cut(const std::string& value) {
  constexpr std::size_t most = 120;
  return value.size() <= most ? value : value.substr(0, most) + "...";
}

}  // namespace

root_view view_of(client::connection& connection) {
  return viewer(connection).view();
}

std::string differences(const root_view& expected, const root_view& actual) {
  std::string lines;
  for (const auto& [place, value] : expected) {
    const auto found = actual.find(place);
    if (found == actual.end())
      lines += "  gone: " + place + "\n";
    else if (found->second != value)
      lines += "  " + place + ": " + cut(found->second) + " instead of " + cut(value) + "\n";
  }
  for (const auto& [place, value] : actual)
    if (!expected.contains(place)) lines += "  new: " + place + ": " + cut(value) + "\n";
  return lines;
}

}  // namespace qrd::test

// Palettes, as arrays of three columns, and colour scales, as dictionaries.
#include "python/native/bindings.h"
#include "python/native/values.h"

namespace qrd::python {

namespace {

using client::colour_scale;
using client::database;
using client::rgb;

// Palettes of a study, with those of the root; without a study those of the root.
client::connection& at(database& all, const text& study) {
  return study.bytes.empty() ? all.at_root() : all.at(study.bytes);
}

py::tuple described(const rgb& colour) {
  return py::make_tuple(colour[0], colour[1], colour[2]);
}

rgb colour_of(const py::handle& told) {
  const auto parts = told.cast<py::tuple>();
  return {parts[0].cast<std::int32_t>(), parts[1].cast<std::int32_t>(), parts[2].cast<std::int32_t>()};
}

py::dict described(const colour_scale& scale) {
  py::dict told;
  told["kind"] = static_cast<std::int32_t>(scale.kind);
  told["read_only"] = scale.read_only;
  told["palette"] = to_python(scale.palette);
  told["classes"] = scale.classes;
  told["colours"] =
      py::make_tuple(described(scale.colour_1), described(scale.colour_2), described(scale.colour_3));
  told["modes"] = py::make_tuple(scale.modes[0], scale.modes[1], scale.modes[2]);
  told["bounds"] = to_python(std::vector<double>(scale.bounds));
  told["palette_indices"] = py::array_t<std::int32_t>(static_cast<py::ssize_t>(scale.palette_indices.size()),
                                                      scale.palette_indices.data());
  told["integer_bounds"] = scale.integer_bounds;
  py::list intervals;
  for (const auto& one : scale.intervals)
    intervals.append(py::make_tuple(one.minimum, one.maximum, one.palette_index));
  told["intervals"] = intervals;
  py::list facies;
  for (const auto& one : scale.facies)
    facies.append(py::make_tuple(to_python(one.label), described(one.colour)));
  told["facies"] = facies;
  return told;
}

colour_scale scale_of(const py::dict& told) {
  colour_scale scale;
  scale.kind = static_cast<client::scale_kind>(told["kind"].cast<std::int32_t>());
  scale.read_only = told["read_only"].cast<bool>();
  scale.palette = bytes_of(told["palette"]);
  scale.classes = told["classes"].cast<std::int32_t>();
  const auto colours = told["colours"].cast<py::tuple>();
  scale.colour_1 = colour_of(colours[0]);
  scale.colour_2 = colour_of(colours[1]);
  scale.colour_3 = colour_of(colours[2]);
  scale.modes = colour_of(told["modes"]);
  const auto bounds = told["bounds"].cast<doubles>();
  scale.bounds.assign(span_of(bounds).begin(), span_of(bounds).end());
  const auto indices = told["palette_indices"].cast<integers>();
  scale.palette_indices.assign(indices.data(), indices.data() + indices.size());
  scale.integer_bounds = told["integer_bounds"].cast<bool>();
  for (const py::handle one : told["intervals"]) {
    const auto parts = one.cast<py::tuple>();
    scale.intervals.push_back(
        {parts[0].cast<double>(), parts[1].cast<double>(), parts[2].cast<std::int32_t>()});
  }
  for (const py::handle one : told["facies"]) {
    const auto parts = one.cast<py::tuple>();
    scale.facies.push_back({colour_of(parts[1]), bytes_of(parts[0])});
  }
  return scale;
}

}  // namespace

void add_colours(session_class& one) {
  one.def("palettes", [](session& self, const text& study) {
    return to_python(self.use([&](database& all) { return at(all, study).palettes(); }));
  });
  one.def("palette", [](session& self, const text& study, const text& name) {
    const auto colours = self.use([&](database& all) { return at(all, study).palette(name.bytes); });
    return to_rows(colours.empty() ? nullptr : colours[0].data(), colours.size(), 3);
  });
  one.def("write_palette", [](session& self, const text& study, const text& name, const integers& rows) {
    std::vector<rgb> colours;
    for (py::ssize_t i = 0; i < rows.size(); i += 3)
      colours.push_back({rows.data()[i], rows.data()[i + 1], rows.data()[i + 2]});
    self.use([&](database& all) { at(all, study).write_palette(name.bytes, colours); });
  });
  one.def("delete_palette", [](session& self, const text& study, const text& name) {
    self.use([&](database& all) { at(all, study).delete_palette(name.bytes); });
  });
  one.def("scales", [](session& self, const text& study) {
    return to_python(self.use([&](database& all) { return all.at(study.bytes).scales(); }));
  });
  one.def("scale", [](session& self, const text& study, const text& name) {
    return described(self.use([&](database& all) { return all.at(study.bytes).scale(name.bytes); }));
  });
  one.def("write_scale", [](session& self, const text& study, const text& name, const py::dict& told) {
    const colour_scale scale = scale_of(told);
    self.use([&](database& all) { all.at(study.bytes).write_scale(name.bytes, scale); });
  });
  one.def("delete_scale", [](session& self, const text& study, const text& name) {
    self.use([&](database& all) { all.at(study.bytes).delete_scale(name.bytes); });
  });
}

}  // namespace qrd::python

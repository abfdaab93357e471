// Files as tables: their columns, and the samples of one.
#include <pybind11/stl.h>

#include <algorithm>

#include "python/native/bindings.h"
#include "python/native/values.h"

namespace qrd::python {

namespace {

using client::column;
using client::database;
using client::file_place;
using client::table;
using optional_index = std::optional<std::int64_t>;

// What the slice `first`:`last` of Python takes of so many samples; nothing if that is none.
std::optional<client::sample_range> range_of(optional_index first, optional_index last,
                                             std::int64_t samples) {
  const auto place = [&](std::int64_t index) {
    return std::clamp<std::int64_t>(index < 0 ? index + samples : index, 0, samples);
  };
  const std::int64_t begin = place(first.value_or(0));
  const std::int64_t end = last ? place(*last) : samples;
  if (begin >= end) return std::nullopt;
  return client::sample_range{begin + 1, end};
}

client::selection_use use_of(bool compress) {
  return compress ? client::selection_use::compressed : client::selection_use::masked;
}

py::object read(session& self, const file_place& place, const column& one, optional_index first,
                optional_index last, const text& selection, bool compress, const text& unit) {
  client::column_values values = self.use([&](database& all) {
    table file(all, place);
    client::reading wish;
    wish.range = range_of(first, last, file.samples());
    if (!wish.range) return client::column_values();
    wish.selection = selection.bytes;
    wish.use = use_of(compress);
    wish.unit = unit.bytes;
    return file.read(one, wish);
  });
  if (one.is_text()) return to_python(values.texts);
  if (one.is_selection()) return to_flags(values.numbers);
  return to_python(std::move(values.numbers));
}

void write(session& self, const file_place& place, const column& one, const py::object& values,
           optional_index first, optional_index last, const text& selection, bool compress,
           const text& unit) {
  const given_values given(values);
  self.use([&](database& all) {
    table file(all, place);
    client::writing wish;
    wish.range = range_of(first, last, file.samples());
    wish.selection = selection.bytes;
    wish.use = use_of(compress);
    wish.unit = unit.bytes;
    if (wish.range)
      given.write(file, one, wish);
    else if (given.size() > 0)
      throw client::bad_argument(std::to_string(given.size()) + " values for no samples");
  });
}

py::list lines(session& self, const file_place& place) {
  const auto all_lines = self.use([&](database& all) { return table(all, place).lines(); });
  py::list told;
  for (const client::line& one : all_lines)
    told.append(py::make_tuple(to_python(one.name), one.first - 1, one.last));
  return told;
}

py::object index_of(const column& one) {
  if (!one.variable.index) return py::none();
  if (const auto* number = std::get_if<std::int32_t>(&*one.variable.index)) return py::int_(*number);
  return to_python(std::get<std::string>(*one.variable.index));
}

py::list columns_of(const std::vector<column>& all) {
  py::list told;
  for (const column& one : all) told.append(py::cast(one));
  return told;
}

}  // namespace

void add_tables(py::module_& module, session_class& one) {
  py::class_<file_place>(module, "Place")
      .def(py::init([](const text& study, const text& directory, const text& file) {
        return file_place{study.bytes, directory.bytes, file.bytes};
      }));
  py::class_<column>(module, "Column")
      .def_property_readonly("title", [](const column& self) { return to_python(self.title); })
      .def_property_readonly("variable", [](const column& self) { return to_python(self.variable.name); })
      .def_property_readonly("index", index_of)
      .def_property_readonly("bits", [](const column& self) { return self.info.bits; })
      .def_property_readonly("characters", [](const column& self) { return self.info.characters; })
      .def_property_readonly("is_text", &column::is_text)
      .def_property_readonly("is_selection", &column::is_selection)
      .def_property_readonly("is_computed", [](const column& self) { return self.info.implicit; })
      .def_property_readonly("is_length",
                             [](const column& self) { return self.info.has_unit.value_or(false); })
      .def_property_readonly("unit", [](const column& self) { return to_python(self.unit()); });
  // Raises if the column can't hold the values.
  module.def("check",
             [](const column& checked, const py::object& values) { given_values(values).check(checked); });
  module.def("is_macro_name", [](const text& name) { return client::is_macro_name(name.bytes); });

  one.def("names", [](session& self, const file_place& place) {
    return to_python(self.use([&](database& all) { return all.at(place).variables(); }));
  });
  one.def("selections", [](session& self, const file_place& place) {
    return to_python(self.use(
        [&](database& all) { return all.at(place).variables(client::variable_filter::selections); }));
  });
  one.def("open", [](session& self, const file_place& place, const text& name) {
    return self.use([&](database& all) { return table(all, place).open(name.bytes); });
  });
  // The columns of a macro variable.
  one.def("open_all", [](session& self, const file_place& place, const text& name) {
    return columns_of(self.use([&](database& all) { return table(all, place).open_all(name.bytes); }));
  });
  one.def("columns", [](session& self, const file_place& place) {
    return columns_of(self.use([&](database& all) { return table(all, place).columns(); }));
  });
  one.def("coordinate_units", [](session& self, const file_place& place) {
    return to_python(self.use([&](database& all) { return table(all, place).coordinate_units(); }));
  });
  one.def("read", &read);
  one.def("write", &write);
  one.def("lines", &lines);
  one.def("remove", [](session& self, const file_place& place, const text& name) {
    self.use([&](database& all) { table(all, place).remove(name.bytes); });
  });
}

}  // namespace qrd::python

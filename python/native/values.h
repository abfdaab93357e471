// Values of Python and of the client library.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qrd/table.h"

namespace qrd::python {

namespace py = pybind11;

// A text that comes from Python. The database keeps bytes, which are meant as UTF-8; those that aren't are
// told with surrogates, and come back as they were.
struct text {
  std::string bytes;
};

py::str to_python(const std::string& bytes);
py::list to_python(const std::vector<std::string>& texts);
std::string bytes_of(py::handle value);
std::vector<std::string> texts_of(py::handle values);

// What numpy owns from now on; nothing is copied.
py::array_t<double> to_python(std::vector<double> numbers);
py::array_t<bool> to_flags(std::span<const double> numbers);
// Rows of so many numbers.
py::array_t<double> to_rows(const double* numbers, std::size_t rows, std::size_t width);
py::array_t<std::int32_t> to_rows(const std::int32_t* numbers, std::size_t rows, std::size_t width);

// Numbers in a row. Python hands them over as they are; they are those of the array.
using doubles = py::array_t<double, py::array::c_style>;
using integers = py::array_t<std::int32_t, py::array::c_style>;
std::span<const double> span_of(const doubles& array);

// The values of a column: an array of doubles or a list of texts. Holds the array.
class given_values {
 public:
  explicit given_values(const py::object& values);
  std::int64_t size() const;
  // Throws what table::check() throws.
  void check(const client::column& one) const;
  void write(client::table& file, const client::column& one, const client::writing& wish) const;

 private:
  // Told with the GIL, asked for without it.
  doubles numbers_;
  std::span<const double> span_;
  std::vector<std::string> texts_;
  bool is_text_;
};

// Exceptions of the library as those of the package.
void translate_errors();

}  // namespace qrd::python

namespace pybind11::detail {

template <>
struct type_caster<qrd::python::text> {
  PYBIND11_TYPE_CASTER(qrd::python::text, const_name("str"));
  bool load(handle source, bool) {
    if (!PyUnicode_Check(source.ptr())) return false;
    value.bytes = qrd::python::bytes_of(source);
    return true;
  }
};

}  // namespace pybind11::detail

#include "python/native/values.h"

#include <cstring>
#include <memory>
#include <utility>

#include "python/native/session.h"
#include "qrd/error.h"

namespace qrd::python {

py::str to_python(const std::string& bytes) {
  PyObject* result =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
  if (result == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(result);
}

py::list to_python(const std::vector<std::string>& texts) {
  py::list result(texts.size());
  const std::string* last = nullptr;
  py::str same;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    // Neighbours are often equal, and share one object then.
    if (last == nullptr || texts[i] != *last) same = to_python(texts[i]);
    last = &texts[i];
    PyList_SET_ITEM(result.ptr(), static_cast<Py_ssize_t>(i), py::object(same).release().ptr());
  }
  return result;
}

std::string bytes_of(py::handle value) {
  const auto bytes =
      py::reinterpret_steal<py::bytes>(PyUnicode_AsEncodedString(value.ptr(), "utf-8", "surrogateescape"));
  if (!bytes) throw py::error_already_set();
  return bytes;
}

std::vector<std::string> texts_of(py::handle values) {
  std::vector<std::string> texts;
  for (const py::handle one : values) texts.push_back(bytes_of(one));
  return texts;
}

py::array_t<double> to_python(std::vector<double> numbers) {
  auto owned = std::make_unique<std::vector<double>>(std::move(numbers));
  const auto size = static_cast<py::ssize_t>(owned->size());
  double* data = owned->data();
  const py::capsule owner(owned.get(), [](void* held) { delete static_cast<std::vector<double>*>(held); });
  static_cast<void>(owned.release());
  return py::array_t<double>(size, data, owner);
}

py::array_t<bool> to_flags(std::span<const double> numbers) {
  py::array_t<bool> result(static_cast<py::ssize_t>(numbers.size()));
  bool* flags = result.mutable_data();
  for (std::size_t i = 0; i < numbers.size(); ++i) flags[i] = numbers[i] == 1;
  return result;
}

namespace {

template <typename T>
py::array_t<T> rows_of(const T* numbers, std::size_t rows, std::size_t width) {
  py::array_t<T> result({rows, width});
  if (rows > 0) std::memcpy(result.mutable_data(), numbers, rows * width * sizeof(T));
  return result;
}

}  // namespace

py::array_t<double> to_rows(const double* numbers, std::size_t rows, std::size_t width) {
  return rows_of(numbers, rows, width);
}

py::array_t<std::int32_t> to_rows(const std::int32_t* numbers, std::size_t rows, std::size_t width) {
  return rows_of(numbers, rows, width);
}

std::span<const double> span_of(const doubles& array) {
  return {array.data(), static_cast<std::size_t>(array.size())};
}

given_values::given_values(const py::object& values) : is_text_(py::isinstance<py::list>(values)) {
  if (is_text_)
    texts_ = texts_of(values);
  else
    numbers_ = values.cast<doubles>();
  span_ = span_of(numbers_);
}

std::int64_t given_values::size() const {
  return static_cast<std::int64_t>(is_text_ ? texts_.size() : span_.size());
}

void given_values::check(const client::column& one) const {
  if (is_text_)
    client::table::check(one, texts_);
  else
    client::table::check(one, span_);
}

void given_values::write(client::table& file, const client::column& one, const client::writing& wish) const {
  if (is_text_)
    file.write(one, texts_, wish);
  else
    file.write(one, span_, wish);
}

namespace {

void set_error(const char* name, const std::string& what) {
  const py::object type = py::module_::import("qrd._errors").attr(name);
  PyErr_SetObject(type.ptr(), type(to_python(what)).ptr());
}

void raise_not_found(const client::not_found& problem) {
  const py::object type = py::module_::import("qrd._errors").attr("NotFound");
  const py::object raised =
      type(to_python(problem.what()), to_python(problem.name()), to_python(problem.near_names()));
  PyErr_SetObject(type.ptr(), raised.ptr());
}

}  // namespace

void translate_errors() {
  // NOLINTNEXTLINE(performance-unnecessary-value-param): that is what it is told to be.
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const client::not_found& problem) {
      raise_not_found(problem);
    } catch (const client::refusal& problem) {
      set_error("Refused", problem.what());
    } catch (const client::protocol_error& problem) {
      set_error("ConnectionLost", problem.what());
    } catch (const client::error& problem) {
      PyErr_SetObject(PyExc_ValueError, to_python(problem.what()).ptr());
    } catch (const closed_database& problem) {
      PyErr_SetString(PyExc_ValueError, problem.what());
    }
  });
}

}  // namespace qrd::python

// The extension module qrd._native.
#include <pybind11/pybind11.h>

#include <chrono>

#include "python/native/bindings.h"
#include "python/native/values.h"
#include "qrd/units.h"
#include "qrd/version.h"

namespace qrd::python {
namespace {

client::database_options options_of(const text& server, const text& via, const text& root, bool make,
                                    double timeout) {
  client::database_options options;
  options.server = server.bytes;
  options.via = via.bytes;
  options.root = root.bytes;
  options.make_root = make;
  options.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(timeout * 1000));
  return options;
}

}  // namespace
}  // namespace qrd::python

PYBIND11_MODULE(_native, module) {
  using namespace qrd::python;
  translate_errors();
  module.def("library_version", &qrd::client::library_version);
  module.def("length_units", [] {
    py::dict factors;
    for (const auto& unit : qrd::client::length_units())
      factors[to_python(std::string(unit.symbol))] = unit.centimetres / 100;
    return factors;
  });
  session_class one(module, "Session");
  one.def(py::init([](const text& server, const text& via, const text& root, bool make, double timeout) {
            return std::make_unique<session>(options_of(server, via, root, make, timeout));
          }),
          py::kw_only(), py::arg("server"), py::arg("via"), py::arg("root"), py::arg("make"),
          py::arg("timeout"));
  one.def("close", &session::close, py::arg("wait") = true);
  one.def("is_closed", &session::is_closed);
  add_catalogue(one);
  add_tables(module, one);
  add_making(one);
  add_objects(one);
  add_colours(one);
}

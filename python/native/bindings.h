// What the extension module shows, by subject. Python's side is qrd/_native.pyi.
#pragma once

#include <pybind11/pybind11.h>

#include "python/native/session.h"

namespace qrd::python {

using session_class = pybind11::class_<session>;

void add_catalogue(session_class& one);
void add_tables(pybind11::module_& module, session_class& one);
void add_making(session_class& one);
void add_objects(session_class& one);
void add_colours(session_class& one);

}  // namespace qrd::python

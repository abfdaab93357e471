// Studies, directories and files; what is told of a file as a whole.
#include "python/native/bindings.h"
#include "python/native/values.h"
#include "qrd/names.h"

namespace qrd::python {

namespace {

using client::connection;
using client::database;
using client::file_place;

py::str kind_of(client::organisation kind) {
  switch (kind) {
    case client::organisation::points:
      return "points";
    case client::organisation::gravity_lines:
      return "lines";
    case client::organisation::core_lines:
      return "core lines";
    case client::organisation::grid:
      return "grid";
  }
  return "";
}

py::tuple described(const client::point3& point) {
  return py::make_tuple(point.x, point.y, point.z);
}

py::object described(const std::optional<std::string>& name) {
  return name ? py::object(to_python(*name)) : py::none();
}

py::dict described(const client::file_info& info) {
  py::dict told;
  told["kind"] = kind_of(info.organisation);
  told["dimension"] = info.dimension;
  told["samples"] = info.samples;
  told["lines"] = info.lines;
  told["nodes"] = py::make_tuple(info.nx, info.ny, info.nz);
  told["origin"] = described(info.origin);
  told["mesh"] = described(info.mesh);
  told["angles"] = py::make_tuple(info.angles[0], info.angles[1], info.angles[2]);
  py::list begins;
  py::list ends;
  for (const auto& name : info.core_begins) begins.append(described(name));
  for (const auto& name : info.core_ends) ends.append(described(name));
  told["begins"] = begins;
  told["ends"] = ends;
  told["link"] = described(info.linked_file);
  told["line_name"] = described(info.line_name);
  told["has_polygons"] = info.has_polygons;
  told["has_faults"] = info.has_faults;
  return told;
}

}  // namespace

void add_catalogue(session_class& one) {
  one.def("studies", [](session& self) {
    return to_python(self.use([](database& all) { return all.at_root().studies(); }));
  });
  one.def("directories", [](session& self, const text& study) {
    return to_python(self.use([&](database& all) { return all.at(study.bytes).directories(); }));
  });
  one.def("files", [](session& self, const text& study, const text& directory) {
    return to_python(self.use([&](database& all) { return all.at(study.bytes, directory.bytes).files(); }));
  });
  // Refused with the names that are near if they aren't there.
  one.def("find", [](session& self, const text& study, const text& directory) {
    self.use([&](database& all) {
      if (directory.bytes.empty())
        all.at(study.bytes);
      else
        all.at(study.bytes, directory.bytes);
    });
  });
  one.def("new_study", [](session& self, const text& study, const text& path) {
    self.use([&](database& all) {
      client::check_new_name(study.bytes, "study");
      all.at_root().new_study(study.bytes, path.bytes);
    });
  });
  one.def("new_directory", [](session& self, const text& study, const text& directory) {
    self.use([&](database& all) {
      client::check_new_name(directory.bytes, "directory");
      all.at(study.bytes).new_directory(directory.bytes);
    });
  });
  one.def("delete_study", [](session& self, const text& study) {
    self.use([&](database& all) {
      connection& server = all.at(study.bytes);
      all.forget();
      server.delete_study();
    });
  });
  one.def("delete_directory", [](session& self, const text& study, const text& directory) {
    self.use([&](database& all) {
      connection& server = all.at(study.bytes, directory.bytes);
      all.forget();
      server.delete_directory();
    });
  });
  one.def("delete_file", [](session& self, const file_place& place) {
    self.use([&](database& all) {
      connection& server = all.at(place);
      all.forget();
      server.delete_file();
    });
  });
  one.def("file_info", [](session& self, const file_place& place) {
    return described(self.use([&](database& all) { return all.at(place).file_info(); }));
  });
  one.def("link", [](session& self, const file_place& place, const text& points, const text& names) {
    self.use([&](database& all) {
      all.at(place).link_lines(points.bytes);
      if (names.bytes.empty()) return;
      connection& server = all.at({place.study, place.directory, points.bytes});
      server.set_variable(names.bytes);
      server.set_line_name();
    });
  });
  // Of the file, or of one of its variables.
  one.def("comment", [](session& self, const file_place& place, const text& variable) {
    return described(self.use([&](database& all) {
      connection& server = all.at(place);
      if (variable.bytes.empty()) return server.comment(client::comment_owner::file);
      server.set_variable(variable.bytes);
      return server.comment(client::comment_owner::variable);
    }));
  });
  one.def("set_comment",
          [](session& self, const file_place& place, const text& variable, const text& comment) {
            self.use([&](database& all) {
              connection& server = all.at(place);
              if (variable.bytes.empty()) {
                server.set_comment(client::comment_owner::file, comment.bytes);
              } else {
                server.set_variable(variable.bytes);
                server.set_variable_comment(comment.bytes);
              }
            });
          });
}

}  // namespace qrd::python

// A conversation with one server.
//
// Every request is one call: it sends the request, waits for the answer and returns its values. A refusal of
// the server is thrown as `refusal`, a broken connection or an answer out of place as `protocol_error`.
//
// The server keeps what is current: a study, in it a directory, in it a file, in it a variable; the selection
// and the macro index. Most requests work on what is current. `database` (qrd/database.h) hides that.
//
// One connection is for one thread at a time. A connection that was moved from is closed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qrd/error.h"
#include "qrd/export.h"
#include "qrd/objects.h"
#include "qrd/resources.h"
#include "qrd/types.h"
#include "qrd/wire.h"

namespace qrd::client {

// How to talk to a server.
struct connection_options {
  std::int32_t version = newest_version;
  // What CHELLO carries; only a version of 100 opens the root by it.
  std::string hello_path;
  // Declares a 64-bit program (CARCH): longs have 8 bytes.
  bool wide_longs = true;
  // Asks for a session of its own first (CNEWSESS). A server that has none to give goes on itself.
  bool new_session = false;
  // Longest silence of the server within an answer; 0 waits for ever.
  std::chrono::milliseconds timeout{0};
  // As for set_wait(), from the first answer on.
  wait_function wait = {};
  // False leaves out CHELLO and CARCH.
  bool handshake = true;
};

// A conversation with a server. After a protocol_error it is of no further use.
class QRD_EXPORT connection {
 public:
  using options = connection_options;

  static connection connect(const std::string& host, std::uint16_t port, const options& settings = options());
  // To a server on a socket in the file system, such as that of a service manager.
  static connection connect_local(const std::string& path, const options& settings = options());
  // Through a command, run by a shell, whose standard input and output are the connection: `ssh HOST
  // QRDserver -inetd`, for instance. It is alone with its server: no session is asked for.
  static connection through(const std::string& command, const options& settings = options());
  // The same with arguments that no shell looks at.
  static connection through(const std::vector<std::string>& arguments, const options& settings = options());
  // Talks on a stream that is connected already. Sends nothing.
  explicit connection(stream wire, std::int32_t version = newest_version);
  connection(connection&& other) noexcept = default;
  connection& operator=(connection&& other) noexcept;
  // Says goodbye if the connection is sound, and waits a short time for the answer.
  ~connection();

  // The conversation as a whole.
  std::int32_t hello(std::int32_t version, const std::string& path = {});  // CHELLO: the server's version
  bool architecture(bool wide_longs);          // CARCH: whether the server is a 64-bit program
  void open_root(const std::string& path);     // CQRDDATA; empty for the server's default root
  std::vector<std::string> requests();         // CSUPREQ
  std::optional<std::uint16_t> new_session();  // CNEWSESS: the port to go on with, if any
  void bye();                                  // CBYE BYE
  void abandon();                              // closes without a word
  std::int32_t version() const { return version_; }
  std::int32_t server_version() const { return server_version_; }
  // How often the server has refused.
  std::uint64_t refusals() const { return refusals_; }
  void set_progress(progress_function progress) { wire_.set_progress(std::move(progress)); }
  void set_wait(wait_function wait) { wire_.set_wait(std::move(wait)); }
  void set_timeout(std::chrono::milliseconds timeout) { wire_.set_timeout(timeout); }

  // Units.
  void set_unit_mode(unit_mode mode);                                                         // CUNITMODE
  void set_distance_unit(const std::string& symbol);                                          // CDISTUSET
  void set_creation_units(const std::string& x, const std::string& y, const std::string& z);  // CUNITCR
  // CVARUNIT: the unit that the current variable's values are told in, and another symbol to show.
  void set_variable_unit(const std::string& unit, const std::optional<std::string>& shown = std::nullopt);

  // Studies.
  std::vector<std::string> studies();       // CSTUDYLST
  void set_study(const std::string& name);  // CSTUDYSET
  void new_study(const std::string& name,
                 const std::string& path);  // CSTUDYNEW; the oldest versions send no path
  void delete_study();                      // CSTUDYDEL: the current one

  // Directories.
  std::vector<std::string> directories();          // CDIRLST
  bool directory_exists(const std::string& name);  // CDIRXIST
  void set_directory(const std::string& name);     // CDIRSET
  void new_directory(const std::string& name);     // CDIRNEW; does not become the current one
  void delete_directory();                         // CDIRDEL: the current one

  // Files.
  std::vector<std::string> files();  // CFILELST
  // CFILETLST: those of an organisation, of a dimension (2 or 3). Before version 900000 core lines can't be
  // asked for.
  std::vector<std::string> files(std::optional<organisation> kind, std::optional<std::int32_t> dimension);
  bool file_exists(const std::string& name);  // CFILEXIST
  void set_file(const std::string& name);     // CFILESET
  void delete_file();                         // CFILEDEL: the current one
  client::file_info file_info();              // CFILEINFO

  // Variables of the current file.
  std::vector<std::string> variables();                        // CVARLST
  std::vector<std::string> variables(variable_filter filter);  // CVARTLST
  bool variable_exists(const std::string& name);               // CVARXIST
  void set_variable(const std::string& name);                  // CVARSET
  void delete_variable();                                      // CVARDEL: the current one
  client::variable_info variable_info();                       // CVARINFO

  // Comments.
  std::string comment(comment_owner owner);                        // CCOMGET
  void set_comment(comment_owner owner, const std::string& text);  // CCOMSET
  void set_variable_comment(const std::string& text);              // CVARCOMM

  // The selection that masks samples, and the column of a macro variable.
  void set_selection(const std::string& name);      // CSELSET; empty for none
  void set_index(std::int32_t index);               // CINDSET
  void set_index(const std::string& name);          // CINDASET
  std::vector<std::int32_t> macro_index_numbers();  // CMACROIND
  client::macro_indices macro_indices();            // CMACROALP
  // CMACROADD. The server ends at a number outside 1 to 99999 or at one given twice, and gives no answer to a
  // name that is empty, reserved ("None", "xxxxx") or holds a bracket.
  void add_macro_indices(std::span<const std::int32_t> numbers,
                         const std::optional<std::vector<std::string>>& names = std::nullopt);

  // Samples of the current variable. No range: the whole file. Versions that know no range send none.
  float_samples read_floats(std::optional<sample_range> range = std::nullopt,
                            selection_use use = selection_use::masked);                        // CREADVARF
  float_samples read_line(std::int32_t line);                                                  // CREADLINF
  std::vector<std::uint8_t> read_selection(std::optional<sample_range> range = std::nullopt);  // CREADVARS
  text_samples read_texts(std::optional<sample_range> range = std::nullopt,
                          selection_use use = selection_use::masked);  // CREADVARC
  void write_floats(std::span<const double> values, std::optional<sample_range> range = std::nullopt,
                    selection_use use = selection_use::masked, double missing = missing_value);  // CWRITVARF
  // The same with NaN for missing values.
  std::vector<double> read_numbers(std::optional<sample_range> range = std::nullopt,
                                   selection_use use = selection_use::masked);
  void write_numbers(std::span<const double> values, std::optional<sample_range> range = std::nullopt,
                     selection_use use = selection_use::masked);
  // CWRITLINF. REQUIRES: line >= 1; at a lower one the server leaves the values unread, and nothing that
  // follows is understood.
  void write_line(std::int64_t line, std::span<const double> values, double missing = missing_value);
  void write_selection(std::span<const std::uint8_t> values,
                       std::optional<sample_range> range = std::nullopt);  // CWRITVARS
  void write_texts(std::span<const std::string> values, std::optional<sample_range> range = std::nullopt,
                   selection_use use = selection_use::masked, const std::string& missing = {});  // CWRITVARC

  // Making files. Coordinates stand axis by axis: all X, then all Y, then all Z. Their number must be a
  // multiple of the dimension, 2 or 3.
  void new_points(const std::string& name, std::int32_t dimension,
                  std::span<const double> coordinates);                             // CPFILENEW
  void append_points(std::int32_t dimension, std::span<const double> coordinates);  // CPFILEAPP
  void new_grid(const std::string& name, const grid_geometry& grid);                // CGFILENEW
  void set_grid_origin(const point3& origin);                                       // GRIDMODO
  void set_grid_mesh(const point3& mesh);                                           // GRIDMODM
  void set_grid_rotation(double angle1, double angle2, double angle3);              // GRIDMODR: degrees
  void new_lines(const std::string& name, std::int32_t dimension);                  // CLFILENEW
  void append_line(std::int32_t dimension, std::span<const double> coordinates);    // CLFILEAPP
  // CLFILEAPC: a line of core segments, each from the end of the one before; the first from `start`.
  void append_cores(std::int32_t dimension, const point3& start, std::span<const double> ends);
  void link_lines(const std::string& points_file);  // CLFILELNK: the current file is the lines file
  std::vector<std::int32_t> line_lengths();         // CLFILECNT

  // Making variables in the current file. REQUIRES: a current file; without one the server refuses and leaves
  // the rest of the request unread, and nothing that follows is understood. No unit on 32 or 64 bits: a
  // length.
  void new_float_variable(const std::string& name, std::int32_t bits, const number_format& format = {},
                          const std::optional<std::string>& unit = std::nullopt);  // CVARFNEW
  void new_macro_variable(const std::string& name, std::int32_t bits, const number_format& format = {},
                          const std::optional<std::string>& unit = std::nullopt);  // CVARMNEW: "stem[xxxxx]"
  void new_text_variable(const std::string& name, std::int32_t characters);        // CVARCNEW
  void set_line_name();  // CVARLNAME: the current variable names the lines of the linked file

  // Objects of the current file, or a new file of them in the current directory.
  polygon_set polygons();                                                         // CPOLYGONS
  void new_polygons(const std::string& name, std::span<const contour> contours);  // CPOLYNEW
  std::vector<wireframe> wireframes();                                            // CWIREREAD
  // CWIRENEW. REQUIRES: a current directory without such a file, or the server leaves the rest of the
  // request unread. The server gives no answer to a file without objects.
  void new_wireframes(const std::string& name, std::span<const wireframe> objects);
  fault_set faults(std::int32_t highest_priority = 127);  // CFAULTS
  void write_faults(const fault_set& faults);             // CWRITFAUL: once for each file

  // Palettes of the open study, and of the root. At most 256 colours of 0 to 255.
  std::vector<std::string> palettes();                                        // CPALLST
  bool palette_exists(const std::string& name);                               // CPALXIST
  std::vector<rgb> palette(const std::string& name);                          // CPALREAD
  void write_palette(const std::string& name, std::span<const rgb> colours);  // CPALWRIT
  void delete_palette(const std::string& name);                               // CPALDEL

  // Colour scales of the open study.
  std::vector<std::string> scales();                                     // CSCALST
  bool scale_exists(const std::string& name);                            // CSCAXIST
  colour_scale scale(const std::string& name);                           // CSCAREAD
  void write_scale(const std::string& name, const colour_scale& scale);  // CSCANEW
  void delete_scale(const std::string& name);                            // CSCADEL

  // Vendor data of what is current.
  bool vendor_data_exists(const std::string& name, vendor_scope scope);                        // CVDATEXIS
  std::int32_t vendor_data_version(const std::string& name, vendor_scope scope);               // CVDATVERS
  vendor_bag vendor_data(const std::string& name, vendor_scope scope);                         // CVDATREAD
  void write_vendor_data(const std::string& name, vendor_scope scope, const vendor_bag& bag);  // CVDATWRIT

  // For requests that are not covered above, and for tests.
  packet request(std::string_view name) const { return packet(name, wire_.longs()); }
  stream& wire() { return wire_; }
  // Reads the name of an answer. SERROR is thrown as a refusal; another name than the expected one is a
  // protocol_error.
  void expect(std::string_view answer);
  // Sends a request and reads the name of its answer; what follows it is read from wire().
  void call(const packet& request, std::string_view answer);

 private:
  // Says goodbye if the connection is sound.
  void leave() noexcept;
  static connection greeted(stream wire, const options& settings);
  void greet(const options& settings);
  bool sends_float_range() const;
  bool sends_text_range() const;
  bool is_old() const;
  void add_range(packet& request, const std::optional<sample_range>& range) const;
  std::int64_t ask_for_floats(const std::optional<sample_range>& range, selection_use use);
  packet head_of_floats(std::size_t count, const std::optional<sample_range>& range, selection_use use,
                        double missing) const;
  // Sends a request whose arguments end in these values, and waits for SDONE.
  void send_values(const packet& head, std::span<const double> values);
  std::vector<std::string> list(const packet& request, std::string_view answer);
  bool exists(std::string_view request, const std::string& name);
  void named(std::string_view request, const std::string& name);
  void plain(std::string_view request);
  void new_number_variable(std::string_view request, const std::string& name, std::int32_t bits,
                           const number_format& format, const std::optional<std::string>& unit);

  stream wire_;
  std::int32_t version_;
  std::int32_t server_version_ = 0;
  std::uint64_t refusals_ = 0;
};

}  // namespace qrd::client

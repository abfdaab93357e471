// The data requests and those that choose a selection or a column, by the bytes of their answers.
#include <algorithm>
#include <iterator>

#include "requests/context.h"
#include "requests/data_request.h"
#include "samples/qd_implicit.h"
#include "support/console.h"
#include "support/requests.h"
#include "support/sample_study.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

std::string doubles(const char* name, const std::vector<double>& values) {
  bytes answer;
  answer.text(name).i64(static_cast<std::int64_t>(values.size())).f64(missing_double);
  for (double value : values) answer.f64(value);
  return answer.str();
}

std::string read_arguments(std::int64_t first, std::int64_t last, int compress = 0) {
  return bytes().i64(first, last).i32(compress).str();
}

std::string write_arguments(std::int64_t first, std::int64_t last, int compress, double test_value,
                            const std::vector<double>& values) {
  bytes request;
  request.i64(first, last).i32(compress).f64(test_value).i64(static_cast<std::int64_t>(values.size()));
  for (double value : values) request.f64(value);
  return request.str();
}

std::string write_texts(std::int64_t first, std::int64_t last, int compress, const std::string& test_value,
                        const std::vector<std::string>& texts) {
  bytes request;
  request.i64(first, last).i32(compress).text(test_value).i64(static_cast<std::int64_t>(texts.size()));
  for (const std::string& text : texts) request.text(text);
  return request.str();
}

class data_requests : public requests {
 protected:
  data_requests() : study_({.samples = 6}) {
    float_path_ = study_.add("V", VAR_FLOAT, 8, "\x01\x02\x03\xFF\x05\x06") + "/DATAVAR";
    text_path_ = study_.add("T", VAR_CHAR, 24, "abcde f  ghijklm o") + "/DATAVAR";
    selection_path_ = study_.add("S", VAR_FLOAT, 1, "\x64") + "/DATAVAR";  // selects samples 1, 4, 5
    macro_path_ = study_.add_macro("M[xxxxx]", 8, "abcdefghijkl", {30, 7}, {"thirty", "seven"}) + "/DATAVAR";
    study_.add_macro("B[xxxxx]", 1, "\x0F\x0F", {3, 4});
    study_.add_macro("N[xxxxx]", 8, "", {0});
    study_.add_implicit("SN", KIND_SAMPLE_NUMBER);
    set_current_directory("Dir");
    set_current_file("File");
  }
  void choose(const char* variable, const char* selection = no_name) {
    set_current_variable(variable);
    set_current_selection(selection);
  }
  // Requests leave nothing selected.
  ~data_requests() override {
    for (const qd_selected_entry* entry : sample_tables.selected) EXPECT_EQ(entry, nullptr);
    for (const qd_io* io : sample_tables.io) EXPECT_EQ(io, nullptr);
  }

  sample_study study_;
  std::string float_path_, text_path_, selection_path_, macro_path_;
};

TEST_F(data_requests, floats_are_read) {
  const double m = missing_double;
  choose("V");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1)), doubles("SDATAF", {1, 2, 3, m, 5, 6}));
  EXPECT_EQ(client_.status(), 0);
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(2, 2)), doubles("SDATAF", {2}));
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(5, -1, 1)), doubles("SDATAF", {5, 6}));
  choose("V", "S");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1, 1)), doubles("SDATAF", {1, m, 5}));
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(4, 6)), doubles("SDATAF", {m, 5, m}));
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(2, 3, 1)), doubles("SDATAF", {}));
  choose("SN");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(4, 5)), doubles("SDATAF", {4, 5}));
}

TEST_F(data_requests, computed_values_are_made_in_pieces) {
  constexpr std::int64_t many = 2 * samples_chunk + 7;
  study_.set_shape({.samples = many});
  std::string mask(static_cast<std::size_t>(many / 8 + 1),
                   '\xFF');  // leaves out whole pieces, and most of others
  mask.front() = '\x7F';
  mask[2 * samples_chunk / 8] = '\xEF';
  write_file(selection_path_, mask);
  choose("SN", "S");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1, 1)), doubles("SDATAF", {1, 200004}));
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(2, samples_chunk + 1, 1)), doubles("SDATAF", {}));

  // Too much for this socket: what the answers take the values from.
  for (const char* selection : {"S", no_name}) {
    bound numbers("SN", selection);
    sample_reader reader({});
    ASSERT_TRUE(qd_read_float_free(numbers.io(), SEL_MASKED, 3, many, reader));
    std::vector<double> values;
    for (auto piece = reader.next(); !piece.empty(); piece = reader.next()) {
      ASSERT_LE(piece.size(), static_cast<std::size_t>(samples_chunk));
      values.insert(values.end(), piece.begin(), piece.end());
    }
    std::vector<double> expected(many - 2, missing_double);
    for (std::int64_t i = 0; i < many - 2; ++i)
      if (selection == no_name || i + 3 == 200004)
        expected[static_cast<std::size_t>(i)] = static_cast<double>(i + 3);
    EXPECT_TRUE(values == expected) << selection;
  }
}

TEST_F(data_requests, units_of_floats) {
  const std::string path =
      study_.add("L", VAR_FLOAT, 64, bytes().f64(100, missing_double, 0, 0, 0, 0).str(), 0, 0, 2.5);
  choose("L");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(1, 2)), doubles("SDATAF", {1, missing_double}));
  current_context.unit_mode = 1;
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(1, 2)), doubles("SDATAF", {40, missing_double}));
  EXPECT_EQ(client_.ask("CWRITVARF", write_arguments(2, 3, 0, -1, {2, -1})), done());
  choose("L", "S");
  EXPECT_EQ(client_.ask("CWRITVARF", write_arguments(3, 5, 1, -1, {4, -1})), done());
  EXPECT_EQ(read_file(path + "/DATAVAR"), bytes().f64(100, 5, missing_double, 10, missing_double, 0).str());
}

TEST_F(data_requests, older_clients_send_no_range) {
  choose("V");
  for (int version : {100, 406, 410}) {
    connection.client_version = version;
    EXPECT_EQ(client_.ask("CREADVARF", bytes().i32(0).str()),
              doubles("SDATAF", {1, 2, 3, missing_double, 5, 6}))
        << version;
  }
  for (int version : {407, 409, 411}) {
    connection.client_version = version;
    EXPECT_EQ(client_.ask("CREADVARF", read_arguments(2, 3)), doubles("SDATAF", {2, 3})) << version;
  }
  choose("T");
  connection.client_version = 699999;
  EXPECT_EQ(client_.ask("CREADVARC", bytes().i32(0).str()).substr(0, 20),
            bytes().text("SDATAC").i64(6).str());
  connection.client_version = 700000;
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(2, 2)),
            bytes().text("SDATAC").i64(1).text("   ").text("de ").str());
}

TEST_F(data_requests, wrong_ranges) {
  struct {
    std::int64_t first, last;
    const char *read, *written;
  } const rows[] = {
      {0, 3, "First read Sample Number (0) doesn't match 1 <= SN <= 6",
       "First written Sample Number (0) doesn't verify 1 <= SN <= 6"},
      {7, 7, "First read Sample Number (7) doesn't match 1 <= SN <= 6",
       "First written Sample Number (7) doesn't verify 1 <= SN <= 6"},
      {1, 0, "Last read Sample Number (0) doesn't match 1 <= SN <= 6",
       "Last written Sample Number (0) doesn't verify 1 <= SN <= 6"},
      {1, 1LL << 62, "Last read Sample Number (4611686018427387904) doesn't match 1 <= SN <= 6",
       "Last written Sample Number (4611686018427387904) doesn't verify 1 <= SN <= 6"},
      {4, 3, "First read Sample Number (4) must be lower than Last (3)",
       "First written Sample Number (4) must be lower than Last (3)"},
  };
  for (const auto& row : rows) {
    const std::string range = bytes().i64(row.first, row.last).str();
    choose("S");
    EXPECT_EQ(client_.ask("CREADVARF", range + bytes().i32(0).str()), refusal(row.read));
    EXPECT_EQ(client_.ask("CREADVARS", range), refusal(row.read));
    EXPECT_EQ(client_.ask("CWRITVARF", write_arguments(row.first, row.last, 0, 0, {1})),
              refusal(row.written));
    EXPECT_EQ(client_.ask("CWRITVARS", range + bytes().i64(1).u8(1).str()), refusal(row.written));
    choose("T");
    EXPECT_EQ(client_.ask("CREADVARC", range + bytes().i32(0).str()), refusal(row.read));
    EXPECT_EQ(client_.ask("CWRITVARC", write_texts(row.first, row.last, 0, "", {"a"})), refusal(row.written));
    EXPECT_EQ(client_.status(), -1);
  }
  study_.set_shape({.samples = 0});
  choose("V");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1)),
            refusal("First read Sample Number (1) doesn't match 1 <= SN <= 0"));
}

TEST_F(data_requests, steps_before_the_range) {
  const std::string read = read_arguments(0, 0), write = write_arguments(0, 0, 0, 0, {1, 2, 3});
  choose(no_name);
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Variable is not set"));
  EXPECT_EQ(client_.ask("CWRITVARF", write), refusal("Variable is not set"));
  choose("gone");
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Error while getting file or Variable information"));
  EXPECT_EQ(client_.ask("CWRITVARF", write), refusal("Error while getting file or Variable information"));
  choose("M[xxxxx]");
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("No indice is defined for current macro variable"));
  EXPECT_EQ(client_.ask("CWRITVARF", write), refusal("No indice is defined for current macro variable"));
  set_current_file("vanished");
  choose("V");
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Error while getting file or Variable information"));
}

TEST_F(data_requests, what_can_not_be_selected) {
  const std::string read = read_arguments(1, 6);
  choose("V", "gone");
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Cannot select selection variable gone"));
  choose("V", "B[xxxxx]");  // a family selects nothing
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Cannot select selection variable B[xxxxx]"));
  choose("M[8]");
  current_context.indice = 8;
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Cannot select variable"));
  choose("M[7]");
  current_context.indice = 7;
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Cannot set macro indices for variable"));
  choose("M[xxxxx]");
  current_context.indice = 8;
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Cannot set macro indices for variable"));
  // A data file whose archive is broken.
  std::filesystem::remove(float_path_);
  write_file(float_path_ + ".gz", "\x1F\x8B.");
  choose("V");
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Cannot select variable"));
}

TEST_F(data_requests, columns_by_the_current_index) {
  choose("M[xxxxx]");
  EXPECT_EQ(client_.ask("CINDASET", bytes().text("seven").str()), done());
  EXPECT_EQ(current_context.indice, 7);
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(1, 2)), doubles("SDATAF", {'g', 'h'}));
  EXPECT_EQ(client_.ask("CWRITVARF", write_arguments(2, 3, 0, 'x', {'y', 'x'})), done());
  EXPECT_EQ(read_file(macro_path_), "abcdefgy\xFFjkl");
  EXPECT_EQ(client_.ask("CINDSET", bytes().i32(30).str()), done());
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(1, 2)), doubles("SDATAF", {'a', 'b'}));
  choose("B[xxxxx]");
  ASSERT_EQ(client_.ask("CINDSET", bytes().i32(4).str()), done());
  EXPECT_EQ(client_.ask("CREADVARS", bytes().i64(1, 6).str()),
            bytes().text("SDATAS").i64(6).raw(std::string("\0\0\1\1\1\1", 6)).str());
}

TEST_F(data_requests, indices_of_a_macro) {
  choose("M[xxxxx]");
  EXPECT_EQ(client_.ask("CMACROIND"), bytes().text("SMACROIND").i32(2, 7, 30).str());
  EXPECT_EQ(client_.ask("CMACROALP"),
            bytes().text("SMACROALP").i32(2, 7, 30, 1).text("seven").text("thirty").str());
  choose("B[99]");  // a column that is not there still names its family
  EXPECT_EQ(client_.ask("CMACROALP"), bytes().text("SMACROALP").i32(2, 3, 4, 0).str());
  EXPECT_EQ(client_.ask("CINDASET", bytes().text("seven").str()),
            refusal("Not a valid alpha indice (seven) for current Velmar variable: None: Dir/File/B[99]"));
  EXPECT_EQ(client_.ask("CINDSET", bytes().i32(5).str()),
            refusal("Not a valid indice (5) for current Velmar variable: None: Dir/File/B[99]"));
  choose("N[xxxxx]");
  EXPECT_EQ(client_.ask("CMACROIND"), refusal("No valid macro variable indices defined"));
  EXPECT_EQ(client_.ask("CINDSET", bytes().i32(0).str()),
            refusal("Not a valid indice (0) for current Velmar variable: None: Dir/File/N[xxxxx]"));
  choose("V");
  EXPECT_EQ(client_.ask("CMACROIND"), refusal("Variable is not a macro variable\n"));
  EXPECT_EQ(client_.ask("CINDSET", bytes().i32(1).str()),
            refusal("Not a valid Velmar macro: None: Dir/File/V"));
  choose("gone");
  EXPECT_EQ(client_.ask("CMACROIND"), refusal("Cannot get variable info"));
  EXPECT_EQ(client_.ask("CINDASET", bytes().text("a").str()), refusal("Cannot get variable info"));
  choose(no_name);
  EXPECT_EQ(client_.ask("CMACROALP"), refusal("Variable is not set"));
  EXPECT_EQ(client_.ask("CINDSET", bytes().i32(1).str()), refusal("Variable is not set"));
  EXPECT_EQ(current_context.indice, -1);
  const std::filesystem::path descriptor = std::filesystem::path(macro_path_).parent_path() / "MACRO";
  choose("M[xxxxx]");
  for (bool is_there : {true, false}) {
    if (is_there)
      write_file(descriptor, "damaged");
    else
      std::filesystem::remove(descriptor);
    EXPECT_EQ(client_.ask("CMACROIND"), refusal("Cannot get variable info"));
    EXPECT_EQ(client_.ask("CMACROALP"), refusal("Cannot get variable info"));
    EXPECT_EQ(client_.ask("CINDSET", bytes().i32(7).str()), refusal("Cannot get variable info"));
    EXPECT_EQ(client_.ask("CINDASET", bytes().text("a").str()), refusal("Cannot get variable info"));
    current_context.indice = 7;
    EXPECT_EQ(client_.ask("CREADVARF", bytes().i64(-1, -1).i32(0).str()),
              refusal("Cannot set macro indices for variable"));
  }
}

TEST_F(data_requests, a_full_table_refuses_and_lives_on) {
  qd_selected_entry other;
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), &other);
  choose("M[xxxxx]");
  for (const char* request : {"CMACROIND", "CMACROALP", "CVARINFO"})
    EXPECT_EQ(client_.ask(request), refusal("Cannot get variable info"));
  EXPECT_EQ(client_.ask("CINDSET", bytes().i32(7).str()), refusal("Cannot get variable info"));
  choose("V");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1)), refusal("Cannot select variable"));
  choose("V", "S");
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1)), refusal("Cannot select selection variable S"));
  EXPECT_EQ(client_.ask("CWRITVARF", bytes().i64(1, 1).i32(1).f64(0).i64(0).str()),
            refusal("Cannot get statitics on current selection S"));
  // One place is not enough for two.
  sample_tables.selected[9] = nullptr;
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1)), refusal("Cannot select selection variable S"));
  EXPECT_EQ(sample_tables.selected[9], nullptr);
  // Nothing can be bound to the last one.
  choose("V");
  std::swap(sample_tables.selected[9], sample_tables.selected[511]);
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(1, 2)), refusal("Cannot get io for variable"));
  sample_tables.selected[3] = nullptr;
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(1, 2)), doubles("SDATAF", {1, 2}));
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), nullptr);
}

TEST_F(data_requests, the_selection_is_set) {
  auto set = [&](const std::string& name) { return client_.ask("CSELSET", bytes().text(name).str()); };
  EXPECT_EQ(set("S"), done());
  EXPECT_STREQ(current_context.selection, "S");
  EXPECT_EQ(set("B[3]"), done());
  EXPECT_STREQ(current_context.selection, "B[3]");
  EXPECT_EQ(set("B[5]"), refusal("Not a valid Velmar variable: None: Dir/File/B[5]"));
  EXPECT_EQ(set("gone"), refusal("Not a valid Velmar variable: None: Dir/File/gone"));
  for (const char* name : {"V", "T", "SN", "M[7]"})
    EXPECT_EQ(set(name), refusal("Variable is not a selection"));
  study_.add("odd", VAR_FLOAT, 1, "", 0, 1);
  EXPECT_EQ(set("odd"), refusal("Variable is not a selection"));
  EXPECT_STREQ(current_context.selection, "B[3]");
  EXPECT_EQ(set(""), done());
  EXPECT_STREQ(current_context.selection, "None");
  set_current_file(no_name);
  EXPECT_EQ(set("S"), refusal("File is not set"));
}

TEST_F(data_requests, floats_are_written) {
  auto write = [&](std::int64_t first, std::int64_t last, int compress, double test_value,
                   const std::vector<double>& values) {
    return client_.ask("CWRITVARF", write_arguments(first, last, compress, test_value, values));
  };
  choose("V");
  EXPECT_EQ(write(2, 4, 0, -999, {10, -999, missing_double}), done());
  EXPECT_EQ(read_file(float_path_), "\x01\x0A\xFF\xFF\x05\x06");
  EXPECT_EQ(write(1, 1, 1, missing_double, {9.9}), done());
  EXPECT_EQ(read_file(float_path_), "\x09\x0A\xFF\xFF\x05\x06");
  EXPECT_EQ(write(1, 3, 0, 0, {1, 2}),
            refusal("Array size does not match non-compressed selection (2/3 samples)"));
  EXPECT_EQ(write(1, 3, 1, 0, {1, 2, 3, 4}),
            refusal("Array size does not match compressed selection (4/3 samples)"));
  choose("V", "S");
  EXPECT_EQ(write(-1, -1, 1, 0, {21, 24, 25}), done());
  EXPECT_EQ(read_file(float_path_), "\x15\x0A\xFF\x18\x19\x06");
  EXPECT_EQ(write(2, 5, 0, 0, {1, 1, 34, 35}), done());
  EXPECT_EQ(read_file(float_path_), "\x15\x0A\xFF\x22\x23\x06");
  EXPECT_EQ(write(1, 6, 1, 0, {1, 2}),
            refusal("Array size does not match compressed selection (2/3 samples)"));
  EXPECT_EQ(write(2, 3, 1, 0, {}), done());  // nothing selected, nothing written
  EXPECT_EQ(write(1, 6, 0, 0, {}),
            refusal("Array size does not match non-compressed selection (0/6 samples)"));
  choose("V", "gone");
  EXPECT_EQ(write(1, 1, 1, 0, {1}), refusal("Cannot get statitics on current selection gone"));
  EXPECT_EQ(read_file(float_path_), "\x15\x0A\xFF\x22\x23\x06");
}

TEST_F(data_requests, what_has_no_numbers_is_refused) {
  const std::string read = read_arguments(1, 2), write = write_arguments(1, 2, 0, 0, {1, 2});
  const std::string before = read_file(text_path_);
  choose("T");
  EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Problem while reading Dir/File/T"));
  EXPECT_EQ(client_.ask("CWRITVARF", write), refusal("Problem while writing Dir/File/T"));
  EXPECT_EQ(read_file(text_path_), before);
  choose("SN");
  EXPECT_EQ(client_.ask("CWRITVARF", write), refusal("Problem while writing Dir/File/SN"));
  study_.add_implicit("LN", KIND_LINE_NUMBER);  // in a points file
  study_.add_implicit("odd", KIND_PLAIN);
  for (const char* name : {"LN", "odd"}) {
    choose(name);
    EXPECT_EQ(client_.ask("CREADVARF", read), refusal("Problem while reading Dir/File/" + std::string(name)));
  }
}

TEST_F(data_requests, a_file_that_has_changed_since_the_look_up_is_refused) {
  choose("V");
  for (std::int64_t samples : {5, 7}) {
    enum { without, chosen, counted };
    for (int selection : {without, chosen, counted}) {
      study_.set_shape({.samples = 6});
      set_current_selection(selection == without ? no_name : "S");
      data_request data(data_request::writing);
      ASSERT_TRUE(data.find_variable() && data.check_range());
      if (selection == counted) {
        EXPECT_GT(data.count_selected(), 0);
      }
      study_.set_shape({.samples = samples});  // by another server
      EXPECT_FALSE(data.open());
    }
    set_current_selection(no_name);
    EXPECT_EQ(client_.ask("CREADVARF", read_arguments(2, 2)),
              refusal("Cannot select variable") + refusal("Cannot select selection variable S") +
                  refusal("Cannot select variable") + doubles("SDATAF", {2}));
  }
}

TEST_F(data_requests, counts_that_ask_for_too_much) {
  choose("V");
  const std::int64_t most = std::int64_t{1} << 62;
  EXPECT_EQ(client_.ask("CWRITVARF", bytes().i64(1, 1).i32(0).f64(0).i64(most).str()),
            refusal("Memory allocation failed (9223372036854775807 bytes)"));
  EXPECT_EQ(client_.ask("CWRITVARF", bytes().i64(1, 1).i32(0).f64(0).i64(-2).str()),
            refusal("Memory allocation failed (-16 bytes)"));
  EXPECT_EQ(client_.ask("CWRITVARS", bytes().i64(1, 1, -3).str()),
            refusal("Memory allocation failed for byte array (-3 bytes)"));
  EXPECT_EQ(client_.ask("CWRITVARC", bytes().i64(1, 1).i32(0).text("").i64(-1).str()),
            refusal("Memory allocation failed (-8 bytes)"));
  // Before the first text comes: it would be waited for.
  EXPECT_EQ(client_.ask("CWRITVARC", bytes().i64(1, 1).i32(0).text("").i64(most).str()),
            refusal("Memory allocation failed (9223372036854775807 bytes)"));
  study_.set_shape({.samples = most});
  EXPECT_EQ(client_.ask("CREADVARF", read_arguments(-1, -1)),
            refusal("Memory allocation failed (9223372036854775807 bytes)"));
  study_.set_shape({.samples = most / 8});
  choose("T");
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(-1, -1)),
            refusal("Memory allocation failed (2305843009213693952 bytes)"));
  choose("S");
  EXPECT_EQ(client_.ask("CREADVARS", bytes().i64(1, 1).str()),
            refusal("Memory allocation failed for byte array (576460752303423488 bytes)"));
}

TEST_F(data_requests, selections_as_bytes) {
  auto write = [&](std::int64_t first, std::int64_t last, const std::string& values) {
    return client_.ask("CWRITVARS",
                       bytes().i64(first, last, static_cast<std::int64_t>(values.size())).raw(values).str());
  };
  choose("S");
  EXPECT_EQ(client_.ask("CREADVARS", bytes().i64(-1, -1).str()),
            bytes().text("SDATAS").i64(6).raw(std::string("\1\0\0\1\1\0", 6)).str());
  EXPECT_EQ(client_.ask("CREADVARS", bytes().i64(2, 4).str()),
            bytes().text("SDATAS").i64(3).raw(std::string("\0\0\1", 3)).str());
  // Any byte but 0 selects in a whole variable, only 1 in a part of it.
  EXPECT_EQ(write(1, 6, std::string("\2\0\1\0\0\xFF", 6)), done());
  EXPECT_EQ(to_bits(read_file(selection_path_)), "01011000");
  EXPECT_EQ(write(2, 4, std::string("\2\0\1", 3)), done());
  EXPECT_EQ(to_bits(read_file(selection_path_)), "01101000");
  EXPECT_EQ(write(2, 4, std::string("\1\1", 2)),
            refusal("Array size does not match non-compressed selection (2/3 samples)"));
  // Under the current selection, here the first column of B: samples 1 to 4.
  choose("S", "B[3]");
  EXPECT_EQ(write(1, 6, std::string("\0\1\1\1\1\0", 6)), done());
  EXPECT_EQ(to_bits(read_file(selection_path_)), "10001000");
  EXPECT_EQ(client_.ask("CREADVARS", bytes().i64(-1, -1).str()),
            bytes().text("SDATAS").i64(6).raw(std::string("\0\1\1\1\0\0", 6)).str());
  // A column that begins inside a byte.
  choose("B[xxxxx]");
  ASSERT_EQ(client_.ask("CINDSET", bytes().i32(4).str()), done());
  const auto columns = [&] { return to_bits(read_file(study_.file_path() + "/VARI.5/DATAVAR")); };
  EXPECT_EQ(write(1, 6, std::string("\1\0\2\0\0\1", 6)), done());
  EXPECT_EQ(columns(), "0000110101101111");
  EXPECT_EQ(write(2, 4, std::string("\1\2\0", 3)), done());
  EXPECT_EQ(columns(), "0000110011101111");
  set_current_selection("S");  // samples 2, 3, 4 and 6
  EXPECT_EQ(write(1, 6, "\1\1\1\1\1\1"), done());
  EXPECT_EQ(columns(), "0000110000101111");
  choose("V");
  EXPECT_EQ(write(1, 1, "\1"), refusal("Bit length different than 1"));
  EXPECT_FATAL(client_.ask("CREADVARS", bytes().i64(1, 6).str()), "No 30 in function qd_read_selection_free");
}

// Answers are made in pieces while they are sent: no seam, and nothing behind the last one.
TEST_F(data_requests, answers_of_several_pieces) {
  constexpr int many = 4200, width = 40, last_text = 1700;
  study_.set_shape({.samples = many});
  std::string texts, bits(many / 8, '\0');
  bytes text_answer, bit_answer;
  text_answer.text("SDATAC").i64(last_text - 1).text(std::string(width, ' '));
  bit_answer.text("SDATAS").i64(many - 1);
  for (int i = 0; i < many; ++i) {
    const std::string text = std::string(width - 4, 'x') + std::to_string(1000 + i);
    texts += text;
    const bool is_selected = i % 11 < 4;
    if (!is_selected) bits[static_cast<std::size_t>(i / 8)] |= static_cast<char>(0x80 >> i % 8);
    if (i == 0) continue;
    if (i < last_text) text_answer.text(text);
    bit_answer.raw(std::string(1, is_selected ? '\1' : '\0'));
  }
  study_.add("W", VAR_CHAR, 8 * width, texts);
  write_file(selection_path_, bits);
  choose("W");
  EXPECT_TRUE(client_.ask("CREADVARC", read_arguments(2, last_text)) == text_answer.str());
  choose("S");
  EXPECT_TRUE(client_.ask("CREADVARS", bytes().i64(2, many).str()) == bit_answer.str());
}

TEST_F(data_requests, texts_are_read_and_written) {
  auto answer = [](const std::vector<std::string>& texts) {
    bytes expected;
    expected.text("SDATAC").i64(static_cast<std::int64_t>(texts.size())).text("   ");
    for (const std::string& text : texts) expected.text(text);
    return expected.str();
  };
  choose("T", "S");
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(1, 6)),
            answer({"abc", "   ", "   ", "ghi", "jkl", "   "}));
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(2, 6, 1)), answer({"ghi", "jkl"}));
  EXPECT_EQ(client_.ask("CWRITVARC", write_texts(1, 6, 1, "?", {"long one", "?", "x"})), done());
  EXPECT_EQ(read_file(text_path_), "londe f     x  m o");
  EXPECT_EQ(client_.ask("CWRITVARC", write_texts(3, 4, 0, "-", {"3", "4"})), done());
  EXPECT_EQ(read_file(text_path_), "londe f  4  x  m o");
  EXPECT_EQ(client_.ask("CWRITVARC", write_texts(1, 6, 1, "", {"a"})),
            refusal("Array size does not match compressed selection (1/3 samples)"));
  choose("T");
  EXPECT_EQ(client_.ask("CWRITVARC", write_texts(5, 6, 0, "", {"", "six"})), done());
  EXPECT_EQ(read_file(text_path_), "londe f  4     six");
  for (const char* name : {"V", "SN", "M[xxxxx]"}) {
    choose(name);
    EXPECT_EQ(client_.ask("CWRITVARC", write_texts(1, 1, 0, "", {"a"})),
              refusal("Variable " + std::string(name) + " is not a character variable"));
  }
  choose("SN");
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(1, 1)),
            refusal("Variable SN is not a character variable"));
  choose("S");
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(1, 1)),
            refusal("Variable S is not a character variable"));
  choose("M[xxxxx]");  // no index is asked for
  EXPECT_EQ(client_.ask("CREADVARC", read_arguments(1, 2)),
            bytes().text("SDATAC").i64(2).text(" ").text("a").text("b").str());
}

class line_requests : public requests {
 protected:
  line_requests() : study_({.samples = 6, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 4, 5, 7}}) {
    path_ = study_.add("V", VAR_FLOAT, 8, "abcdef") + "/DATAVAR";
    study_.add("T", VAR_CHAR, 8, "abcdef");
    study_.add("S", VAR_FLOAT, 1, "\x90");  // leaves out samples 1 and 4
    set_current_directory("Dir");
    set_current_file("File");
    set_current_variable("V");
  }
  std::string read(int line) { return client_.ask("CREADLINF", bytes().i32(line).str()); }
  std::string write(std::int64_t line, const std::vector<double>& values) {
    bytes request;
    request.i64(line, static_cast<std::int64_t>(values.size())).f64(-1);
    for (double value : values) request.f64(value);
    return client_.ask("CWRITLINF", request.str());
  }
  static std::string answer(const std::vector<double>& values) {
    bytes expected;
    expected.text("SDATAF").i32(static_cast<int>(values.size())).f64(missing_double);
    for (double value : values) expected.f64(value);
    return expected.str();
  }

  sample_study study_;
  std::string path_;
};

TEST_F(line_requests, read) {
  EXPECT_EQ(read(1), answer({'a', 'b', 'c'}));
  EXPECT_EQ(read(3), answer({'e', 'f'}));
  set_current_selection("S");
  EXPECT_EQ(read(1), answer({missing_double, 'b', 'c'}));
  EXPECT_EQ(read(0), refusal("Wrong line index"));
  EXPECT_EQ(read(4), refusal("Wrong line index (4) where file only contains 3 lines"));
  set_current_variable("T");
  EXPECT_EQ(read(1), refusal("Problem while reading Dir/File/T"));
  set_current_variable("gone");
  EXPECT_EQ(read(1), refusal("Cannot select variable"));
  set_current_variable(no_name);
  EXPECT_EQ(read(1), refusal("Variable is not set"));
  for (const qd_selected_entry* entry : sample_tables.selected) EXPECT_EQ(entry, nullptr);
}

TEST_F(line_requests, write) {
  EXPECT_EQ(write(2, {'x'}), done());
  EXPECT_EQ(write(3, {-1, 'z'}), done());
  EXPECT_EQ(read_file(path_), "abcx\xFFz");
  EXPECT_EQ(write(3, {1}), refusal("Wrong number of sample (1) where line 3 has 2 samples"));
  EXPECT_EQ(write(4, {1}), refusal("Wrong line index"));
  set_current_variable("T");
  EXPECT_EQ(write(2, {1}), refusal("Problem while writing Dir/File/T"));
  EXPECT_EQ(read_file(path_), "abcx\xFFz");
  EXPECT_EQ(client_.ask("CWRITLINF", bytes().i64(1, -5).f64(0).str()),
            refusal("Memory allocation failed (-40 bytes)"));
}

TEST_F(line_requests, a_wrong_line_leaves_the_array_unread) {
  EXPECT_EQ(write(0, {7, 8}), refusal("Wrong line index"));
  // A request that needs an argument finds one there.
  EXPECT_NE(client_.ask("CREADLINF"), "");
}

TEST_F(line_requests, the_selection_of_a_write_stays_selected) {
  set_current_selection("S");
  EXPECT_EQ(write(1, {'A', 'B', 'C'}), done());
  EXPECT_EQ(write(2, {'D'}), done());
  EXPECT_EQ(read_file(path_), "aBCdef");
  ASSERT_NE(sample_tables.selected[0], nullptr);
  EXPECT_STREQ(sample_tables.selected[0]->variable_name, "S");
  EXPECT_EQ(sample_tables.selected[0]->reference_count, 2);
  EXPECT_EQ(sample_tables.selected[1], nullptr);
  // Other requests use it and leave it; another server may have lengthened the file.
  study_.set_shape({.samples = 7, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 4, 5, 7, 8}});
  write_file(path_, "aBCdefg");
  EXPECT_EQ(read(4), answer({'g'}));
  EXPECT_EQ(sample_tables.selected[0]->reference_count, 2);
}

TEST_F(line_requests, other_files) {
  study_.set_shape({.samples = 6});
  EXPECT_EQ(read(1), refusal("Current file is not a lines file"));
  EXPECT_EQ(write(1, {1, 2, 3}), refusal("Current file is not a lines file"));
  study_.set_shape({.samples = 0, .organisation = ORG_LINES_CORES, .line_table = {1}});
  EXPECT_EQ(read(1), refusal("Wrong line index (1) where file only contains 0 lines"));
  EXPECT_EQ(write(1, {}), refusal("Wrong line index"));
  set_current_file("vanished");
  set_current_variable("V");
  EXPECT_EQ(read(1), refusal("Error while getting file information"));
}

}  // namespace
}  // namespace qrd::test

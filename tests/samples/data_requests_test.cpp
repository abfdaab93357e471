// The data requests and those that choose a selection or a column, by the bytes of their answers.
#include "requests/data_request.h"
#include "support/requests.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

std::int64_t count_of(const auto& values) {
  return static_cast<std::int64_t>(values.size());
}

bytes doubles(const std::vector<double>& values) {
  return bytes("SDATAF").i64(count_of(values)).f64(missing_double).f64(values);
}

bytes range(std::int64_t first, std::int64_t last, int compress = 0) {
  return bytes().i64(first, last).i32(compress);
}

bytes numbers(std::int64_t first, std::int64_t last, int compress, double test_value,
              const std::vector<double>& values) {
  return range(first, last, compress).f64(test_value).i64(count_of(values)).f64(values);
}

bytes texts(std::int64_t first, std::int64_t last, int compress, const std::string& test_value,
            const strings& values) {
  return range(first, last, compress).text(test_value).i64(count_of(values)).text(values);
}

struct data_requests : requests {
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
  void expect_floats(const bytes& range, const std::vector<double>& values) {
    expect_answer("CREADVARF", range, doubles(values));
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
  expect_floats(range(-1, -1), {1, 2, 3, m, 5, 6});
  EXPECT_EQ(client_.status(), 0);
  expect_floats(range(2, 2), {2});
  expect_floats(range(5, -1, 1), {5, 6});
  choose("V", "S");
  expect_floats(range(-1, -1, 1), {1, m, 5});
  expect_floats(range(4, 6), {m, 5, m});
  expect_floats(range(2, 3, 1), {});
  choose("SN");
  expect_floats(range(4, 5), {4, 5});
}

TEST_F(data_requests, computed_values_are_made_in_pieces) {
  constexpr std::int64_t many = 2 * samples_chunk + 7;
  study_.set_shape({.samples = many});
  std::string mask(many / 8 + 1, '\xFF');  // leaves out whole pieces, and most of others
  mask.front() = '\x7F';
  mask[2 * samples_chunk / 8] = '\xEF';
  write_file(selection_path_, mask);
  choose("SN", "S");
  expect_floats(range(-1, -1, 1), {1, 200004});
  expect_floats(range(2, samples_chunk + 1, 1), {});

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
      study_.add("L", VAR_FLOAT, 64, bytes().f64(100, missing_double, 0, 0, 0, 0), 0, 0, 2.5);
  choose("L");
  expect_floats(range(1, 2), {1, missing_double});
  current_context.unit_mode = 1;
  expect_floats(range(1, 2), {40, missing_double});
  expect_done("CWRITVARF", numbers(2, 3, 0, -1, {2, -1}));
  choose("L", "S");
  expect_done("CWRITVARF", numbers(3, 5, 1, -1, {4, -1}));
  EXPECT_EQ(read_file(path + "/DATAVAR"), bytes().f64(100, 5, missing_double, 10, missing_double, 0));
}

TEST_F(data_requests, older_clients_send_no_range) {
  choose("V");
  for (int version : {100, 406, 410}) {
    connection.client_version = version;
    EXPECT_EQ(ask("CREADVARF", bytes().i32(0)), doubles({1, 2, 3, missing_double, 5, 6})) << version;
  }
  for (int version : {407, 409, 411}) {
    connection.client_version = version;
    EXPECT_EQ(ask("CREADVARF", range(2, 3)), doubles({2, 3})) << version;
  }
  choose("T");
  connection.client_version = 699999;
  EXPECT_EQ(ask("CREADVARC", bytes().i32(0)).substr(0, 20), bytes("SDATAC").i64(6));
  connection.client_version = 700000;
  expect_answer("CREADVARC", range(2, 2), bytes("SDATAC").i64(1).text("   ").text("de "));
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
    choose("S");
    expect_refused("CREADVARF", range(row.first, row.last), row.read);
    expect_refused("CREADVARS", bytes().i64(row.first, row.last), row.read);
    expect_refused("CWRITVARF", numbers(row.first, row.last, 0, 0, {1}), row.written);
    expect_refused("CWRITVARS", bytes().i64(row.first, row.last, 1).u8(1), row.written);
    choose("T");
    expect_refused("CREADVARC", range(row.first, row.last), row.read);
    expect_refused("CWRITVARC", texts(row.first, row.last, 0, "", {"a"}), row.written);
  }
  study_.set_shape({.samples = 0});
  choose("V");
  expect_refused("CREADVARF", range(-1, -1), "First read Sample Number (1) doesn't match 1 <= SN <= 0");
}

TEST_F(data_requests, steps_before_the_range) {
  const std::pair<const char*, const char*> rows[] = {
      {no_name, "Variable is not set"},
      {"gone", "Error while getting file or Variable information"},
      {"M[xxxxx]", "No indice is defined for current macro variable"}};
  for (const auto& [variable, text] : rows) {
    choose(variable);
    expect_refused("CREADVARF", range(0, 0), text);
    expect_refused("CWRITVARF", numbers(0, 0, 0, 0, {1, 2, 3}), text);
  }
  set_current_file("vanished");
  choose("V");
  expect_refused("CREADVARF", range(0, 0), rows[1].second);
}

TEST_F(data_requests, what_can_not_be_selected) {
  const bytes read = range(1, 6);
  choose("V", "gone");
  expect_refused("CREADVARF", read, "Cannot select selection variable gone");
  choose("V", "B[xxxxx]");  // a family selects nothing
  expect_refused("CREADVARF", read, "Cannot select selection variable B[xxxxx]");
  choose("M[8]");
  current_context.indice = 8;
  expect_refused("CREADVARF", read, "Cannot select variable");
  choose("M[7]");
  current_context.indice = 7;
  expect_refused("CREADVARF", read, "Cannot set macro indices for variable");
  choose("M[xxxxx]");
  current_context.indice = 8;
  expect_refused("CREADVARF", read, "Cannot set macro indices for variable");
  // A data file whose archive is broken.
  fs::remove(float_path_);
  write_file(float_path_ + ".gz", "\x1F\x8B.");
  choose("V");
  expect_refused("CREADVARF", read, "Cannot select variable");
}

TEST_F(data_requests, columns_by_the_current_index) {
  choose("M[xxxxx]");
  expect_done("CINDASET", "seven");
  EXPECT_EQ(current_context.indice, 7);
  expect_floats(range(1, 2), {'g', 'h'});
  expect_done("CWRITVARF", numbers(2, 3, 0, 'x', {'y', 'x'}));
  EXPECT_EQ(read_file(macro_path_), "abcdefgy\xFFjkl");
  expect_done("CINDSET", bytes().i32(30));
  expect_floats(range(1, 2), {'a', 'b'});
  choose("B[xxxxx]");
  expect_done("CINDSET", bytes().i32(4));
  expect_answer("CREADVARS", bytes().i64(1, 6), bytes("SDATAS").i64(6).u8(0, 0, 1, 1, 1, 1));
}

TEST_F(data_requests, indices_of_a_macro) {
  choose("M[xxxxx]");
  expect_answer("CMACROIND", {}, bytes("SMACROIND").i32(2, 7, 30));
  expect_answer("CMACROALP", {}, bytes("SMACROALP").i32(2, 7, 30, 1).text("seven").text("thirty"));
  choose("B[99]");  // a column that is not there still names its family
  expect_answer("CMACROALP", {}, bytes("SMACROALP").i32(2, 3, 4, 0));
  expect_refused("CINDASET", "seven",
                 "Not a valid alpha indice (seven) for current Velmar variable: None: Dir/File/B[99]");
  expect_refused("CINDSET", bytes().i32(5),
                 "Not a valid indice (5) for current Velmar variable: None: Dir/File/B[99]");
  choose("N[xxxxx]");
  expect_refused("CMACROIND", {}, "No valid macro variable indices defined");
  expect_refused("CINDSET", bytes().i32(0),
                 "Not a valid indice (0) for current Velmar variable: None: Dir/File/N[xxxxx]");
  choose("V");
  expect_refused("CMACROIND", {}, "Variable is not a macro variable\n");
  expect_refused("CINDSET", bytes().i32(1), "Not a valid Velmar macro: None: Dir/File/V");
  choose("gone");
  expect_refused("CMACROIND", {}, "Cannot get variable info");
  expect_refused("CINDASET", "a", "Cannot get variable info");
  choose(no_name);
  expect_refused("CMACROALP", {}, "Variable is not set");
  expect_refused("CINDSET", bytes().i32(1), "Variable is not set");
  EXPECT_EQ(current_context.indice, -1);
  const fs::path descriptor = fs::path(macro_path_).parent_path() / "MACRO";
  choose("M[xxxxx]");
  write_file(descriptor, "damaged");
  for (int round = 0; round < 2; ++round, fs::remove(descriptor)) {
    expect_refused("CMACROIND", {}, "Cannot get variable info");
    expect_refused("CMACROALP", {}, "Cannot get variable info");
    expect_refused("CINDSET", bytes().i32(7), "Cannot get variable info");
    expect_refused("CINDASET", "a", "Cannot get variable info");
    current_context.indice = 7;
    expect_refused("CREADVARF", range(-1, -1), "Cannot set macro indices for variable");
  }
}

TEST_F(data_requests, a_full_table_refuses_and_lives_on) {
  qd_selected_entry other;
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), &other);
  choose("M[xxxxx]");
  for (const char* request : {"CMACROIND", "CMACROALP", "CVARINFO"})
    expect_refused(request, {}, "Cannot get variable info");
  expect_refused("CINDSET", bytes().i32(7), "Cannot get variable info");
  choose("V");
  expect_refused("CREADVARF", range(-1, -1), "Cannot select variable");
  choose("V", "S");
  expect_refused("CREADVARF", range(-1, -1), "Cannot select selection variable S");
  expect_refused("CWRITVARF", bytes().i64(1, 1).i32(1).f64(0).i64(0),
                 "Cannot get statitics on current selection S");
  // One place is not enough for two.
  sample_tables.selected[9] = nullptr;
  expect_refused("CREADVARF", range(-1, -1), "Cannot select selection variable S");
  EXPECT_EQ(sample_tables.selected[9], nullptr);
  // Nothing can be bound to the last one.
  choose("V");
  std::swap(sample_tables.selected[9], sample_tables.selected[511]);
  expect_refused("CREADVARF", range(1, 2), "Cannot get io for variable");
  sample_tables.selected[3] = nullptr;
  expect_floats(range(1, 2), {1, 2});
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), nullptr);
}

TEST_F(data_requests, the_selection_is_set) {
  for (const char* name : {"S", "B[3]"}) {
    expect_done("CSELSET", name);
    EXPECT_STREQ(current_context.selection, name);
  }
  for (const std::string name : {"B[5]", "gone"})
    expect_refused("CSELSET", bytes(name), "Not a valid Velmar variable: None: Dir/File/" + name);
  study_.add("odd", VAR_FLOAT, 1, "", 0, 1);
  for (const char* name : {"V", "T", "SN", "M[7]", "odd"})
    expect_refused("CSELSET", name, "Variable is not a selection");
  EXPECT_STREQ(current_context.selection, "B[3]");
  expect_done("CSELSET", "");
  EXPECT_STREQ(current_context.selection, "None");
  set_current_file(no_name);
  expect_refused("CSELSET", "S", "File is not set");
}

TEST_F(data_requests, floats_are_written) {
  const std::string mismatch = "Array size does not match ";
  const struct {
    const char* selection;
    bytes sent;
    std::string refused;
    std::string file = "";
  } steps[] = {{no_name, numbers(2, 4, 0, -999, {10, -999, missing_double}), "", "\x01\x0A\xFF\xFF\x05\x06"},
               {no_name, numbers(1, 1, 1, missing_double, {9.9}), "", "\x09\x0A\xFF\xFF\x05\x06"},
               {no_name, numbers(1, 3, 0, 0, {1, 2}), mismatch + "non-compressed selection (2/3 samples)"},
               {no_name, numbers(1, 3, 1, 0, {1, 2, 3, 4}), mismatch + "compressed selection (4/3 samples)"},
               {"S", numbers(-1, -1, 1, 0, {21, 24, 25}), "", "\x15\x0A\xFF\x18\x19\x06"},
               {"S", numbers(2, 5, 0, 0, {1, 1, 34, 35}), "", "\x15\x0A\xFF\x22\x23\x06"},
               {"S", numbers(1, 6, 1, 0, {1, 2}), mismatch + "compressed selection (2/3 samples)"},
               {"S", numbers(2, 3, 1, 0, {}), "", "\x15\x0A\xFF\x22\x23\x06"},  // nothing is selected there
               {"S", numbers(1, 6, 0, 0, {}), mismatch + "non-compressed selection (0/6 samples)"},
               {"gone", numbers(1, 1, 1, 0, {1}), "Cannot get statitics on current selection gone"}};
  std::string before = read_file(float_path_);
  for (const auto& step : steps) {
    choose("V", step.selection);
    if (step.refused.empty()) {
      expect_done("CWRITVARF", step.sent);
      before = step.file;
    } else {
      expect_refused("CWRITVARF", step.sent, step.refused);
    }
    EXPECT_EQ(read_file(float_path_), before);
  }
}

TEST_F(data_requests, what_has_no_numbers_is_refused) {
  const bytes read = range(1, 2), write = numbers(1, 2, 0, 0, {1, 2});
  const std::string before = read_file(text_path_);
  choose("T");
  expect_refused("CREADVARF", read, "Problem while reading Dir/File/T");
  expect_refused("CWRITVARF", write, "Problem while writing Dir/File/T");
  EXPECT_EQ(read_file(text_path_), before);
  choose("SN");
  expect_refused("CWRITVARF", write, "Problem while writing Dir/File/SN");
  study_.add_implicit("LN", KIND_LINE_NUMBER);  // in a points file
  study_.add_implicit("odd", KIND_PLAIN);
  for (const char* name : {"LN", "odd"}) {
    choose(name);
    expect_refused("CREADVARF", read, "Problem while reading Dir/File/" + std::string(name));
  }
}

TEST_F(data_requests, a_file_that_has_changed_since_the_look_up_is_refused) {
  choose("V");
  for (std::int64_t grown : {5, 7}) {
    enum { without, chosen, counted };
    for (int selection : {without, chosen, counted}) {
      study_.set_shape({.samples = 6});
      set_current_selection(selection == without ? no_name : "S");
      data_request data(data_request::writing);
      ASSERT_TRUE(data.find_variable() && data.check_range());
      if (selection == counted) {
        EXPECT_GT(data.count_selected(), 0);
      }
      study_.set_shape({.samples = grown});  // by another server
      EXPECT_FALSE(data.open());
    }
    set_current_selection(no_name);
    const std::string refused = refusal("Cannot select variable"),
                      before = refused + refusal("Cannot select selection variable S") + refused;
    expect_answer("CREADVARF", range(2, 2), bytes().raw(before).raw(doubles({2})));
  }
}

TEST_F(data_requests, counts_that_ask_for_too_much) {
  choose("V");
  const std::int64_t most = std::int64_t{1} << 62;
  expect_refused("CWRITVARF", bytes().i64(1, 1).i32(0).f64(0).i64(most),
                 "Memory allocation failed (9223372036854775807 bytes)");
  expect_refused("CWRITVARF", bytes().i64(1, 1).i32(0).f64(0).i64(-2),
                 "Memory allocation failed (-16 bytes)");
  expect_refused("CWRITVARS", bytes().i64(1, 1, -3), "Memory allocation failed for byte array (-3 bytes)");
  expect_refused("CWRITVARC", bytes().i64(1, 1).i32(0).text("").i64(-1),
                 "Memory allocation failed (-8 bytes)");
  // Before the first text comes: it would be waited for.
  expect_refused("CWRITVARC", bytes().i64(1, 1).i32(0).text("").i64(most),
                 "Memory allocation failed (9223372036854775807 bytes)");
  study_.set_shape({.samples = most});
  expect_refused("CREADVARF", range(-1, -1), "Memory allocation failed (9223372036854775807 bytes)");
  study_.set_shape({.samples = most / 8});
  choose("T");
  expect_refused("CREADVARC", range(-1, -1), "Memory allocation failed (2305843009213693952 bytes)");
  choose("S");
  expect_refused("CREADVARS", bytes().i64(1, 1),
                 "Memory allocation failed for byte array (576460752303423488 bytes)");
}

TEST_F(data_requests, selections_as_bytes) {
  const auto bits = [](const std::vector<int>& values) { return bytes().i64(count_of(values)).u8(values); };
  const auto written = [&](std::int64_t first, std::int64_t last, const std::vector<int>& values) {
    return bytes().i64(first, last).raw(bits(values));
  };
  choose("S");
  expect_answer("CREADVARS", bytes().i64(-1, -1), bytes("SDATAS").raw(bits({1, 0, 0, 1, 1, 0})));
  expect_answer("CREADVARS", bytes().i64(2, 4), bytes("SDATAS").raw(bits({0, 0, 1})));
  // Any byte but 0 selects in a whole variable, only 1 in a part of it.
  expect_done("CWRITVARS", written(1, 6, {2, 0, 1, 0, 0, 255}));
  EXPECT_EQ(to_bits(read_file(selection_path_)), "01011000");
  expect_done("CWRITVARS", written(2, 4, {2, 0, 1}));
  EXPECT_EQ(to_bits(read_file(selection_path_)), "01101000");
  expect_refused("CWRITVARS", written(2, 4, {1, 1}),
                 "Array size does not match non-compressed selection (2/3 samples)");
  // Under the current selection, here the first column of B: samples 1 to 4.
  choose("S", "B[3]");
  expect_done("CWRITVARS", written(1, 6, {0, 1, 1, 1, 1, 0}));
  EXPECT_EQ(to_bits(read_file(selection_path_)), "10001000");
  expect_answer("CREADVARS", bytes().i64(-1, -1), bytes("SDATAS").raw(bits({0, 1, 1, 1, 0, 0})));
  // A column that begins inside a byte.
  choose("B[xxxxx]");
  expect_done("CINDSET", bytes().i32(4));
  const auto columns = [&] { return to_bits(read_file(study_.file_path() + "/VARI.5/DATAVAR")); };
  expect_done("CWRITVARS", written(1, 6, {1, 0, 2, 0, 0, 1}));
  EXPECT_EQ(columns(), "0000110101101111");
  expect_done("CWRITVARS", written(2, 4, {1, 2, 0}));
  EXPECT_EQ(columns(), "0000110011101111");
  set_current_selection("S");  // samples 2, 3, 4 and 6
  expect_done("CWRITVARS", written(1, 6, {1, 1, 1, 1, 1, 1}));
  EXPECT_EQ(columns(), "0000110000101111");
  choose("V");
  expect_refused("CWRITVARS", written(1, 1, {1}), "Bit length different than 1");
  EXPECT_FATAL(ask("CREADVARS", bytes().i64(1, 6)), "No 30 in function qd_read_selection_free");
}

// Answers are made in pieces while they are sent: no seam, and nothing behind the last one.
TEST_F(data_requests, answers_of_several_pieces) {
  constexpr int many = 4200, width = 40, last_text = 1700;
  study_.set_shape({.samples = many});
  std::string all, bits(many / 8, '\0');
  bytes text_answer = bytes("SDATAC").i64(last_text - 1).text(std::string(width, ' ')),
        bit_answer = bytes("SDATAS").i64(many - 1);
  for (int i = 0; i < many; ++i) {
    const std::string text = std::string(width - 4, 'x') + std::to_string(1000 + i);
    all += text;
    const bool is_selected = i % 11 < 4;
    if (!is_selected) bits[static_cast<std::size_t>(i / 8)] |= static_cast<char>(0x80 >> i % 8);
    if (i == 0) continue;
    if (i < last_text) text_answer.text(text);
    bit_answer.u8(is_selected ? 1 : 0);
  }
  study_.add("W", VAR_CHAR, 8 * width, all);
  write_file(selection_path_, bits);
  choose("W");
  EXPECT_TRUE(ask("CREADVARC", range(2, last_text)) == text_answer.str());
  choose("S");
  EXPECT_TRUE(ask("CREADVARS", bytes().i64(2, many)) == bit_answer.str());
}

TEST_F(data_requests, texts_are_read_and_written) {
  const auto answer = [](const strings& values) {
    return bytes("SDATAC").i64(count_of(values)).text("   ").text(values);
  };
  choose("T", "S");
  expect_answer("CREADVARC", range(1, 6), answer({"abc", "   ", "   ", "ghi", "jkl", "   "}));
  expect_answer("CREADVARC", range(2, 6, 1), answer({"ghi", "jkl"}));
  expect_done("CWRITVARC", texts(1, 6, 1, "?", {"long one", "?", "x"}));
  EXPECT_EQ(read_file(text_path_), "londe f     x  m o");
  expect_done("CWRITVARC", texts(3, 4, 0, "-", {"3", "4"}));
  EXPECT_EQ(read_file(text_path_), "londe f  4  x  m o");
  expect_refused("CWRITVARC", texts(1, 6, 1, "", {"a"}),
                 "Array size does not match compressed selection (1/3 samples)");
  choose("T");
  expect_done("CWRITVARC", texts(5, 6, 0, "", {"", "six"}));
  EXPECT_EQ(read_file(text_path_), "londe f  4     six");
  for (const std::string name : {"V", "SN", "S", "M[xxxxx]"}) {
    choose(name.c_str());
    expect_refused("CWRITVARC", texts(1, 1, 0, "", {"a"}),
                   "Variable " + name + " is not a character variable");
    if (name[0] == 'S')
      expect_refused("CREADVARC", range(1, 1), "Variable " + name + " is not a character variable");
  }
  choose("M[xxxxx]");  // no index is asked for
  expect_answer("CREADVARC", range(1, 2), bytes("SDATAC").i64(2).text(" ").text("a").text("b"));
}

struct line_requests : requests {
  line_requests() : study_({.samples = 6, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 4, 5, 7}}) {
    path_ = study_.add("V", VAR_FLOAT, 8, "abcdef") + "/DATAVAR";
    study_.add("T", VAR_CHAR, 8, "abcdef");
    study_.add("S", VAR_FLOAT, 1, "\x90");  // leaves out samples 1 and 4
    set_current_directory("Dir");
    set_current_file("File");
    set_current_variable("V");
  }
  void expect_read(int line, const std::vector<double>& values) {
    expect_answer("CREADLINF", bytes().i32(line),
                  bytes("SDATAF").i32(static_cast<int>(values.size())).f64(missing_double).f64(values));
  }
  void expect_unread(int line, const std::string& text) {
    expect_refused("CREADLINF", bytes().i32(line), text);
  }
  static bytes of_line(std::int64_t line, const std::vector<double>& values) {
    return bytes().i64(line, count_of(values)).f64(-1).f64(values);
  }

  sample_study study_;
  std::string path_;
};

TEST_F(line_requests, read) {
  expect_read(1, {'a', 'b', 'c'});
  expect_read(3, {'e', 'f'});
  set_current_selection("S");
  expect_read(1, {missing_double, 'b', 'c'});
  expect_unread(0, "Wrong line index");
  expect_unread(4, "Wrong line index (4) where file only contains 3 lines");
  set_current_variable("T");
  expect_unread(1, "Problem while reading Dir/File/T");
  set_current_variable("gone");
  expect_unread(1, "Cannot select variable");
  set_current_variable(no_name);
  expect_unread(1, "Variable is not set");
  for (const qd_selected_entry* entry : sample_tables.selected) EXPECT_EQ(entry, nullptr);
}

TEST_F(line_requests, write) {
  expect_done("CWRITLINF", of_line(2, {'x'}));
  expect_done("CWRITLINF", of_line(3, {-1, 'z'}));
  EXPECT_EQ(read_file(path_), "abcx\xFFz");
  expect_refused("CWRITLINF", of_line(3, {1}), "Wrong number of sample (1) where line 3 has 2 samples");
  expect_refused("CWRITLINF", of_line(4, {1}), "Wrong line index");
  set_current_variable("T");
  expect_refused("CWRITLINF", of_line(2, {1}), "Problem while writing Dir/File/T");
  EXPECT_EQ(read_file(path_), "abcx\xFFz");
  expect_refused("CWRITLINF", bytes().i64(1, -5).f64(0), "Memory allocation failed (-40 bytes)");
}

TEST_F(line_requests, a_wrong_line_leaves_the_array_unread) {
  expect_refused("CWRITLINF", of_line(0, {7, 8}), "Wrong line index");
  // A request that needs an argument finds one there.
  EXPECT_NE(ask("CREADLINF"), "");
}

TEST_F(line_requests, the_selection_of_a_write_stays_selected) {
  set_current_selection("S");
  expect_done("CWRITLINF", of_line(1, {'A', 'B', 'C'}));
  expect_done("CWRITLINF", of_line(2, {'D'}));
  EXPECT_EQ(read_file(path_), "aBCdef");
  ASSERT_NE(sample_tables.selected[0], nullptr);
  EXPECT_STREQ(sample_tables.selected[0]->variable_name, "S");
  EXPECT_EQ(sample_tables.selected[0]->reference_count, 2);
  EXPECT_EQ(sample_tables.selected[1], nullptr);
  // Other requests use it and leave it; another server may have lengthened the file.
  study_.set_shape({.samples = 7, .organisation = ORG_LINES_GRAVITY, .line_table = {1, 4, 5, 7, 8}});
  write_file(path_, "aBCdefg");
  expect_read(4, {'g'});
  EXPECT_EQ(sample_tables.selected[0]->reference_count, 2);
}

TEST_F(line_requests, other_files) {
  study_.set_shape({.samples = 6});
  expect_unread(1, "Current file is not a lines file");
  expect_refused("CWRITLINF", of_line(1, {1, 2, 3}), "Current file is not a lines file");
  study_.set_shape({.samples = 0, .organisation = ORG_LINES_CORES, .line_table = {1}});
  expect_unread(1, "Wrong line index (1) where file only contains 0 lines");
  expect_refused("CWRITLINF", of_line(1, {}), "Wrong line index");
  set_current_file("vanished");
  set_current_variable("V");
  expect_unread(1, "Error while getting file information");
}

}  // namespace
}  // namespace qrd::test

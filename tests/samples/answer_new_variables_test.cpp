// The requests that make variables and macro indices, served in this process.
#include "support/requests.h"
#include "support/sample_study.h"
#include "wire/connection.h"
#include "wire/debug.h"

namespace qrd::test {
namespace {

struct new_variables : requests {
  new_variables() : study({.samples = 10}) {
    set_current_study("Study");
    set_current_directory("Dir");
    set_current_file("File");
  }
  ~new_variables() override { connection.client_version = protocol_version; }

  static bytes number(const std::string& name, int bits, int type = 0, int width = 8, int digits = 3) {
    return bytes(name).i32(bits, type, width, digits);
  }
  std::string descriptor(int variable) const {
    return read_file(study.file_path() + "/VARI." + std::to_string(variable) + "/DESCR");
  }
  std::string data(int variable) const {
    return read_file(study.file_path() + "/VARI." + std::to_string(variable) + "/DATAVAR");
  }
  static std::string descriptor_of(const std::string& name, int type, int bits, int format, int width,
                                   int digits, const std::string& unit, double factor) {
    return variable_fields{name, type, 0, bits, 0, unit, factor, format, width, digits}.bytes_of();
  }
  void expect_made(const char* request, const bytes& arguments, int variable, const std::string& name,
                   int type, int bits, int format, int width, int digits, const std::string& unit,
                   double factor) {
    expect_done(request, arguments);
    EXPECT_EQ(descriptor(variable), descriptor_of(name, type, bits, format, width, digits, unit, factor));
  }
  sample_study study;
};

TEST_F(new_variables, a_number_without_unit_is_a_length_if_it_has_room) {
  qu_string_copy("ft", units.distance.unit);
  units.distance.factor = 30.48;
  expect_made("CVARFNEW", number("Length", 32).i32(0), 1, "Length", 0, 32, 2, 8, 3, "ft", 30.48);
  expect_made("CVARFNEW", number("Km", 64).i32(1).text("km"), 2, "Km", 0, 64, 2, 8, 3, "km", 100000.0);
  expect_made("CVARFNEW", number("Grams", 32).i32(1).text("g/t"), 3, "Grams", 0, 32, 2, 8, 3, "g/t", 0.0);
  expect_made("CVARFNEW", number("Short", 16).i32(1).text("m"), 4, "Short", 0, 16, 2, 8, 3, "m", 0.0);
  expect_made("CVARFNEW", number("Flag", 1, 1, 3, 0).i32(0), 5, "Flag", 0, 1, 1, 3, 0, "", 0.0);
  EXPECT_EQ(data(5), std::string(64, '\xFF'));
  units.kept = false;
  expect_made("CVARFNEW", number("Off", 64).i32(1).text("km"), 6, "Off", 0, 64, 2, 8, 3, "km", 0.0);
}

TEST_F(new_variables, old_clients_send_the_unit_as_a_bare_string) {
  for (int version : {409, 400500}) {
    connection.client_version = version;
    std::string name = "V" + std::to_string(version);
    expect_done("CVARFNEW", number(name, 32).text("cm"));
  }
  EXPECT_EQ(descriptor(2), descriptor_of("V400500", 0, 32, 2, 8, 3, "cm", 1.0));
  connection.client_version = 400500;
  expect_made("CVARFNEW", number("None given", 32).text(""), 3, "None given", 0, 32, 2, 8, 3, "m", 100.0);
}

TEST_F(new_variables, the_client_counts_formats_in_its_own_order) {
  const int formats[] = {2, 1, 3, 0, 4};
  for (int type = 0; type < 5; ++type) {
    std::string name = "F" + std::to_string(type);
    expect_done("CVARFNEW", number(name, 8, type).i32(0));
    EXPECT_EQ(descriptor(type + 1), descriptor_of(name, 0, 8, formats[type], 8, 3, "", 0.0));
  }
  for (int type : {-1, 5})
    expect_refused("CVARFNEW", number("F", 8, type).i32(0),
                   "Wrong format_type (" + std::to_string(type) + ")");
}

TEST_F(new_variables, refusals_in_order) {
  expect_refused("CVARFNEW", number("A", 3, 9).i32(0), "Bitlength must be one of 1,2,4,8,16,32 or 64");
  expect_done("CVARFNEW", number("A", 8).i32(0));
  // Nothing of a taken name is begun.
  const std::string console = console_of([&] {
    server_debug_mode(1);
    expect_refused("CVARFNEW", number("A", 8).i32(0), "Variable A already exists in Study: Dir/File");
    server_debug_mode(0);
  });
  EXPECT_EQ(console.find("Creating Variable"), std::string::npos) << console;
  EXPECT_NE(console.find("Error while processing [CVARFNEW]"), std::string::npos) << console;
  expect_refused("CVARFNEW", number("B[xxxxx]", 8).i32(0), "Cannot create variable Study: Dir/File/B[xxxxx]");
  expect_refused("CVARMNEW", number("B", 8).i32(0), "Cannot create variable Study: Dir/File/B");
  for (const std::string& name :
       {std::string(50, 'x'), std::string(44, 'x') + "[12]", std::string(9000, 'x')})
    expect_refused("CVARMNEW", number(name, 8).i32(0),
                   ("Cannot create variable Study: Dir/File/" + name).substr(0, 1024));
  for (int width : {0, -1, INT32_MIN, INT32_MAX, 268435456})
    expect_refused("CVARCNEW", bytes("T").i32(width), "Cannot create variable Study: Dir/File/T");
  expect_refused("CVARCNEW", bytes("A").i32(1), "Variable A already exists in Study: Dir/File");
  EXPECT_FALSE(fs::exists(study.file_path() + "/VARI.2"));
  set_current_file("None");
  expect_refused("CVARCNEW", "T", "Study, Directory or File is not set");
  expect_refused("CVARFNEW", "T", "Study, Directory or File is not set");
}

TEST_F(new_variables, a_text_has_eight_bits_a_character) {
  expect_made("CVARCNEW", bytes("T").i32(3), 1, "T", 1, 24, 2, 10, 2, "", 0.0);
  EXPECT_EQ(data(1), std::string(1536, ' '));
}

struct new_indices : new_variables {
  new_indices() {
    expect_done("CVARMNEW", number("Grade[xxxxx]", 8).i32(0));
    set_current_variable("Grade[xxxxx]");
  }
  std::string macro() const { return read_file(study.file_path() + "/VARI.1/MACRO"); }
};

TEST_F(new_indices, are_kept_in_the_order_of_their_coming) {
  EXPECT_EQ(macro(), macro_bytes({0}));
  EXPECT_EQ(descriptor(1), descriptor_of("Grade[xxxxx]", 2, 8, 2, 8, 3, "", 0.0));
  EXPECT_EQ(data(1), std::string(512, '\xFF'));
  expect_done("CMACROADD", bytes().i32(2, 1, 5, 3, 0));
  EXPECT_EQ(macro(), macro_bytes({5, 3}));
  EXPECT_EQ(data(1).size(), 1024U);
  expect_done("CMACROADD", bytes().i32(2, 1, 5, 3, 0));
  EXPECT_EQ(ask("CMACROADD", bytes().i32(0, 0, 0)), done()) << "nothing to add";
  EXPECT_EQ(macro(), macro_bytes({5, 3}));
  // A column names the whole family.
  set_current_variable("Grade[3]");
  expect_done("CMACROADD", bytes().i32(1, 1, 9, 1).text("nine"));
  EXPECT_EQ(macro(), macro_bytes({5, 3, 9}, {"5", "3", "nine"}));
}

TEST_F(new_indices, refusals_read_the_whole_packet) {
  expect_refused("CMACROADD", bytes().i32(1, 0, 1).text("gold"), "Problem while reading numerical indices");
  expect_refused("CMACROADD", bytes().i32(-2, 1, 1), "Problem while reading number of indices");
  expect_done("CMACROADD", bytes().i32(1, 1, 7, 1).text("gold"));
  EXPECT_EQ(
      ask("CMACROADD", bytes().i32(1, 1, 7, 1).text("lead")),
      refusal("qd_create_macro_variable_indices : trying to create an existing numerical index (7) with "
              "different alpha index (gold != lead)"));
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 8, 1).text("None")), "") << "no answer";
  EXPECT_EQ(ask("CMACROADD", bytes().i32(2, 1, 7, 8, 1).text("lead").text("None")), "")
      << "the texts come first";
  const bytes one = bytes().i32(1, 1, 8, 0);
  set_current_variable("None");
  expect_refused("CMACROADD", one, "Variable is not set");
  set_current_variable("Gone[xxxxx]");
  expect_refused("CMACROADD", one, "Cannot get variable info");
  expect_done("CVARFNEW", number("Plain", 8).i32(0));
  set_current_variable("Plain");
  expect_refused("CMACROADD", one, "Not a valid Velmar macro: Study: Dir/File/Plain");
  set_current_variable("Grade[xxxxx]");
  write_file(study.file_path() + "/VARI.1/MACRO", "damaged");
  expect_refused("CMACROADD", one, "Cannot get variable info");
  fs::remove(study.file_path() + "/VARI.1/MACRO");
  expect_refused("CMACROADD", one, "Cannot get variable info");
}

TEST_F(new_indices, a_full_disk_is_a_refusal) {
  const std::string before = macro();
  {
    file_size_limit full(8);
    expect_refused("CMACROADD", bytes().i32(1, 1, 5, 0), "Problem while writing Dir/File/Grade[xxxxx]");
  }
  EXPECT_EQ(macro(), before);
  expect_done("CMACROADD", bytes().i32(1, 1, 5, 0));
}

TEST_F(new_indices, wrong_numbers_end_the_server) {
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(1, 1, 0, 0)), "Bad Indice \\(1<i<99999\\)");
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(1, 1, 100000, 0)), "Bad Indice");
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(2, 1, 4, 4, 0)), "2 equal indices");
  expect_done("CMACROADD", bytes().i32(1, 1, 7, 1).text("gold"));
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(2, 1, 7, 7, 1).text("lead").text("tin")), "2 equal indices");
}

}  // namespace
}  // namespace qrd::test

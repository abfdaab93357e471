// The requests that make variables and macro indices, served in this process.
#include <filesystem>

#include "requests/context.h"
#include "support/console.h"
#include "support/file_size_limit.h"
#include "support/requests.h"
#include "support/sample_study.h"
#include "wire/connection.h"

namespace qrd::test {
namespace {

class new_variables : public requests {
 protected:
  new_variables() : study({.samples = 10}) {
    set_current_study("Study");
    set_current_directory("Dir");
    set_current_file("File");
  }
  ~new_variables() override { connection.client_version = protocol_version; }

  static bytes number(const std::string& name, int bits, int type = 0, int width = 8, int digits = 3) {
    return bytes().text(name).i32(bits, type, width, digits);
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
  sample_study study;
};

TEST_F(new_variables, a_number_without_unit_is_a_length_if_it_has_room) {
  qu_string_copy("ft", units.distance.unit);
  units.distance.factor = 30.48;
  EXPECT_EQ(ask("CVARFNEW", number("Length", 32).i32(0)), done());
  EXPECT_EQ(descriptor(1), descriptor_of("Length", 0, 32, 2, 8, 3, "ft", 30.48));
  EXPECT_EQ(ask("CVARFNEW", number("Km", 64).i32(1).text("km")), done());
  EXPECT_EQ(descriptor(2), descriptor_of("Km", 0, 64, 2, 8, 3, "km", 100000.0));
  EXPECT_EQ(ask("CVARFNEW", number("Grams", 32).i32(1).text("g/t")), done());
  EXPECT_EQ(descriptor(3), descriptor_of("Grams", 0, 32, 2, 8, 3, "g/t", 0.0));
  EXPECT_EQ(ask("CVARFNEW", number("Short", 16).i32(1).text("m")), done());
  EXPECT_EQ(descriptor(4), descriptor_of("Short", 0, 16, 2, 8, 3, "m", 0.0));
  EXPECT_EQ(ask("CVARFNEW", number("Flag", 1, 1, 3, 0).i32(0)), done());
  EXPECT_EQ(descriptor(5), descriptor_of("Flag", 0, 1, 1, 3, 0, "", 0.0));
  EXPECT_EQ(data(5), std::string(64, '\xFF'));
  units.kept = false;
  EXPECT_EQ(ask("CVARFNEW", number("Off", 64).i32(1).text("km")), done());
  EXPECT_EQ(descriptor(6), descriptor_of("Off", 0, 64, 2, 8, 3, "km", 0.0));
}

TEST_F(new_variables, old_clients_send_the_unit_as_a_bare_string) {
  for (int version : {409, 400500}) {
    connection.client_version = version;
    std::string name = "V" + std::to_string(version);
    EXPECT_EQ(ask("CVARFNEW", number(name, 32).text("cm")), done());
  }
  EXPECT_EQ(descriptor(2), descriptor_of("V400500", 0, 32, 2, 8, 3, "cm", 1.0));
  connection.client_version = 400500;
  EXPECT_EQ(ask("CVARFNEW", number("None given", 32).text("")), done());
  EXPECT_EQ(descriptor(3), descriptor_of("None given", 0, 32, 2, 8, 3, "m", 100.0));
}

TEST_F(new_variables, the_client_counts_formats_in_its_own_order) {
  const int formats[] = {2, 1, 3, 0, 4};
  for (int type = 0; type < 5; ++type) {
    std::string name = "F" + std::to_string(type);
    EXPECT_EQ(ask("CVARFNEW", number(name, 8, type).i32(0)), done());
    EXPECT_EQ(descriptor(type + 1), descriptor_of(name, 0, 8, formats[type], 8, 3, "", 0.0));
  }
  for (int type : {-1, 5})
    EXPECT_EQ(ask("CVARFNEW", number("F", 8, type).i32(0)),
              refusal("Wrong format_type (" + std::to_string(type) + ")"));
}

TEST_F(new_variables, refusals_in_order) {
  EXPECT_EQ(ask("CVARFNEW", number("A", 3, 9).i32(0)),
            refusal("Bitlength must be one of 1,2,4,8,16,32 or 64"));
  EXPECT_EQ(ask("CVARFNEW", number("A", 8).i32(0)), done());
  EXPECT_EQ(ask("CVARFNEW", number("A", 8).i32(0)), refusal("Variable A already exists in Study: Dir/File"));
  EXPECT_EQ(ask("CVARFNEW", number("B[xxxxx]", 8).i32(0)),
            refusal("Cannot create variable Study: Dir/File/B[xxxxx]"));
  EXPECT_EQ(ask("CVARMNEW", number("B", 8).i32(0)), refusal("Cannot create variable Study: Dir/File/B"));
  for (const std::string& name :
       {std::string(50, 'x'), std::string(44, 'x') + "[12]", std::string(9000, 'x')})
    EXPECT_EQ(ask("CVARMNEW", number(name, 8).i32(0)),
              refusal(("Cannot create variable Study: Dir/File/" + name).substr(0, 1024)));
  for (int width : {0, -1, INT32_MIN, INT32_MAX, 268435456})
    EXPECT_EQ(ask("CVARCNEW", bytes().text("T").i32(width)),
              refusal("Cannot create variable Study: Dir/File/T"));
  EXPECT_EQ(ask("CVARCNEW", bytes().text("A").i32(1)),
            refusal("Variable A already exists in Study: Dir/File"));
  EXPECT_FALSE(std::filesystem::exists(study.file_path() + "/VARI.2"));
  set_current_file("None");
  EXPECT_EQ(ask("CVARCNEW", bytes().text("T")), refusal("Study, Directory or File is not set"));
  EXPECT_EQ(ask("CVARFNEW", bytes().text("T")), refusal("Study, Directory or File is not set"));
}

TEST_F(new_variables, a_text_has_eight_bits_a_character) {
  EXPECT_EQ(ask("CVARCNEW", bytes().text("T").i32(3)), done());
  EXPECT_EQ(descriptor(1), descriptor_of("T", 1, 24, 2, 10, 2, "", 0.0));
  EXPECT_EQ(data(1), std::string(1536, ' '));
}

class new_indices : public new_variables {
 protected:
  new_indices() {
    EXPECT_EQ(ask("CVARMNEW", number("Grade[xxxxx]", 8).i32(0)), done());
    set_current_variable("Grade[xxxxx]");
  }
  std::string macro() const { return read_file(study.file_path() + "/VARI.1/MACRO"); }
};

TEST_F(new_indices, are_kept_in_the_order_of_their_coming) {
  EXPECT_EQ(macro(), macro_bytes({0}));
  EXPECT_EQ(descriptor(1), descriptor_of("Grade[xxxxx]", 2, 8, 2, 8, 3, "", 0.0));
  EXPECT_EQ(data(1), std::string(512, '\xFF'));
  EXPECT_EQ(ask("CMACROADD", bytes().i32(2, 1, 5, 3, 0)), done());
  EXPECT_EQ(macro(), macro_bytes({5, 3}));
  EXPECT_EQ(data(1).size(), 1024U);
  EXPECT_EQ(ask("CMACROADD", bytes().i32(2, 1, 5, 3, 0)), done());
  EXPECT_EQ(ask("CMACROADD", bytes().i32(0, 0, 0)), done()) << "nothing to add";
  EXPECT_EQ(macro(), macro_bytes({5, 3}));
  // A column names the whole family.
  set_current_variable("Grade[3]");
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 9, 1).text("nine")), done());
  EXPECT_EQ(macro(), macro_bytes({5, 3, 9}, {"5", "3", "nine"}));
}

TEST_F(new_indices, refusals_read_the_whole_packet) {
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 0, 1).text("gold")),
            refusal("Problem while reading numerical indices"));
  EXPECT_EQ(ask("CMACROADD", bytes().i32(-2, 1, 1)), refusal("Problem while reading number of indices"));
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 7, 1).text("gold")), done());
  EXPECT_EQ(
      ask("CMACROADD", bytes().i32(1, 1, 7, 1).text("lead")),
      refusal("qd_create_macro_variable_indices : trying to create an existing numerical index (7) with "
              "different alpha index (gold != lead)"));
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 8, 1).text("None")), "") << "no answer";
  EXPECT_EQ(ask("CMACROADD", bytes().i32(2, 1, 7, 8, 1).text("lead").text("None")), "")
      << "the texts come first";
  const bytes one = bytes().i32(1, 1, 8, 0);
  set_current_variable("None");
  EXPECT_EQ(ask("CMACROADD", one), refusal("Variable is not set"));
  set_current_variable("Gone[xxxxx]");
  EXPECT_EQ(ask("CMACROADD", one), refusal("Cannot get variable info"));
  EXPECT_EQ(ask("CVARFNEW", number("Plain", 8).i32(0)), done());
  set_current_variable("Plain");
  EXPECT_EQ(ask("CMACROADD", one), refusal("Not a valid Velmar macro: Study: Dir/File/Plain"));
  set_current_variable("Grade[xxxxx]");
  write_file(study.file_path() + "/VARI.1/MACRO", "damaged");
  EXPECT_EQ(ask("CMACROADD", one), refusal("Cannot get variable info"));
  std::filesystem::remove(study.file_path() + "/VARI.1/MACRO");
  EXPECT_EQ(ask("CMACROADD", one), refusal("Cannot get variable info"));
}

TEST_F(new_indices, a_full_disk_is_a_refusal) {
  const std::string before = macro();
  {
    file_size_limit full(8);
    EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 5, 0)),
              refusal("Problem while writing Dir/File/Grade[xxxxx]"));
  }
  EXPECT_EQ(macro(), before);
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 5, 0)), done());
}

TEST_F(new_indices, wrong_numbers_end_the_server) {
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(1, 1, 0, 0)), "Bad Indice \\(1<i<99999\\)");
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(1, 1, 100000, 0)), "Bad Indice");
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(2, 1, 4, 4, 0)), "2 equal indices");
  EXPECT_EQ(ask("CMACROADD", bytes().i32(1, 1, 7, 1).text("gold")), done());
  EXPECT_FATAL(ask("CMACROADD", bytes().i32(2, 1, 7, 7, 1).text("lead").text("tin")), "2 equal indices");
}

}  // namespace
}  // namespace qrd::test

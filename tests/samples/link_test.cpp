#include "edit/qd_append.h"
#include "edit/qd_line_name.h"
#include "edit/qd_link.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

// A lines file "Holes" of 2 lines with 3 and 2 samples and a points file "Collars" of 2 samples.
struct linked_study : sample_study {
  linked_study() : sample_study({}) {
    fs::create_directory(lines_path());
    write_file(lines_path() + "/LINE", bytes().i64(1, 4, 6));
    write_links("", "");
  }
  std::string lines_path() const { return *this / "QRD/DIRE.1/FILE.2"; }
  static std::string points(const std::string& link) {
    return file_fields{.name = "Collars", .link = link, .samples = 2, .allocated = 512}.bytes_of();
  }
  static std::string lines(const std::string& link) {
    return file_fields{"Holes", 2, 3, 2, std::vector<double>(6), {0, 0, 0}, {0, 0, 0}, link, 5, 512}
        .bytes_of();
  }
  void write_links(const std::string& in_points, const std::string& in_lines) const {
    write_file(file_path() + "/DESCR", points(in_points));
    write_file(lines_path() + "/DESCR", lines(in_lines));
  }
  void expect_links(const std::string& in_points, const std::string& in_lines) const {
    EXPECT_EQ(read_file(file_path() + "/DESCR"), points(in_points));
    EXPECT_EQ(read_file(lines_path() + "/DESCR"), lines(in_lines));
  }
  std::string add_names(const std::string& name, const std::string& texts, int kind = 0) {
    return add(name, VAR_CHAR, static_cast<int>(texts.size()) * 4, texts + std::string(510, ' '), kind);
  }
  static int kind_of(const std::string& path) {
    std::string descriptor = read_file(path + "/DESCR");
    auto name_end = 8 + (static_cast<std::size_t>(descriptor[7]) + 3) / 4 * 4;
    return descriptor[name_end + 7];
  }
};

TEST(link, a_deletion_ends_both_sides_from_either) {
  for (const char* side : {"Holes", "Collars"}) {
    for (bool reset : {true, false}) {
      linked_study study;
      study.write_links("Holes", "Collars");
      std::string names = study.add_names("Name", "ab", KIND_LINE_NAME);
      EXPECT_TRUE(qd_delete_link("Dir", side, reset));
      study.expect_links("", "");
      EXPECT_EQ(study.kind_of(names), reset ? KIND_PLAIN : KIND_LINE_NAME) << side;
      name_text partner = "";
      EXPECT_EQ(qd_get_link("Dir", side, partner), found::no);
    }
  }
}

TEST(link, a_vanished_partner_is_forgotten) {
  linked_study study;
  study.write_links("Gone", "");
  std::string names = study.add_names("Name", "ab", KIND_LINE_NAME);
  name_text partner = "unchanged";
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qd_get_link("Dir", "Collars", partner), found::unclear); }),
            "WARNING: Linked File Gone does not exist\n");
  EXPECT_STREQ(partner, "unchanged");
  EXPECT_EQ(console_of([] { EXPECT_TRUE(qd_delete_link("Dir", "Collars", true)); }),
            "WARNING: The Linked File Gone does not exist\n");
  study.expect_links("", "");
  EXPECT_EQ(study.kind_of(names), KIND_PLAIN);
}

TEST(link, needs_two_files_of_the_right_sort_and_ends_their_former_links) {
  linked_study study;
  // What another server may have done since the caller's test.
  for (auto [lines, points] :
       {std::pair{"Holes", "Holes"}, {"Collars", "Collars"}, {"Holes", "Gone"}, {"Gone", "Collars"}})
    EXPECT_FALSE(qd_create_link("Dir", lines, points)) << lines << points;
  study.expect_links("", "");
  study.write_links("X", "Y");
  std::string names = study.add_names("Name", "ab", KIND_LINE_NAME);
  EXPECT_TRUE(qd_create_link("Dir", "Holes", "Collars"));
  study.expect_links("Holes", "Collars");
  EXPECT_EQ(study.kind_of(names), KIND_PLAIN);
}

TEST(link, a_full_disk_leaves_both_sides_and_the_line_name) {
  linked_study study;
  study.write_links("Holes", "Collars");
  const std::string names = study.add_names("Name", "ab", KIND_LINE_NAME);
  const std::string former = study.add_names("Other", "cd");
  const std::string before = read_file(names + "/DESCR");
  int refused = 0;
  // The descriptors have different lengths: at some limits the first of a change fits and the last doesn't.
  for (rlim_t limit = 0; limit < study.lines("").size(); limit += 8, ++refused) {
    file_size_limit full(limit);
    EXPECT_FALSE(qd_link_can_be_deleted("Dir", "Collars")) << limit;
    EXPECT_FALSE(qd_delete_link("Dir", "Holes", true)) << limit;
    EXPECT_FALSE(qd_create_link("Dir", "Holes", "Collars")) << limit;
    EXPECT_FALSE(qd_forget_partner("Dir", "Collars", "Holes")) << limit;
    study.expect_links("Holes", "Collars");
    EXPECT_EQ(read_file(names + "/DESCR"), before) << limit;
  }
  EXPECT_GT(refused, 10);
  {
    file_size_limit full(before.size() - 1);
    EXPECT_FALSE(qd_var_as_line_name("Dir", "Collars", "Other"));
  }
  EXPECT_EQ(read_file(names + "/DESCR"), before);
  EXPECT_EQ(study.kind_of(former), KIND_PLAIN);
  EXPECT_TRUE(qd_link_can_be_deleted("Dir", "Collars"));
  study.expect_links("Holes", "Collars");
  for (const std::string& folder : {study.file_path(), study.lines_path(), names})
    for (const std::string& name : names_in(folder)) EXPECT_FALSE(name.starts_with("N_")) << name;
}

TEST(link, the_partner_of_a_deleted_file_is_freed_only_from_that_file) {
  linked_study study;
  study.write_links("Holes", "Collars");
  std::string names = study.add_names("Name", "ab", KIND_LINE_NAME);
  EXPECT_TRUE(qd_forget_partner("Dir", "Collars", "Others"));
  study.expect_links("Holes", "Collars");
  EXPECT_TRUE(qd_forget_partner("Dir", "Collars", "Holes"));
  study.expect_links("", "Collars");
  EXPECT_EQ(study.kind_of(names), KIND_PLAIN);
}

struct line_names : testing::Test {
  line_names() { study.write_links("Holes", "Collars"); }
  static bool make(const char* variable) { return qd_var_as_line_name("Dir", "Collars", variable); }
  linked_study study;
};

TEST_F(line_names, the_new_variable_takes_the_role_from_the_former) {
  std::string former = study.add_names("Old", "ab", KIND_LINE_NAME);
  std::string names = study.add_names("New", " cd d ");
  EXPECT_TRUE(make("New"));
  EXPECT_EQ(study.kind_of(former), KIND_PLAIN);
  EXPECT_EQ(study.kind_of(names), KIND_LINE_NAME);
  EXPECT_TRUE(make("New")) << "again";
  EXPECT_EQ(study.kind_of(names), KIND_LINE_NAME);
}

TEST_F(line_names, every_sample_needs_a_name_of_its_own) {
  const std::map<std::string, std::string> wrong_names = {
      {"a   ", "Sample #2 in the Line Name Variable is not define.\n\n"},
      {"    ", "Sample #1 in the Line Name Variable is not define.\n\n"},
      {" aa ", "Sample #1 and Sample #2 in the Line Name Variable are the same (a).\n\n"}};
  for (const auto& [texts, console] : wrong_names) {
    const std::string name = "N" + texts, path = study.add_names(name, texts),
                      before = read_file(path + "/DESCR");
    EXPECT_EQ(console_of([&] { EXPECT_FALSE(make(name.c_str())); }), console);
    EXPECT_EQ(read_file(path + "/DESCR"), before);
  }
}

}  // namespace
}  // namespace qrd::test

// Palettes and scales in a study that others change at the same time, on disks that fill up or fail.
#include <ctime>

#include "support/formats.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

// Readable for open(), but every read fails: EIO.
constexpr char failing_file[] = "/proc/self/mem";

struct shared_colours : open_study {
  static bytes palette(const std::string& name, int value) {
    return bytes(name).i32(2, value, value, value, value, value, value);
  }
  std::string scale_file(int number) const { return in_study("CSCALE/CSCA." + std::to_string(number)); }
  std::string palette_file(int number) const { return in_study("U_COLOR/PAL." + std::to_string(number)); }
};

TEST_F(shared_colours, keep_the_old_file_where_the_disk_is_full) {
  expect_done("CSCANEW", automatic_scale("first", "p"));
  expect_done("CSCANEW", automatic_scale("kept", "before"));
  fs::remove(scale_file(0));
  expect_done("CPALWRIT", palette("kept", 1));
  const std::string old_scale = read_file(scale_file(1)), old_palette = read_file(palette_file(0));
  {
    file_size_limit full(16);
    expect_refused("CSCANEW", automatic_scale("kept", "after"),
                   "An error occured during Color Scale kept Writing.");
    expect_refused("CSCANEW", automatic_scale("new", "p"),
                   "An error occured during Color Scale new Writing.");
    expect_refused("CPALWRIT", palette("kept", 2), "An error occured during Palette kept writing");
    expect_refused("CPALWRIT", palette("new", 2), "An error occured during Palette new writing");
  }
  EXPECT_EQ(names_in(in_study("CSCALE")), strings{"CSCA.1"});
  EXPECT_EQ(names_in(in_study("U_COLOR")), strings{"PAL.0"});
  EXPECT_EQ(read_file(scale_file(1)), old_scale);
  EXPECT_EQ(read_file(palette_file(0)), old_palette);
  expect_done("CSCANEW", automatic_scale("kept", "after"));
  EXPECT_EQ(names_in(in_study("CSCALE")), strings{"CSCA.0"}) << "the lowest number that is free";
}

TEST_F(shared_colours, are_refused_where_no_file_can_be_made) {
  fs::remove(in_study("U_COLOR"));
  fs::create_directory_symlink("/proc/self", in_study("U_COLOR"));
  expect_refused("CPALWRIT", palette("new", 2), "Cannot create new Palette named new.");
}

TEST_F(shared_colours, that_the_disk_does_not_give_are_not_damaged) {
  expect_done("CSCANEW", automatic_scale("sound", "used"));
  expect_done("CPALWRIT", palette("sound", 1));
  fs::create_symlink(failing_file, scale_file(1));
  fs::create_symlink(failing_file, palette_file(1));
  const std::string unread = "Cannot read Color Scale named other.";
  EXPECT_EQ(ask("CSCAREAD", "sound").substr(0, 12), bytes("SSCALE"));
  expect_refused("CSCAREAD", "other", unread);
  expect_refused("CSCAXIST", "other", unread);
  expect_refused("CSCALST", {}, "Cannot read Color Scale named " + in_study("CSCALE") + ".");
  expect_refused("CSCANEW", automatic_scale("other", "p"),
                 "An error occured during Color Scale other Writing.");
  expect_refused("CSCADEL", "other", "An error happened during Color Scale deletion");
  expect_refused("CPALDEL", "sound", "Cannot delete palette named sound as it is used by a Color Scale.");
  // One that may hold the name can't be read: it must not be made a second time.
  expect_refused("CPALWRIT", palette("other", 1), "An error occured during Palette other writing");
  expect_refused("CPALXIST", "other", "An error happened during Palette other read");
  expect_refused("CPALREAD", "other", "An error happened during Palette other read");
  expect_done("CPALWRIT", palette("sound", 3));
  EXPECT_EQ(names_in(in_study("CSCALE")), (strings{"CSCA.0", "CSCA.1"}));
  EXPECT_EQ(names_in(in_study("U_COLOR")), (strings{"PAL.0", "PAL.1"}));
  // A link that leads nowhere is none of them.
  fs::remove(scale_file(1));
  fs::create_symlink("nowhere", scale_file(1));
  expect_refused("CSCAREAD", "other", unread);
  expect_answer("CSCAXIST", "other", bytes("SEXIST").i32(0));
}

TEST_F(shared_colours, need_their_own_folder_alone) {
  const std::string gone = "Study is not set";
  fs::rename(in_study("CSCALE"), in_study("away"));
  expect_done("CPALWRIT", palette("p", 1));
  expect_refused("CSCALST", {}, gone);
  expect_refused("CPALDEL", "p", gone);
  fs::rename(in_study("away"), in_study("CSCALE"));
  fs::rename(in_study("U_COLOR"), in_study("away"));
  expect_done("CSCANEW", automatic_scale("s", "p"));
  expect_refused("CPALLST", {}, gone);
  expect_refused("CPALDEL", "p", gone);
}

TEST_F(shared_colours, without_the_root_palettes_are_refused) {
  study_root elsewhere;
  const std::string path = elsewhere.make_study("E", study_descriptor(1));
  root_.write_registry(pair("$init$/S", "S") + pair(path, "E"));
  expect_done("CSTUDYSET", "E");
  fs::remove_all(root_.path());
  const std::string text = "QRD_INIT=" + root_.path() + ": Cannot access directory";
  expect_refused("CPALLST", {}, text);
  expect_refused("CPALWRIT", palette("p", 1), text);
}

TEST_F(shared_colours, named_none_do_not_exist) {
  expect_done("CSCANEW", automatic_scale("None", "p"));
  expect_answer("CSCAXIST", "None", bytes("SEXIST").i32(0));
}

TEST_F(shared_colours, are_looked_through_once_for_a_palette) {
  expect_done("CPALWRIT", palette("p", 1));
  expect_done("CSCANEW", automatic_scale("s", "other"));
  const std::string first = read_file(scale_file(0));
  for (int i = 1; i < 900; ++i) {
    std::string each = first;
    each[8] = static_cast<char>('!' + i % 90);  // behind the version and the length of the name
    write_file(scale_file(i), each);
  }
  const std::clock_t start = std::clock();
  expect_done("CPALDEL", "p");
  EXPECT_LT(std::clock() - start, 3 * CLOCKS_PER_SEC / 10);
}

}  // namespace
}  // namespace qrd::test

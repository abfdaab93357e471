// Palettes and scales in a study that others change at the same time, on disks that fill up or fail.
#include <ctime>

#include "disk/qu_cscale.h"
#include "disk/qu_palette.h"
#include "disk/store_state.h"
#include "support/open_study.h"
#include "support/processes.h"

namespace qrd::test {
namespace {

// Readable for open(), but every read fails: EIO.
constexpr char failing_file[] = "/proc/self/mem";

struct shared_colours : open_study {
  static bytes scale(const std::string& name, const std::string& palette) {
    bytes out = bytes(name).i32(0, 0).text(palette).i32(0);
    for (int i = 0; i < 15; ++i) out.i32(0);
    return out.text("").text("").i32(0, 0, 0, 0);
  }
  static bytes palette(const std::string& name, int value) {
    return bytes(name).i32(2, value, value, value, value, value, value);
  }
  std::string scale_file(int number) const { return in_study("CSCALE/CSCA." + std::to_string(number)); }
  std::string palette_file(int number) const { return in_study("U_COLOR/PAL." + std::to_string(number)); }
};

TEST_F(shared_colours, keep_the_old_file_where_the_disk_is_full) {
  expect_done("CSCANEW", scale("first", "p"));
  expect_done("CSCANEW", scale("kept", "before"));
  fs::remove(scale_file(0));
  expect_done("CPALWRIT", palette("kept", 1));
  const std::string old_scale = read_file(scale_file(1)), old_palette = read_file(palette_file(0));
  {
    file_size_limit full(16);
    expect_refused("CSCANEW", scale("kept", "after"), "An error occured during Color Scale kept Writing.");
    expect_refused("CSCANEW", scale("new", "p"), "An error occured during Color Scale new Writing.");
    expect_refused("CPALWRIT", palette("kept", 2), "An error occured during Palette kept writing");
    expect_refused("CPALWRIT", palette("new", 2), "An error occured during Palette new writing");
  }
  EXPECT_EQ(names_in(in_study("CSCALE")), strings{"CSCA.1"});
  EXPECT_EQ(names_in(in_study("U_COLOR")), strings{"PAL.0"});
  EXPECT_EQ(read_file(scale_file(1)), old_scale);
  EXPECT_EQ(read_file(palette_file(0)), old_palette);
  expect_done("CSCANEW", scale("kept", "after"));
  EXPECT_EQ(names_in(in_study("CSCALE")), strings{"CSCA.0"}) << "the lowest number that is free";
}

TEST_F(shared_colours, are_refused_where_no_file_can_be_made) {
  fs::remove(in_study("U_COLOR"));
  fs::create_directory_symlink("/proc/self", in_study("U_COLOR"));
  expect_refused("CPALWRIT", palette("new", 2), "Cannot create new Palette named new.");
}

TEST_F(shared_colours, that_the_disk_does_not_give_are_not_damaged) {
  expect_done("CSCANEW", scale("sound", "used"));
  expect_done("CPALWRIT", palette("sound", 1));
  fs::create_symlink(failing_file, scale_file(1));
  fs::create_symlink(failing_file, palette_file(1));
  const std::string unread = "Cannot read Color Scale named other.";
  EXPECT_EQ(ask("CSCAREAD", "sound").substr(0, 12), bytes("SSCALE"));
  expect_refused("CSCAREAD", "other", unread);
  expect_refused("CSCAXIST", "other", unread);
  expect_refused("CSCALST", {}, "Cannot read Color Scale named " + in_study("CSCALE") + ".");
  expect_refused("CSCANEW", scale("other", "p"), "An error occured during Color Scale other Writing.");
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
  expect_done("CSCANEW", scale("s", "p"));
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
  expect_done("CSCANEW", scale("None", "p"));
  expect_answer("CSCAXIST", "None", bytes("SEXIST").i32(0));
}

TEST_F(shared_colours, are_looked_through_once_for_a_palette) {
  expect_done("CPALWRIT", palette("p", 1));
  expect_done("CSCANEW", scale("s", "other"));
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

std::function<bool(int)> many_times(const std::function<bool(int process)>& act) {
  return [act](int process) {
    for (int round = 0; round < 60; ++round)
      if (!act(process)) return false;
    return true;
  };
}

// Two write, one moves the scale to a higher number, from which the next write takes it back, and two read.
TEST_F(shared_colours, scale_of_one_name_stays_one_and_is_always_found) {
  expect_done("CSCANEW", scale("one", "p0"));
  const auto act = [this](int process) {
    color_scale scale;
    qu_cscale_init(scale, false, "one", "p1");
    if (process > 2) return qu_cscale_read("one", false, scale);
    if (process < 2) return qu_cscale_write(scale);
    const folder_lock lock(store.cscale_path);
    return std::rename(scale_file(0).c_str(), scale_file(7).c_str()) == 0 || errno == ENOENT;
  };
  EXPECT_EQ(in_processes(5, many_times(act)), 0);
  EXPECT_EQ(names_in(in_study("CSCALE")).size(), 1U);
}

// Three make the palettes of the same moment, one reads.
TEST_F(shared_colours, palette_of_one_name_stays_one_and_is_always_whole) {
  expect_done("CPALWRIT", palette("one", 0));
  const auto act = [](int process) {
    palette_colours colours;
    if (process == 3) return qu_palette_read("one", colours) && colours.count % 198 == 2;
    colours.count = 200;
    const auto moment = std::chrono::steady_clock::now().time_since_epoch() / std::chrono::milliseconds(3);
    return qu_palette_write(std::to_string(moment).c_str(), colours) == palette_writing::done &&
           qu_palette_write("one", colours) == palette_writing::done;
  };
  EXPECT_EQ(in_processes(4, many_times(act)), 0);
  const string_list names = qu_palette_get_list();
  for (std::int64_t i = 1; i < names.count(); ++i) EXPECT_STRNE(names[i - 1], names[i]);
}

}  // namespace
}  // namespace qrd::test

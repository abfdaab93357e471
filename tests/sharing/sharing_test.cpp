// What servers that share a tree may do at the same time, and what must never come of it.
#include "sharing/sharing.h"

#include "support/database.h"
#include "support/formats.h"

namespace qrd::test {
namespace {

constexpr int many = 20000;

std::vector<double> counted(int count) {
  std::vector<double> values(static_cast<std::size_t>(count));
  std::iota(values.begin(), values.end(), 1);
  return values;
}

using act = std::function<void(client::connection&)>;

turn chosen_first(const act& choose, const turn& then) {
  return [=](visitor& self) {
    if (self.round == 0) choose(self.to);
    then(self);
  };
}

void open_study(client::connection& to) {
  to.set_study("S");
}
void open_directory(client::connection& to) {
  to.set_study("S");
  to.set_directory("D");
}
act opened(const char* file, const char* variable = nullptr) {
  return [=](client::connection& to) {
    open_directory(to);
    to.set_file(file);
    if (variable != nullptr) to.set_variable(variable);
  };
}

const std::vector<double> one_point = {1, 2}, three_points = {1, 2, 3, 10, 20, 30};

// A points file "P" with the values 1, 2, 3... in "v", which lie compressed at the beginning of each round.
struct sharing_compressed : sharing {
  void SetUp() override {
    alone([](client::connection& to) {
      open_directory(to);
      to.new_points("P", 2, std::vector<double>(2 * many, 0.5));
      to.set_file("P");
      to.new_float_variable("v", 64, {}, "");
      to.set_variable("v");
      to.write_floats(counted(many));
    });
    for (const auto& entry : fs::directory_iterator(in_file(1, "")))
      if (fs::exists(entry.path() / "DATAVAR") &&
          read_file((entry.path() / "DESCR").string()).starts_with(bytes().i32(1100).text("v").str()))
        plain_ = (entry.path() / "DATAVAR").string();
    archive_ = gzipped(read_file(plain_));
  }
  void compress() {
    write_file(plain_ + ".gz", archive_);
    fs::remove(plain_);
  }

  const act choose = opened("P", "v");
  std::string plain_, archive_;
};

TEST_F(sharing_compressed, is_expanded_by_those_who_read) {
  const turn reader =
      chosen_first(choose, [](visitor& self) { EXPECT_EQ(self.to.read_floats().values, counted(many)); });
  together({.turns = {reader, reader, reader, reader}, .before = [this] { compress(); }});
}

TEST_F(sharing_compressed, keeps_what_is_written_at_that_moment) {
  const std::vector<double> written(many / 2, 7.0);
  std::vector<double> expected = counted(many);
  std::copy(written.begin(), written.end(), expected.begin());
  const turn writer = chosen_first(choose, [&](visitor& self) {
    self.to.write_floats(written, client::sample_range{1, many / 2});
  });
  const turn reader = chosen_first(choose, [&](visitor& self) {
    const std::vector<double> read = self.to.read_floats().values;
    for (std::size_t i = 0; i < read.size(); ++i)
      if (read[i] != expected[i] && read[i] != static_cast<double>(i + 1))
        throw std::runtime_error("value " + std::to_string(i) + " is " + std::to_string(read[i]));
  });
  together({.turns = {writer, reader, reader},
            .before = [this] { compress(); },
            .after =
                [&] {
                  alone([&](client::connection& to) {
                    choose(to);
                    EXPECT_EQ(to.read_floats().values, expected);
                  });
                },
            .most_rounds = 200});
}

// Each append is longer than the room that is left, so that all columns move.
TEST_F(sharing, an_append_leaves_each_column_its_values) {
  constexpr int columns = 30;
  alone([&](client::connection& to) {
    open_directory(to);
    to.new_points("P", 2, std::vector<double>(2 * 300, 0.5));
    to.set_file("P");
    to.new_macro_variable("m[xxxxx]", 64, {}, "");
    to.set_variable("m[xxxxx]");
    std::vector<std::int32_t> indices(columns);
    std::iota(indices.begin(), indices.end(), 1);
    to.add_macro_indices(indices);
    for (const std::int32_t index : indices) {
      to.set_index(index);
      to.write_floats(std::vector<double>(300, index));
    }
  });
  const turn writer = chosen_first(
      opened("P"), [](visitor& self) { self.to.append_points(2, std::vector<double>(2 * 512, 0.5)); });
  const turn reader = chosen_first(opened("P", "m[xxxxx]"), [](visitor& self) {
    for (int i = 0; i < 8; ++i) {
      const int index = 1 + self.pick(columns);
      self.to.set_index(index);
      // In the moment of the change a reader may be refused, and never given another column.
      std::vector<double> read(300, index);
      attempt([&] { read = self.to.read_floats(client::sample_range{1, 300}).values; });
      EXPECT_EQ(read, std::vector<double>(300, index));
    }
  });
  together({.turns = {writer, reader, reader}, .most_rounds = 300});
}

TEST_F(sharing, a_bare_study_opened_by_two_has_the_whole_template) {
  alone([this](client::connection& to) { to.new_study("Template", root_ / "Template"); });
  write_file(root_ / "Template/DEF/DISP1", "shown\n");
  for (int i = 1; i <= 30; ++i)
    write_file(root_ / ("Template/U_COLOR/PAL." + std::to_string(i)),
               "C" + std::to_string(i) + "\n  1   2   3\n");
  const tree_image expected = image_of(root_ / "Template/U_COLOR");
  const turn open = [](visitor& self) { open_study(self.to); };
  together({.turns = {open, open},
            .before =
                [this] {
                  for (const char* folder : {"CSCALE", "U_LITHO", "TRANSFO", "U_COLOR", "IMAGES", "METAFILE"})
                    fs::remove_all(root_ / (std::string("S/") + folder));
                  fs::remove(root_ / "S/DEF/DISP1");
                },
            .after =
                [&] {
                  EXPECT_EQ(image_of(root_ / "S/U_COLOR"), expected);
                  EXPECT_EQ(read_file(root_ / "S/DEF/DISP1"), "shown\n");
                }});
}

TEST_F(sharing, old_anamorphoses_move_once) {
  const turn open = [](visitor& self) { open_study(self.to); };
  together({.turns = {open, open},
            .before =
                [this] {
                  fs::remove_all(root_ / "S/PARAM/ANAM");
                  fs::create_directory(root_ / "S/PARAM/MHISTO");
                  write_file(root_ / "S/PARAM/MHISTO/one", "kept");
                },
            .after =
                [this] {
                  EXPECT_TRUE(fs::exists(root_ / "S/PARAM/ANAM/one"));
                  EXPECT_FALSE(fs::exists(root_ / "S/PARAM/MHISTO"));
                }});
}

// Each makes studies and forgets those of two rounds before.
struct sharing_studies : sharing, testing::WithParamInterface<process_numbers> {
  turn maker(const std::string& name) {
    return [this, name](visitor& self) {
      const std::string made = name + std::to_string(self.round);
      self.to.new_study(made, root_ / made);
    };
  }
};

TEST_P(sharing_studies, made_at_once_are_all_registered) {
  int rounds = 0;
  together({.turns = {maker("a"), maker("b"), maker("c")},
            .after =
                [&] {
                  const std::string registry = root_.registry();
                  for (const char* name : {"a", "b", "c"}) {
                    const std::string line = "=" + (name + std::to_string(rounds)) + "\n";
                    EXPECT_HAS(registry, line) << line;
                  }
                  ++rounds;
                },
            .most_rounds = 40,
            .numbers = GetParam()});
}

TEST_P(sharing_studies, directories_and_files_made_at_once_are_all_there) {
  const auto maker_of_files = [](const std::string& name) {
    return chosen_first(open_directory, [name](visitor& self) {
      self.to.new_directory(name + std::to_string(self.round));
      self.to.new_points(name + std::to_string(self.round), 2, one_point);
    });
  };
  int rounds = 0;
  together({.turns = {maker_of_files("a"), maker_of_files("b"), maker_of_files("c")},
            .after = [&] { ++rounds; },
            .most_rounds = 25,
            .numbers = GetParam()});
  if (IsSkipped()) return;
  alone([&](client::connection& to) {
    open_directory(to);
    EXPECT_EQ(to.directories().size(), 1U + 3U * static_cast<unsigned>(rounds));
    EXPECT_EQ(to.files().size(), 3U * static_cast<unsigned>(rounds));
  });
}

INSTANTIATE_TEST_SUITE_P(with, sharing_studies,
                         testing::Values(process_numbers::different, process_numbers::equal),
                         [](const auto& numbers) {
                           return numbers.param == process_numbers::equal ? "equal_process_numbers"
                                                                          : "different_process_numbers";
                         });

TEST_F(sharing, no_other_study_is_open_than_the_one_that_was_set) {
  alone([](client::connection& to) {
    to.set_study("T");
    to.new_directory("of T");
  });
  const turn maker = [this](visitor& self) {
    self.to.new_study("U", root_ / "U");
    self.to.set_study("U");
    self.to.new_directory("of U");
    // Somebody who has it open may keep it.
    attempt([&] { self.to.delete_study(); });
    if (fs::exists(root_ / "U")) {
      attempt([&] { self.to.set_study("U"); });
      attempt([&] { self.to.delete_study(); });
    }
  };
  const turn opener = [](visitor& self) {
    for (int i = 0; i < 10; ++i) {
      strings names;
      if (attempt([&] { self.to.set_study("U"); })) attempt([&] { names = self.to.directories(); });
      for (const std::string& name : names) EXPECT_EQ(name, "of U");
      attempt([&] { self.to.set_study("T"); });
    }
  };
  together({.turns = {maker, opener}, .most_rounds = 60});
}

const std::vector<client::rgb> greys = {{0, 0, 0}, {128, 127, 126}};

client::vendor_bag bag(std::int32_t version) {
  return {version, {{"number", version}, {"reals", std::vector<double>(200, version)}}};
}

client::colour_scale scale(std::int32_t red) {
  client::colour_scale one;
  one.kind = client::scale_kind::facies;
  one.palette = "P";
  one.colour_1 = {red, 2, 3};
  one.intervals.assign(20, {1, 2, red});
  one.classes = 3;
  one.facies = {{{10, 20, red}, "sand"}, {{40, 50, red}, "clay"}, {{40, 50, red}, "rock"}};
  return one;
}

auto count_named(const std::string& folder, const std::string& begin) {
  const strings names = names_in(folder);
  return std::count_if(names.begin(), names.end(), [&](const auto& name) { return name.starts_with(begin); });
}

// One of two writes again and again what the other writes too; a third one reads.
TEST_F(sharing, what_two_replace_is_there_once_and_whole) {
  const auto write = [](client::connection& to, std::int32_t number) {
    to.write_scale("one", scale(number));
    to.write_vendor_data("bag", client::vendor_scope::study, bag(number));
    to.write_palette("colours", std::vector<client::rgb>(200, client::rgb{number, number, number}));
  };
  alone([&](client::connection& to) {
    open_study(to);
    write(to, 1);
  });
  const turn reader = chosen_first(open_study, [](visitor& self) {
    const std::int32_t version = self.to.vendor_data("bag", client::vendor_scope::study).version;
    EXPECT_TRUE(version == 1 || version == 2) << version;
    const std::vector<client::rgb> colours = self.to.palette("colours");
    EXPECT_EQ(colours, std::vector<client::rgb>(200, colours.at(0)));
    const std::int32_t red = self.to.scale("one").colour_1[0];
    EXPECT_TRUE(red == 1 || red == 2) << red;
  });
  const auto writer = [&](std::int32_t number) {
    return chosen_first(open_study, [&write, number](visitor& self) {
      // Names that are new to both.
      const std::string name = "of round " + std::to_string(self.round);
      self.to.write_scale(name, scale(0));
      self.to.write_vendor_data(name, client::vendor_scope::study, bag(0));
      self.to.write_palette(name, greys);
      write(self.to, number);
    });
  };
  const std::map<std::string, std::string> kinds = {
      {"S/CSCALE", "CSCA."}, {"S", "VENDOR."}, {"S/U_COLOR", "PAL"}};
  int rounds = 0;
  together({.turns = {writer(1), writer(2), reader, reader},
            .after =
                [&] {
                  ++rounds;
                  for (const auto& [folder, begin] : kinds)
                    EXPECT_EQ(count_named(root_ / folder, begin), 1 + rounds) << begin;
                },
            .most_rounds = 300});
}

TEST_F(sharing, comments_of_two_are_one_or_the_other) {
  alone([](client::connection& to) {
    open_directory(to);
    to.new_points("P", 2, one_point);
  });
  const std::string first(300, 'a'), second(2000, 'b');
  const auto writer = [&](const std::string& text) {
    return chosen_first(opened("P"),
                        [&text](visitor& self) { self.to.set_comment(client::comment_owner::file, text); });
  };
  const turn reader = chosen_first(opened("P"), [&](visitor& self) {
    const std::string read = self.to.comment(client::comment_owner::file);
    EXPECT_TRUE(self.round == 0 || read.starts_with(first) || read.starts_with(second)) << read;
  });
  together({.turns = {writer(first), writer(second), reader}});
}

TEST_F(sharing, lines_grow_while_their_lengths_are_read) {
  alone([](client::connection& to) {
    open_directory(to);
    to.new_lines("L", 2);
    to.set_file("L");
    to.append_line(2, three_points);
  });
  const turn writer = chosen_first(opened("L"), [](visitor& self) { self.to.append_line(2, three_points); });
  const turn reader = chosen_first(opened("L"), [](visitor& self) {
    for (int i = 0; i < 5; ++i) {
      std::vector<std::int32_t> lengths;
      attempt([&] { lengths = self.to.line_lengths(); });
      EXPECT_EQ(lengths, std::vector<std::int32_t>(lengths.size(), 3));
    }
  });
  together({.turns = {writer, reader, reader}, .most_rounds = 400});
}

}  // namespace
}  // namespace qrd::test

#include <linux/fs.h>
#include <sys/ioctl.h>

#include "support/formats.h"
#include "support/test.h"
#include "util/qu_compress.h"
#include "util/qu_working_name.h"

namespace qrd::test {
namespace {

// An encoder of its own: strings in a map, codes gathered as bits, chunks of 8 codes of one width.
class lzw_encoder {
 public:
  lzw_encoder(int largest_width, bool block_mode) : largest_width_(largest_width), block_mode_(block_mode) {
    reset();
  }

  // Clears the table after so many codes; 0 means never.
  std::string encode(const std::string& text, int codes_between_clears) {
    std::string current;
    int sent = 0;
    for (char c : text) {
      if (table_.contains(current + c)) {
        current += c;
        continue;
      }
      send(table_.at(current));
      if (next_ < (1 << largest_width_)) table_[current + c] = next_++;
      current = c;
      if (codes_between_clears != 0 && ++sent % codes_between_clears == 0) clear();
    }
    if (!current.empty()) send(table_.at(current));
    append_bits();
    return output_;
  }

 private:
  void reset() {
    table_.clear();
    for (int c = 0; c < 256; c++) table_[std::string(1, static_cast<char>(c))] = c;
    next_ = block_mode_ ? 257 : 256;
    width_ = 9;
  }
  void clear() {
    send(256);
    flush_chunk();
    reset();
  }
  // The width follows the decoder's table, which lags one entry behind.
  void send(int code) {
    if (width_ < largest_width_ && next_ > 1 << width_) {
      flush_chunk();
      width_++;
    }
    for (int bit = 0; bit < width_; bit++) bits_ += (code >> bit & 1) != 0 ? '1' : '0';
    if (static_cast<int>(bits_.size()) == 8 * width_) flush_chunk();
  }
  void flush_chunk() {
    if (!bits_.empty()) bits_.resize(static_cast<std::size_t>(8 * width_), '0');
    append_bits();
  }
  void append_bits() {
    for (std::size_t i = 0; i < bits_.size(); i++) {
      if (i % 8 == 0) output_ += '\0';
      if (bits_[i] == '1') output_.back() = static_cast<char>(output_.back() | 1 << (i % 8));
    }
    bits_.clear();
  }

  int largest_width_;
  bool block_mode_;
  std::map<std::string, int> table_;
  int next_, width_;
  std::string bits_, output_{'\x1F', '\x9D', static_cast<char>(largest_width_ | (block_mode_ ? 0x80 : 0))};
};

std::string packed(const std::string& text, int width = 16) {
  return lzw_encoder(width, true).encode(text, 0);
}

// Text with repetitions at all distances, and enough variety to fill a table.
std::string sample_text(std::size_t size) {
  std::string text;
  std::uint32_t state = 1;
  while (text.size() < size) {
    state = state * 1664525U + 1013904223U;
    text += std::to_string(state >> 18) + (state >> 30 == 0 ? std::string(40, 'a') : ",");
  }
  return text.substr(0, size);
}

struct compressed_files : testing::Test {
  std::string expand(const char* suffix, const std::string& archive, int expected = 1) {
    write_file(plain_ + suffix, archive);
    fs::remove_all(fs::is_symlink(plain_) ? "" : plain_);
    EXPECT_EQ(qu_file_uncompress(plain_.c_str()), expected);
    return fs::exists(plain_) ? read_file(plain_) : "(none)";
  }
  strings names() const { return names_in(folder_.path()); }
  // What has been set aside.
  std::string kept() const {
    for (const std::string& name : names())
      if (name.starts_with("B_")) return folder_ / name;
    return "";
  }
  bool archive_exists(const char* suffix) { return fs::exists(plain_ + suffix); }

  temporary_directory folder_;
  std::string plain_ = folder_ / "DATAVAR";
};

TEST_F(compressed_files, gzip_gives_content_and_times_back) {
  std::string content = sample_text(100000);
  write_file(plain_ + ".gz", gzipped(content));
  timespec times[2] = {{1000000001, 0}, {1000000002, 0}};
  utimensat(AT_FDCWD, (plain_ + ".gz").c_str(), times, 0);
  EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 1);
  struct stat status;
  ASSERT_EQ(stat(plain_.c_str(), &status), 0);
  EXPECT_EQ(status.st_atim.tv_sec, 1000000001);
  EXPECT_EQ(status.st_mtim.tv_sec, 1000000002);
  EXPECT_EQ(read_file(plain_), content);
  EXPECT_FALSE(archive_exists(".gz"));
}

TEST_F(compressed_files, damaged_gzip_keeps_the_archive) {
  std::string archive = gzipped(sample_text(100000));
  for (std::size_t kept : {std::size_t{2}, std::size_t{30}, archive.size() - 4}) {
    std::string report = console_of([&] { EXPECT_EQ(expand(".gz", archive.substr(0, kept), 0), "(none)"); });
    EXPECT_TRUE(report.starts_with("Error while decompressing file\n" + plain_ + ".gz\n")) << report;
    EXPECT_TRUE(archive_exists(".gz")) << kept;
  }
  archive[archive.size() / 2] = static_cast<char>(archive[archive.size() / 2] ^ 0x55);
  console_of([&] { EXPECT_EQ(expand(".gz", archive, 0), "(none)"); });
  EXPECT_TRUE(archive_exists(".gz"));
}

TEST_F(compressed_files, a_full_disk_leaves_the_archive_alone) {
  const std::string content = sample_text(100000);
  const std::pair<std::string, std::string> archives[] = {{".gz", gzipped(content)}, {".Z", packed(content)}};
  for (const auto& [suffix, archive] : archives) {
    write_file(plain_ + suffix, archive);
    const strings before = names();
    EXPECT_EXIT(
        {
          file_size_limit disk(50000);
          console_on_stderr();
          _exit(qu_file_uncompress(plain_.c_str()));
        },
        testing::ExitedWithCode(5), "failed to fwrite");
    EXPECT_EQ(names(), before) << "nothing appears";
    EXPECT_TRUE(read_file(plain_ + suffix) == archive);
    fs::remove(plain_ + suffix);
  }
}

TEST_F(compressed_files, lzw_at_every_width) {
  for (int width : {10, 12, 13, 16}) {
    const std::string text = sample_text(width == 16 ? 400000 : 50000);  // beyond the last code
    for (bool block_mode : {true, false}) {
      EXPECT_TRUE(expand(".Z", lzw_encoder(width, block_mode).encode(text, 0)) == text)
          << width << ' ' << block_mode;
      EXPECT_FALSE(archive_exists(".Z"));
    }
  }
  for (const std::string text : {"", "x", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "abcabcabcabcabcab"})
    EXPECT_EQ(expand(".Z", packed(text)), text);
}

TEST_F(compressed_files, lzw_clears_in_block_mode) {
  for (int between : {1, 8, 300, 1500}) {
    const std::string text = sample_text(between == 1 ? 1000 : 12000);
    EXPECT_TRUE(expand(".Z", lzw_encoder(12, true).encode(text, between)) == text) << between;
  }
}

TEST_F(compressed_files, lzw_by_hand) {
  // 257 = ab, 258 = ba, 259 = aba, which is used while it is being defined; without block mode one less.
  EXPECT_EQ(expand(".Z", nine_bit_codes({'a', 'b', 257, 259, 258}, '\x90')), "ababababa");
  EXPECT_EQ(expand(".Z", nine_bit_codes({'a', 'b', 256, 258}, '\x10')), "abababa");
}

TEST_F(compressed_files, damaged_lzw_ends) {
  // Codes far beyond the table make entries that lead to one another in a circle.
  std::vector<int> codes = {'a'};
  for (int i = 0; i < 300; i++) codes.push_back(511 - i % 250);
  const std::string archive = nine_bit_codes(codes, '\x90');
  expand(".Z", archive);
  EXPECT_FALSE(archive_exists(".Z"));
  EXPECT_EQ(read_file(kept()), archive) << "for its owner";
  std::uint32_t state = 7;
  for (int round = 0; round < 200; round++) {
    std::string noise = {'\x1F', '\x9D', static_cast<char>((round % 17) | (round % 2 != 0 ? 0x80 : 0))};
    for (int i = 0; i < 3000; i++) {
      state = state * 1664525U + 1013904223U;
      noise += static_cast<char>(state >> 24);
    }
    expand(".Z", noise);
  }
  EXPECT_EQ(expand(".Z", "\x1F\x9D"), "");
  EXPECT_HAS(console_of([&] { EXPECT_EQ(expand(".Z", "\x1F\x9D\x91" + std::string("abc")), ""); }),
             "Unsupported compression method...\ncompressed with 17 bits, can only handle 16 bits\n");
}

TEST_F(compressed_files, the_magic_decides_and_gzip_names_come_first) {
  EXPECT_EQ(expand(".gz", packed("named otherwise")), "named otherwise");
  fs::remove(plain_);
  std::string other = packed("other");
  write_file(plain_ + ".Z", other);
  EXPECT_EQ(expand(".gz", gzipped("first")), "first");
  EXPECT_EQ(read_file(plain_ + ".Z"), other);
  // A directory is no archive.
  fs::create_directory(plain_ + ".gz");
  EXPECT_EQ(expand(".Z", packed("from Z")), "from Z");
}

TEST_F(compressed_files, without_an_archive_nothing_is_touched) {
  write_file(plain_, "plain");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0); }),
            "Cannot find compressed version of file\n" + plain_ + "\n");
  write_file(plain_ + ".gz", "\x1F");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0); }),
            "Cannot find compression method for file\n" + plain_ + "\n");
  EXPECT_EQ(read_file(plain_), "plain");
  EXPECT_TRUE(archive_exists(".gz"));
}

TEST_F(compressed_files, without_a_place_for_the_plain_file_the_archive_stays) {
  std::string archive = gzipped("x");
  fs::create_symlink(folder_ / "none/DATAVAR", plain_);
  EXPECT_EQ(expand(".gz", archive, 0), "(none)");
  EXPECT_TRUE(archive_exists(".gz"));

  fs::remove(plain_);
  fs::create_directory(plain_);
  write_file(plain_ + "/inside", "");
  EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0);
  EXPECT_TRUE(fs::exists(plain_ + "/inside"));
  EXPECT_TRUE(archive_exists(".gz"));
}

// An archive beside a plain file: somebody was killed, or hasn't come further.
TEST_F(compressed_files, a_plain_file_is_never_overwritten) {
  const std::string content = sample_text(50000), archive = gzipped(content);
  const auto both = [&](const std::string& plain) {
    write_file(plain_, plain);
    write_file(plain_ + ".gz", archive);
    fs::last_write_time(plain_ + ".gz", fs::file_time_type::clock::now() - std::chrono::hours(1));
    const std::string console = console_of([&] { EXPECT_TRUE(qu_file_restore(plain_.c_str())); });
    EXPECT_FALSE(archive_exists(".gz"));
    return console;
  };
  std::string written = content, grown = content + "more";
  written[7] = '#';
  for (const std::string& changed : {written, grown}) {
    const std::string console = both(changed);
    EXPECT_TRUE(read_file(plain_) == changed);
    EXPECT_TRUE(console.starts_with("The damaged file \"" + plain_ + ".gz\" is kept as \"")) << console;
    EXPECT_TRUE(read_file(kept()) == archive);
    fs::remove(kept());
  }
  // The beginning that another program has left.
  const std::string console = both(content.substr(0, 20000));
  EXPECT_TRUE(read_file(plain_) == content);
  EXPECT_TRUE(console.starts_with("The damaged file \"" + plain_ + "\" is kept as \"")) << console;
  EXPECT_TRUE(read_file(kept()) == content.substr(0, 20000));
}

TEST_F(compressed_files, a_killed_expansion_is_finished) {
  const std::string content = sample_text(50000), archive = gzipped(content);
  // Between the plain file's place and the archive's end: nothing is worth keeping.
  EXPECT_EQ(expand(".gz", archive), content);
  write_file(plain_ + ".gz", archive);
  struct stat status;
  ASSERT_EQ(stat(plain_.c_str(), &status), 0);
  const timespec times[2] = {status.st_atim, status.st_mtim};
  utimensat(AT_FDCWD, (plain_ + ".gz").c_str(), times, 0);
  EXPECT_TRUE(qu_file_restore(plain_.c_str()));
  EXPECT_EQ(names(), strings{"DATAVAR"});
  // Before it: what has been expanded is tidied up.
  fs::remove(plain_);
  write_file(plain_ + ".gz", archive);
  write_file(folder_ / qu_working_file_name(being_made), content.substr(0, 700));
  EXPECT_TRUE(qu_file_restore(plain_.c_str()));
  EXPECT_TRUE(read_file(plain_) == content);
  EXPECT_EQ(names(), strings{"DATAVAR"});
}

TEST_F(compressed_files, an_archive_that_cannot_go_is_a_failure) {
  if (geteuid() != 0) GTEST_SKIP() << "needs a file that can't be removed";
  write_file(plain_ + ".gz", gzipped("content"));
  const int handle = open((plain_ + ".gz").c_str(), O_RDONLY | O_CLOEXEC);
  int flags = 0;
  bool fixed = ioctl(handle, FS_IOC_GETFLAGS, &flags) == 0;
  int immutable = flags | FS_IMMUTABLE_FL;
  fixed = fixed && ioctl(handle, FS_IOC_SETFLAGS, &immutable) == 0;
  if (fixed) {
    console_of([&] {
      EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0);
      EXPECT_FALSE(qu_file_restore(plain_.c_str()));
    });
    EXPECT_EQ(read_file(plain_), "content");
    ioctl(handle, FS_IOC_SETFLAGS, &flags);
  }
  close(handle);
  if (!fixed) GTEST_SKIP() << "no such flag here";
}

TEST_F(compressed_files, measures_both_forms) {
  const std::string content = sample_text(70000);
  const auto expect_measured = [&](std::int64_t wanted, std::int64_t wanted_to_expand) {
    std::int64_t length = -1, to_expand = -1;
    EXPECT_TRUE(qu_file_measure(plain_.c_str(), length, to_expand));
    EXPECT_EQ(length, wanted);
    EXPECT_EQ(to_expand, wanted_to_expand);
  };
  expect_measured(0, 0);
  for (const auto& [suffix, archive] :
       std::map<std::string, std::string>{{".gz", gzipped(content)}, {".Z", packed(content, 14)}}) {
    write_file(plain_ + suffix, archive);
    expect_measured(70000, 70000);
    EXPECT_TRUE(read_file(plain_ + suffix) == archive);
    fs::remove(plain_ + suffix);
  }
  write_file(plain_, "plain");
  expect_measured(5, 0);
}

}  // namespace
}  // namespace qrd::test

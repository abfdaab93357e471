#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/console.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"
#include "util/qu_file.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

// An encoder of its own: strings in a map, codes gathered as bits, chunks of 8 codes of one width.
class lzw_encoder {
 public:
  lzw_encoder(int largest_width, bool block_mode) : largest_width_(largest_width), block_mode_(block_mode) {
    output_ = {'\x1F', '\x9D', static_cast<char>(largest_width | (block_mode ? 0x80 : 0))};
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
    flush_chunk(false);
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
    flush_chunk(true);
    reset();
    decoder_next_ = 256;
  }
  // The width follows the decoder's table, which lags one entry behind.
  void send(int code) {
    if (decoder_next_ > limit()) {
      flush_chunk(true);
      width_++;
    }
    for (int bit = 0; bit < width_; bit++) bits_.push_back((code >> bit & 1) != 0);
    if (static_cast<int>(bits_.size()) == 8 * width_) flush_chunk(true);
    if (first_) {
      first_ = false;
      decoder_next_ = block_mode_ ? 257 : 256;
    } else if (decoder_next_ < (1 << largest_width_)) {
      decoder_next_++;
    }
  }
  int limit() const { return width_ == largest_width_ ? 1 << width_ : (1 << width_) - 1; }
  void flush_chunk(bool whole) {
    if (bits_.empty()) return;
    std::size_t size = whole ? static_cast<std::size_t>(width_) : (bits_.size() + 7) / 8;
    std::string chunk(size, '\0');
    for (std::size_t i = 0; i < bits_.size(); i++)
      if (bits_[i]) chunk[i / 8] = static_cast<char>(chunk[i / 8] | 1 << (i % 8));
    output_ += chunk;
    bits_.clear();
  }

  int largest_width_;
  bool block_mode_;
  std::map<std::string, int> table_;
  int next_ = 257;
  int decoder_next_ = 256;
  bool first_ = true;
  int width_ = 9;
  std::vector<bool> bits_;
  std::string output_;
};

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

std::string gzipped(const std::string& content, const std::string& path) {
  gzFile stream = gzopen(path.c_str(), "wb");
  gzwrite(stream, content.data(), static_cast<unsigned>(content.size()));
  gzclose(stream);
  return read_file(path);
}

class Compress : public testing::Test {
 protected:
  std::string expand(const char* suffix, const std::string& archive, int expected = 1) {
    write_file(plain_ + suffix, archive);
    EXPECT_EQ(qu_file_is_compressed(plain_.c_str()), 1);
    EXPECT_EQ(qu_file_uncompress(plain_.c_str()), expected);
    return fs::exists(plain_) ? read_file(plain_) : "(none)";
  }
  bool archive_exists(const char* suffix) { return fs::exists(plain_ + suffix); }

  temporary_directory folder_;
  std::string plain_ = folder_ / "DATAVAR";
};

TEST_F(Compress, GzipGivesContentAndTimesBack) {
  std::string content = sample_text(100000);
  write_file(plain_ + ".gz", gzipped(content, folder_ / "made"));
  EXPECT_EQ(qu_file_compression((plain_ + ".gz").c_str()), 1);
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

TEST_F(Compress, DamagedGzipKeepsTheArchive) {
  std::string archive = gzipped(sample_text(100000), folder_ / "made");
  for (std::size_t kept : {std::size_t{2}, std::size_t{30}, archive.size() - 4}) {
    std::string report = console_of([&] { EXPECT_EQ(expand(".gz", archive.substr(0, kept), 0), "(none)"); });
    EXPECT_TRUE(report.starts_with("Error while decompressing file\n" + plain_ + ".gz\n")) << report;
    EXPECT_TRUE(archive_exists(".gz")) << kept;
  }
  archive[archive.size() / 2] = static_cast<char>(archive[archive.size() / 2] ^ 0x55);
  console_of([&] { EXPECT_EQ(expand(".gz", archive, 0), "(none)"); });
  EXPECT_TRUE(archive_exists(".gz"));
}

TEST_F(Compress, AShortWriteGives5AndDropsTheArchive) {
  write_file(plain_ + ".gz", gzipped(sample_text(100000), folder_ / "made"));
  EXPECT_EXIT(
      {
        file_size_limit disk(50000);
        console_on_stderr();
        _exit(qu_file_uncompress(plain_.c_str()));
      },
      testing::ExitedWithCode(5), "failed to fwrite");
  EXPECT_FALSE(archive_exists(".gz"));
}

TEST_F(Compress, LzwAtEveryWidth) {
  for (int width : {10, 12, 13, 16}) {
    for (bool block_mode : {true, false}) {
      std::string text = sample_text(400000);
      EXPECT_TRUE(expand(".Z", lzw_encoder(width, block_mode).encode(text, 0)) == text)
          << width << ' ' << block_mode;
      EXPECT_FALSE(archive_exists(".Z"));
    }
  }
  for (const std::string text : {"", "x", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "abcabcabcabcabcab"})
    EXPECT_EQ(expand(".Z", lzw_encoder(16, true).encode(text, 0)), text);
}

TEST_F(Compress, LzwClearsInBlockMode) {
  std::string text = sample_text(12000);
  for (int between : {1, 8, 300, 1500})
    EXPECT_TRUE(expand(".Z", lzw_encoder(12, true).encode(text, between)) == text) << between;
}

// Codes of 9 bits, packed by hand.
std::string nine_bit_codes(const std::vector<int>& codes, char flags) {
  std::string packed = {'\x1F', '\x9D', flags};
  unsigned bits = 0;
  int count = 0;
  for (int code : codes) {
    bits |= static_cast<unsigned>(code) << count;
    for (count += 9; count >= 8; count -= 8, bits >>= 8) packed += static_cast<char>(bits & 0xFF);
  }
  if (count > 0) packed += static_cast<char>(bits);
  return packed;
}

TEST_F(Compress, LzwByHand) {
  // 257 = ab, 258 = ba, 259 = aba, which is used while it is being defined; without block mode one less.
  EXPECT_EQ(expand(".Z", nine_bit_codes({'a', 'b', 257, 259, 258}, '\x90')), "ababababa");
  EXPECT_EQ(expand(".Z", nine_bit_codes({'a', 'b', 256, 258}, '\x10')), "abababa");
}

TEST_F(Compress, DamagedLzwEnds) {
  // Codes far beyond the table make entries that lead to one another in a circle.
  std::vector<int> codes = {'a'};
  for (int i = 0; i < 300; i++) codes.push_back(511 - i % 250);
  expand(".Z", nine_bit_codes(codes, '\x90'));
  EXPECT_FALSE(archive_exists(".Z"));
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
  EXPECT_EQ(console_of([&] {
              EXPECT_EQ(expand(".Z",
                               "\x1F\x9D\x91"
                               "abc"),
                        "");
            }),
            "Unsupported compression method...\ncompressed with 17 bits, can only handle 16 bits\n");
}

TEST_F(Compress, TheMagicDecidesAndGzipNamesComeFirst) {
  EXPECT_EQ(expand(".gz", lzw_encoder(16, true).encode("named otherwise", 0)), "named otherwise");
  fs::remove(plain_);
  std::string other = lzw_encoder(16, true).encode("other", 0);
  write_file(plain_ + ".Z", other);
  EXPECT_EQ(expand(".gz", gzipped("first", folder_ / "made")), "first");
  EXPECT_EQ(read_file(plain_ + ".Z"), other);
}

TEST_F(Compress, WithoutAnArchiveNothingIsTouched) {
  write_file(plain_, "plain");
  EXPECT_EQ(qu_file_is_compressed(plain_.c_str()), 0);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0); }),
            "Cannot find compressed version of file\n" + plain_ + "\n");
  write_file(plain_ + ".gz", "\x1F");
  EXPECT_EQ(qu_file_is_compressed(plain_.c_str()), 0);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0); }),
            "Cannot find compression method for file\n" + plain_ + "\n");
  EXPECT_EQ(read_file(plain_), "plain");
  EXPECT_TRUE(archive_exists(".gz"));
}

TEST_F(Compress, WithoutAPlaceForThePlainFileTheArchiveGoes) {
  std::string archive = gzipped("x", folder_ / "made");
  fs::create_symlink(folder_ / "none/DATAVAR", plain_);
  EXPECT_EQ(expand(".gz", archive, 0), "(none)");
  EXPECT_FALSE(archive_exists(".gz"));

  fs::remove(plain_);
  fs::create_directory(plain_);
  write_file(plain_ + "/inside", "");
  write_file(plain_ + ".gz", archive);
  EXPECT_EQ(qu_file_uncompress(plain_.c_str()), 0);
  EXPECT_TRUE(fs::exists(plain_ + "/inside"));
  EXPECT_TRUE(archive_exists(".gz"));
}

TEST_F(Compress, ADirectoryIsNoArchive) {
  fs::create_directory(plain_ + ".gz");
  EXPECT_EQ(expand(".Z", lzw_encoder(16, true).encode("from Z", 0)), "from Z");
  EXPECT_EQ(qu_file_is_compressed(plain_.c_str()), 0);
}

}  // namespace
}  // namespace qrd::test

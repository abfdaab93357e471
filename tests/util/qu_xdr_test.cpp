#include "util/qu_xdr.h"

#include "support/test.h"
#include "util/qu_file.h"
#include "util/qu_hooks.h"

namespace qrd::test {
namespace {

struct xdr_values : testing::Test {
  // The bytes that an operation writes.
  std::string written(const std::function<void(XDR*)>& write) {
    file_stream file(qu_file_open_f(path_.c_str(), write_binary));
    xdr_stream xdr(file.get(), XDR_ENCODE);
    EXPECT_TRUE(xdr);
    write(xdr.get());
    file.close();
    return read_file(path_);
  }
  int read(std::string_view content, const std::function<int(XDR*)>& operation) {
    write_file(path_, content);
    file_stream file(qu_file_open_f(path_.c_str(), read_binary));
    xdr_stream xdr(file.get(), XDR_DECODE);
    return operation(xdr.get());
  }

  temporary_directory folder_;
  std::string path_ = folder_ / "VALUES";
};

TEST_F(xdr_values, integers) {
  std::int64_t values[] = {1, -2147483648, missing_int64, 0};
  EXPECT_EQ(written([&](XDR* xdr) {
              for (std::int64_t& value : values) EXPECT_TRUE(qu_xdr_int(xdr, &value));
            }),
            bytes().i32(1, -2147483647 - 1, 0x7FFFFFFF, 0));
  std::int64_t big = 2147483648;
  EXPECT_FATAL(written([&](XDR* xdr) { qu_xdr_int(xdr, &big); }), "Too big value for a 32bits integer");
  std::int64_t value = 5;
  EXPECT_TRUE(read("\x7F\xFF\xFF\xFF", [&](XDR* xdr) { return qu_xdr_int(xdr, &value); }));
  EXPECT_EQ(value, missing_int64);
  EXPECT_TRUE(read("\xFF\xFF\xFF\xFE", [&](XDR* xdr) { return qu_xdr_int(xdr, &value); }));
  EXPECT_EQ(value, -2);
  EXPECT_FALSE(read("\xFF\xFF\xFF", [&](XDR* xdr) { return qu_xdr_int(xdr, &value); }));
}

int marks = 0;

TEST_F(xdr_values, longs_tell_of_values_beyond_32_bits) {
  marks = 0;
  hooks.mark_64bit = [] { marks++; };
  std::int64_t values[] = {4294967296, -1, missing_int64, 2147483647};
  EXPECT_EQ(written([&](XDR* xdr) {
              for (std::int64_t& value : values) EXPECT_TRUE(qu_xdr_long(xdr, &value));
            }),
            bytes().i64(0x100000000, -1, 0x7FFFFFFFFFFFFFFF, 0x7FFFFFFF));
  hooks.mark_64bit = nullptr;
  EXPECT_EQ(marks, 1);
  std::int64_t value = 0;
  EXPECT_TRUE(read(bytes().i64(-4294967297).str(), [&](XDR* xdr) { return qu_xdr_long(xdr, &value); }));
  EXPECT_EQ(value, -4294967297);
}

TEST_F(xdr_values, texts_are_cut_to_the_room_and_refused_beyond_the_limit) {
  char room[4] = "###";
  std::int64_t next = 0;
  auto both = [&](XDR* xdr) { return qu_xdr_text(xdr, room, 50) && qu_xdr_int(xdr, &next); };
  EXPECT_TRUE(read(bytes("abcdefg").i32(77).str(), both));
  EXPECT_STREQ(room, "abc");
  EXPECT_EQ(next, 77);
  EXPECT_TRUE(read(bytes(std::string(50, 'x')).i32(78).str(), both));
  EXPECT_EQ(next, 78);
  EXPECT_FALSE(read(bytes(std::string(51, 'x')).i32(79).str(), both));
  EXPECT_FALSE(read(bytes().i32(-1).str(), both));
  EXPECT_FALSE(read(bytes().i32(8).raw("abcdefg").str(), both));
  EXPECT_FALSE(read(bytes().i32(2).raw("a").str(), both));
  EXPECT_STREQ(room, "");
}

}  // namespace
}  // namespace qrd::test

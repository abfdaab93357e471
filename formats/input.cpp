#include "formats/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "qrd/error.h"

namespace qrd::formats {

namespace {

constexpr unsigned unpacked_at_once = 128 * 1024;

// Closes what isn't handed on.
class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  descriptor(descriptor&& other) noexcept : number_(other.release()) {}
  descriptor& operator=(descriptor&&) = delete;
  ~descriptor() {
    if (number_ >= 0) close(number_);
  }
  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

std::string temporary_folder() {
  const char* named = std::getenv("TMPDIR");
  return named != nullptr && *named == '/' ? named : "/tmp";
}

// A file that nobody else sees, and that goes when it is closed.
descriptor unnamed_file() {
  const std::string folder = temporary_folder();
  descriptor made(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (made.get() >= 0) return made;
  // Not every file system makes files without a name.
  std::string name = folder + "/qrd.XXXXXX";
  descriptor named(mkostemp(name.data(), O_CLOEXEC));
  if (named.get() < 0)
    throw client::error("cannot make a temporary file in " + folder + ": " + std::strerror(errno));
  unlink(name.c_str());
  return named;
}

void write_all(int to, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(to, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0)
      throw client::error("cannot keep the table in " + temporary_folder() + ": " + std::strerror(errno));
    data += written;
    size -= static_cast<std::size_t>(written);
  }
}

descriptor kept(int from, const std::string& name) {
  descriptor file = unnamed_file();
  std::vector<char> block(std::size_t{1} << 20);
  for (;;) {
    const ssize_t got = read(from, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw client::error("cannot read " + name + ": " + std::strerror(errno));
    if (got == 0) break;
    write_all(file.get(), block.data(), static_cast<std::size_t>(got));
  }
  lseek(file.get(), 0, SEEK_SET);
  return file;
}

}  // namespace

input::input(const std::string& path) : name_(path == "-" ? "" : path) {
  const std::string shown = name_.empty() ? "the standard input" : name_;
  descriptor opened(name_.empty() ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                  : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (opened.get() < 0 || fstat(opened.get(), &status) != 0)
    throw client::error("cannot open " + shown + ": " + std::strerror(errno));
  if (S_ISDIR(status.st_mode)) throw client::error("cannot read " + shown + ": " + std::strerror(EISDIR));
  if (S_ISREG(status.st_mode))
    open(opened.release());
  else
    open(kept(opened.get(), shown).release());
}

input input::of_text(std::string_view text) {
  descriptor file = unnamed_file();
  write_all(file.get(), text.data(), text.size());
  lseek(file.get(), 0, SEEK_SET);
  input made;
  made.open(file.release());
  return made;
}

void input::open(int number) {
  descriptor owned(number);
  struct stat status {};
  fstat(number, &status);
  size_ = static_cast<std::uint64_t>(status.st_size);
  file_ = gzdopen(number, "rb");
  if (file_ == nullptr) throw std::bad_alloc();
  owned.release();
  gzbuffer(file_, unpacked_at_once);
  packed_ = gzdirect(file_) == 0;
}

input::input(input&& other) noexcept {
  *this = std::move(other);
}

input& input::operator=(input&& other) noexcept {
  std::swap(name_, other.name_);
  std::swap(file_, other.file_);
  std::swap(size_, other.size_);
  std::swap(packed_, other.packed_);
  return *this;
}

input::~input() {
  if (file_ != nullptr) gzclose_r(file_);
}

std::size_t input::read(char* data, std::size_t size) {
  constexpr std::size_t most = std::size_t{1} << 30;
  const int got = gzread(file_, data, static_cast<unsigned>(std::min(size, most)));
  int problem = Z_OK;
  const char* reason = gzerror(file_, &problem);
  if (problem == Z_ERRNO) fail(std::strerror(errno));
  // At the end of a file that breaks off zlib gives what there is.
  if (problem == Z_BUF_ERROR && got <= 0) fail("the packed file breaks off");
  if (got < 0) fail(reason);
  return static_cast<std::size_t>(got);
}

void input::rewind() {
  if (gzrewind(file_) != 0) fail("it cannot be read twice");
}

std::uint64_t input::position() const {
  const z_off_t at = gzoffset(file_);
  return at < 0 ? 0 : static_cast<std::uint64_t>(at);
}

void input::fail(const std::string& reason) const {
  throw client::error("cannot read " + (name_.empty() ? "the table" : name_) + ": " + reason);
}

std::string read_all(input& from, std::size_t most) {
  constexpr std::size_t block = std::size_t{1} << 20;
  std::string text;
  for (;;) {
    const std::size_t held = text.size();
    text.resize(held + block);
    const std::size_t got = from.read(text.data() + held, block);
    text.resize(held + got);
    if (got == 0) return text;
    if (text.size() > most)
      throw client::error((from.name().empty() ? "the input" : from.name()) + " has more than " +
                          std::to_string(most >> 20) + " MB");
  }
}

}  // namespace qrd::formats

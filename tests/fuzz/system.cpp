#include "fuzz/system.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace qrd::fuzz {

namespace {

constexpr rlim_t longest_file = 256 * 1024;
constexpr std::size_t longest_answer = 16 << 20;
constexpr std::size_t kept_answer = 4096;

std::string folder;
std::string inbox;
std::size_t inbox_read = 0;
std::string answers;
std::size_t answered = 0;

struct wanted_look {
  int left;
  std::string path;
  std::function<void()> work;
};
std::vector<wanted_look> looks;

std::set<std::string> changed;

rlimit file_limit_before;

// An end within a destructor can't be thrown any further.
sigjmp_buf way_out;
bool has_way_out = false;
[[noreturn]] void leave_destructor() {
  if (has_way_out) siglongjmp(way_out, 1);
  std::abort();
}

void look(std::string_view path) {
  for (std::size_t i = 0; i < looks.size(); ++i)
    if ((looks[i].path.empty() || looks[i].path == path) && --looks[i].left == 0)
      std::exchange(looks[i].work, nullptr)();
}

// "/proc/self/fd/<n>" names an open file.
bool is_own_descriptor(std::string_view path) {
  constexpr std::string_view prefix = "/proc/self/fd/";
  return path.starts_with(prefix) && path.size() > prefix.size() &&
         std::all_of(path.begin() + prefix.size(), path.end(),
                     [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
}

bool climbs(std::string_view path) {
  return path == ".." || path.starts_with("../") || path.ends_with("/..") ||
         path.find("/../") != std::string_view::npos;
}

bool is_whole(int directory, std::string_view path) {
  return directory == AT_FDCWD || path.starts_with('/');
}

// Sets errno where there is no such place in the world of the server. What is open lies inside.
bool exists(std::string_view path, int directory = AT_FDCWD) {
  const bool inside =
      !is_whole(directory, path) ||
      (path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/'));
  if ((inside && !climbs(path)) || is_own_descriptor(path)) return true;
  errno = ENOENT;
  return false;
}
bool is_found(const char* path, int directory = AT_FDCWD) {
  look(path);
  return exists(path, directory);
}

void change(const char* path, int directory = AT_FDCWD) {
  std::error_code gone;
  const auto link = "/proc/self/fd/" + std::to_string(directory);
  changed.insert(is_whole(directory, path) ? path : std::filesystem::read_symlink(link, gone) / path);
}
bool may_change(const char* path, int directory = AT_FDCWD) {
  if (!exists(path, directory)) return false;
  change(path, directory);
  return true;
}

}  // namespace

void confine_to(const std::string& only_folder) {
  folder = only_folder;
  std::signal(SIGXFSZ, SIG_IGN);
}

void client_sends(std::string_view bytes) {
  inbox.erase(0, std::exchange(inbox_read, 0));
  inbox += bytes;
}
bool client_has_sent() {
  return inbox_read < inbox.size();
}
void client_forgets() {
  inbox.clear();
  inbox_read = 0;
}
std::string client_received() {
  answered = 0;
  return std::exchange(answers, "");
}

void at_look(int number, std::string path, std::function<void()> work) {
  looks.push_back({number, std::move(path), std::move(work)});
}
void forget_looks() {
  looks.clear();
}

std::set<std::string> take_changes() {
  return std::exchange(changed, {});
}

bounded_files::bounded_files() {
  getrlimit(RLIMIT_FSIZE, &file_limit_before);
  const rlimit limit = {longest_file, file_limit_before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
}
bounded_files::~bounded_files() {
  setrlimit(RLIMIT_FSIZE, &file_limit_before);
}

bool runs_through(const std::function<void()>& work) {
  const std::terminate_handler before = std::set_terminate(leave_destructor);
  bool whole = false;
  if (sigsetjmp(way_out, 0) == 0) {
    has_way_out = true;
    try {
      work();
      whole = true;
    } catch (const described_end&) {
    }
  }
  has_way_out = false;
  std::set_terminate(before);
  return whole;
}

}  // namespace qrd::fuzz

using namespace qrd::fuzz;

// What the server calls in the place of exit(), recv() and so on.
extern "C" {

[[noreturn]] void server_exit(int /*status*/) {
  throw described_end();
}

// All sockets are the client's.
ssize_t server_recv(int /*socket*/, void* buffer, size_t room, int /*flags*/) {
  const std::size_t count = std::min(room, inbox.size() - inbox_read);
  std::memcpy(buffer, inbox.data() + inbox_read, count);
  inbox_read += count;
  return static_cast<ssize_t>(count);
}
ssize_t server_send(int /*socket*/, const void* data, size_t size, int /*flags*/) {
  answered += size;
  // A client has lost its patience.
  if (answered > longest_answer) return errno = EPIPE, -1;
  if (answers.size() < kept_answer) answers.append(static_cast<const char*>(data), size);
  return static_cast<ssize_t>(size);
}
int server_poll(pollfd* waiting, nfds_t count, int /*milliseconds*/) {
  if (count == 0) return 0;
  waiting->revents = client_has_sent() ? POLLIN : 0;
  return client_has_sent() ? 1 : 0;
}
int server_nanosleep(const timespec* /*wanted*/, timespec* left) {
  if (left != nullptr) *left = {0, 0};
  return 0;
}
int server_clock_nanosleep(clockid_t /*clock*/, int /*flags*/, const timespec* wanted, timespec* left) {
  return server_nanosleep(wanted, left);
}

int server_openat(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (!is_found(path, directory)) return -1;
  const bool is_unnamed = (flags & O_TMPFILE) == O_TMPFILE;
  if ((flags & (O_ACCMODE | O_CREAT | O_TRUNC)) != 0 && !is_unnamed) change(path, directory);
  return openat(directory, path, flags, mode);
}
int server_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return server_openat(AT_FDCWD, path, flags, mode);
}
FILE* server_fopen(const char* path, const char* mode) {
  if (!is_found(path)) return nullptr;
  if (std::strpbrk(mode, "wa+") != nullptr) change(path);
  return std::fopen(path, mode);
}
gzFile server_gzopen(const char* path, const char* mode) {
  return is_found(path) ? gzopen(path, mode) : nullptr;
}
DIR* server_opendir(const char* path) {
  return is_found(path) ? opendir(path) : nullptr;
}

int server_fstatat(int directory, const char* path, struct stat* status, int flags) {
  return is_found(path, directory) ? fstatat(directory, path, status, flags) : -1;
}
int server_stat(const char* path, struct stat* status) {
  return server_fstatat(AT_FDCWD, path, status, 0);
}
int server_lstat(const char* path, struct stat* status) {
  return server_fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}
int server_statvfs(const char* path, struct statvfs* status) {
  return exists(path) ? statvfs(path, status) : -1;
}
int server_faccessat(int directory, const char* path, int mode, int flags) {
  return is_found(path, directory) ? faccessat(directory, path, mode, flags) : -1;
}
int server_access(const char* path, int mode) {
  return server_faccessat(AT_FDCWD, path, mode, 0);
}

int server_mkdirat(int directory, const char* path, mode_t mode) {
  return may_change(path, directory) ? mkdirat(directory, path, mode) : -1;
}
int server_mkdir(const char* path, mode_t mode) {
  return server_mkdirat(AT_FDCWD, path, mode);
}
int server_unlinkat(int directory, const char* path, int flags) {
  return may_change(path, directory) ? unlinkat(directory, path, flags) : -1;
}
int server_unlink(const char* path) {
  return server_unlinkat(AT_FDCWD, path, 0);
}
int server_rmdir(const char* path) {
  return server_unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}
int server_remove(const char* path) {
  if (server_unlink(path) == 0) return 0;
  return errno == EISDIR ? server_rmdir(path) : -1;
}
// std::filesystem::remove_all
std::uintmax_t server_remove_all(const std::filesystem::path& path, std::error_code& error) {
  if (may_change(path.c_str())) return std::filesystem::remove_all(path, error);
  error = std::make_error_code(std::errc::no_such_file_or_directory);
  return 0;
}

int server_renameat2(int from_directory, const char* from, int to_directory, const char* to, unsigned flags) {
  if (!exists(to, to_directory) || !may_change(from, from_directory)) return -1;
  change(to, to_directory);
  return renameat2(from_directory, from, to_directory, to, flags);
}
int server_renameat(int from_directory, const char* from, int to_directory, const char* to) {
  return server_renameat2(from_directory, from, to_directory, to, 0);
}
int server_rename(const char* from, const char* to) {
  return server_renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int server_linkat(int from_directory, const char* from, int to_directory, const char* to, int flags) {
  const bool is_descriptor = (flags & AT_EMPTY_PATH) != 0 && *from == '\0';
  if (!is_descriptor && !exists(from, from_directory)) return -1;
  return may_change(to, to_directory) ? linkat(from_directory, from, to_directory, to, flags) : -1;
}
int server_link(const char* from, const char* to) {
  return server_linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
// A link might lead out of the folder.
int server_symlinkat(const char* /*target*/, int /*directory*/, const char* /*path*/) {
  return errno = EPERM, -1;
}
int server_symlink(const char* /*target*/, const char* /*path*/) {
  return errno = EPERM, -1;
}
int server_truncate(const char* path, off_t size) {
  return may_change(path) ? truncate(path, size) : -1;
}
int server_chmod(const char* path, mode_t mode) {
  return exists(path) ? chmod(path, mode) : -1;
}
int server_utimensat(int directory, const char* path, const timespec* times, int flags) {
  return exists(path, directory) ? utimensat(directory, path, times, flags) : -1;
}

// No process is started or stopped.
pid_t server_fork() {
  return errno = EAGAIN, -1;
}
int server_kill(pid_t /*process*/, int /*signal*/) {
  return errno = ESRCH, -1;
}

}  // extern "C"

// Preloaded into a server: makes one of its system calls or allocations fail, or ends the process there.
//
// The kernel itself hands the calls over: a filter of the process turns each call of interest into a signal,
// whoever made it, the C library's own streams included. The handler makes the call on the server's behalf,
// with a mark in the sixth argument, which none of these calls uses and which the filter lets pass.
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "faults/control.h"

namespace {

using namespace qrd::test;

constexpr long mark = 0x5AFEC0DE5AFEC0DE;

fault_control* control = nullptr;

struct counted_call {
  int number;
  const char* name;
  call_kind kind;
  int descriptor;  // which argument, or -1
  int path;        // which argument, or -1: the path is relative to the descriptor
};

constexpr counted_call counted_calls[] = {
    {SYS_write, "write", call_kind::write, 0, -1},
    {SYS_pwrite64, "pwrite", call_kind::write, 0, -1},
    {SYS_writev, "writev", call_kind::write, 0, -1},
    {SYS_copy_file_range, "copy_file_range", call_kind::write, 2, -1},
    {SYS_sendfile, "sendfile", call_kind::write, 0, -1},
    {SYS_openat, "open", call_kind::open, 0, 1},
    {SYS_renameat, "rename", call_kind::rename, 2, 3},
    {SYS_renameat2, "rename", call_kind::rename, 2, 3},
    {SYS_linkat, "link", call_kind::rename, 2, 3},
    {SYS_symlinkat, "symlink", call_kind::rename, 1, 2},
    {SYS_fsync, "fsync", call_kind::sync, 0, -1},
    {SYS_fdatasync, "fdatasync", call_kind::sync, 0, -1},
    {SYS_close, "close", call_kind::close, 0, -1},
    {SYS_unlinkat, "unlink", call_kind::unlink, 0, 1},
    {SYS_mkdirat, "mkdir", call_kind::mkdir, 0, 1},
    {SYS_ftruncate, "ftruncate", call_kind::resize, 0, -1},
    {SYS_truncate, "truncate", call_kind::resize, -1, 0},
    {SYS_fallocate, "fallocate", call_kind::resize, 0, -1},
    {SYS_flock, "flock", call_kind::lock, 0, -1},
    {SYS_read, "read", call_kind::read, 0, -1},
    {SYS_pread64, "pread", call_kind::read, 0, -1},
    {SYS_readv, "readv", call_kind::read, 0, -1},
    {SYS_getdents64, "getdents", call_kind::look, 0, -1},
    {SYS_newfstatat, "stat", call_kind::look, 0, 1},
    {SYS_statx, "stat", call_kind::look, 0, 1},
    {SYS_fstat, "fstat", call_kind::look, 0, -1},
    {SYS_faccessat, "access", call_kind::look, 0, 1},
    {SYS_faccessat2, "access", call_kind::look, 0, 1},
#ifdef SYS_open
    {SYS_open, "open", call_kind::open, -1, 0},
    {SYS_rename, "rename", call_kind::rename, -1, 1},
    {SYS_link, "link", call_kind::rename, -1, 1},
    {SYS_symlink, "symlink", call_kind::rename, -1, 1},
    {SYS_unlink, "unlink", call_kind::unlink, -1, 0},
    {SYS_rmdir, "rmdir", call_kind::unlink, -1, 0},
    {SYS_mkdir, "mkdir", call_kind::mkdir, -1, 0},
    {SYS_stat, "stat", call_kind::look, -1, 0},
    {SYS_lstat, "stat", call_kind::look, -1, 0},
    {SYS_access, "access", call_kind::look, -1, 0},
#endif
};

struct machine_call {
  long arguments[6];
  int number;
};

long perform(const machine_call& made) {
  const long* a = made.arguments;
  const long result = syscall(made.number, a[0], a[1], a[2], a[3], a[4], mark);
  return result < 0 ? -errno : result;
}

machine_call another(int number, long first = 0, long second = 0, long third = 0, long fourth = 0) {
  return {{first, second, third, fourth, 0, 0}, number};
}

// The path of an open descriptor; its length, 0 for one that can't be told.
std::size_t descriptor_path(long descriptor, char* path, std::size_t size) {
  char link[32] = "/proc/self/fd/";
  char digits[16];
  std::size_t count = 0;
  for (long rest = descriptor; count == 0 || rest > 0; rest /= 10)
    digits[count++] = static_cast<char>('0' + rest % 10);
  std::reverse_copy(digits, digits + count, link + 14);
  link[14 + count] = '\0';
  const long length = perform(another(SYS_readlinkat, AT_FDCWD, reinterpret_cast<long>(link),
                                      reinterpret_cast<long>(path), static_cast<long>(size)));
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

// Whether a call is on something below the root; then where, behind the root.
bool is_below_root(const counted_call& row, const machine_call& made, char (&below)[111]) {
  char path[1024];
  std::size_t length = 0;
  const char* name = row.path >= 0 ? reinterpret_cast<const char*>(made.arguments[row.path]) : nullptr;
  if (name == nullptr) name = "";
  if (name[0] != '/' && row.descriptor >= 0) {
    const long descriptor = static_cast<int>(made.arguments[row.descriptor]);
    if (descriptor < 0) return false;
    length = descriptor_path(descriptor, path, sizeof path - 1);
    if (length > 0 && name[0] != '\0') path[length++] = '/';
  }
  const std::size_t rest = std::min(std::strlen(name), sizeof path - 1 - length);
  std::memcpy(path + length, name, rest);
  length += rest;
  path[length] = '\0';
  const std::size_t root = std::strlen(control->root);
  if (length < root || std::memcmp(path, control->root, root) != 0) return false;
  if (path[root] != '/' && path[root] != '\0') return false;
  // Of a long path the end tells more.
  const std::size_t told = std::min(length - root, sizeof below - 1);
  std::memcpy(below, path + length - told, told);
  below[told] = '\0';
  return true;
}

bool changes_tree(const counted_call& row, const machine_call& made) {
  if (row.kind == call_kind::open) return (made.arguments[row.path + 1] & (O_CREAT | O_TRUNC)) != 0;
  using enum call_kind;
  for (const call_kind changing : {write, rename, unlink, mkdir, resize})
    if (row.kind == changing) return true;
  return false;
}

// Whether the disk must have more room for this call.
bool needs_room(const counted_call& row, const machine_call& made) {
  struct stat status;
  const auto size_of = [&] {
    const long result = perform(another(SYS_fstat, made.arguments[0], reinterpret_cast<long>(&status)));
    return result == 0 ? status.st_size : 0;
  };
  switch (row.kind) {
    case call_kind::write:
      if (made.number == SYS_write)
        return perform(another(SYS_lseek, made.arguments[0], 0, SEEK_CUR)) + made.arguments[2] > size_of();
      if (made.number == SYS_pwrite64) return made.arguments[3] + made.arguments[2] > size_of();
      return true;
    case call_kind::mkdir:
      return true;
    case call_kind::resize:
      return made.number != SYS_ftruncate || made.arguments[1] > size_of();
    case call_kind::open:
      return (made.arguments[row.path + 1] & O_CREAT) != 0 &&
             perform(another(SYS_faccessat, row.path == 0 ? AT_FDCWD : made.arguments[0],
                             made.arguments[row.path], F_OK)) != 0;
    default:
      return false;
  }
}

void write_half(const machine_call& made) {
  machine_call half = made;
  if (made.number == SYS_write || made.number == SYS_pwrite64) {
    half.arguments[2] /= 2;
    perform(half);
  } else if (made.number == SYS_writev) {
    const auto* parts = reinterpret_cast<const iovec*>(made.arguments[1]);
    perform(another(SYS_write, made.arguments[0], reinterpret_cast<long>(parts[0].iov_base),
                    static_cast<long>(parts[0].iov_len / 2)));
  }
}

[[noreturn]] void die() {
  for (;;) syscall(SYS_kill, getpid(), SIGKILL);
}

// Counts and tells a call; true if it is the one to strike at.
bool strikes(call_kind kind, bool changes, const char* name, const char* below) {
  const std::uint32_t number = control->counted.fetch_add(1);
  if (number < fault_control::most_calls) {
    fault_control::call& told = control->calls[number];
    told.kind = kind;
    told.changes = changes;
    std::strncpy(told.name, name, sizeof told.name - 1);
    std::strncpy(told.path, below, sizeof told.path - 1);
  }
  if (number != control->target || control->action == fault_action::nothing) return false;
  control->struck = true;
  return true;
}

long serve(const counted_call& row, const machine_call& made) {
  char below[111];
  if (!control->armed || !is_below_root(row, made, below)) return perform(made);
  const bool is_struck = strikes(row.kind, changes_tree(row, made), row.name, below);
  const fault_action action = control->action;
  if (is_struck) {
    if (action == fault_action::torn || action == fault_action::cut) write_half(made);
    if (action == fault_action::kill || action == fault_action::cut) die();
    // A descriptor is closed whatever is told.
    if (row.kind == call_kind::close) perform(made);
    return -control->error;
  }
  if (control->struck && (action == fault_action::full || action == fault_action::torn) &&
      needs_room(row, made))
    return -control->error;
  // What is killed here loses no page of the system's: waiting for the disk would only take time.
  if (row.kind == call_kind::sync) return 0;
  return perform(made);
}

#if defined(__x86_64__)
constexpr int argument_registers[] = {REG_RDI, REG_RSI, REG_RDX, REG_R10, REG_R8, REG_R9};
greg_t& call_register(ucontext_t& context, int argument) {
  return context.uc_mcontext.gregs[argument_registers[argument]];
}
greg_t& result_register(ucontext_t& context) {
  return context.uc_mcontext.gregs[REG_RAX];
}
#else
auto& call_register(ucontext_t& context, int argument) {
  return context.uc_mcontext.regs[argument];
}
auto& result_register(ucontext_t& context) {
  return context.uc_mcontext.regs[0];
}
#endif

void serve_signal(int /*signal*/, siginfo_t* information, void* state) {
  const int saved_errno = errno;
  auto& context = *static_cast<ucontext_t*>(state);
  machine_call made = {};
  made.number = information->si_syscall;
  for (int i = 0; i < 6; ++i) made.arguments[i] = static_cast<long>(call_register(context, i));
  const auto* row = std::find_if(std::begin(counted_calls), std::end(counted_calls),
                                 [&](const counted_call& each) { return each.number == made.number; });
  const long result = row != std::end(counted_calls) ? serve(*row, made) : perform(made);
  errno = saved_errno;
  result_register(context) = static_cast<std::remove_reference_t<decltype(result_register(context))>>(result);
}

bool catch_calls() {
  struct sigaction action = {};
  action.sa_sigaction = serve_signal;
  action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_RESTART;
  if (sigaction(SIGSYS, &action, nullptr) != 0) return false;

  constexpr auto count = static_cast<unsigned char>(std::size(counted_calls));
  sock_filter program[count + 5U];
  std::size_t size = 0;
  program[size++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[5]));
  program[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, mark & 0xffffffff, count + 1U, 0);
  program[size++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
  for (unsigned char i = 0; i < count; ++i)
    program[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(counted_calls[i].number),
                               static_cast<unsigned char>(count - i), 0);
  program[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  program[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
  const sock_fprog filter = {static_cast<unsigned short>(size), program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

__attribute__((constructor)) void begin() {
  const char* path = std::getenv(control_variable);
  if (path == nullptr) return;
  const int descriptor = open(path, O_RDWR | O_CLOEXEC);
  void* mapped = mmap(nullptr, sizeof(fault_control), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  if (descriptor < 0 || mapped == MAP_FAILED) std::abort();
  close(descriptor);
  control = static_cast<fault_control*>(mapped);
  if (!catch_calls()) std::abort();
}

bool has_no_memory() {
  if (control == nullptr || !control->armed) return false;
  const bool goes_on = control->struck && control->action == fault_action::famine;
  if (!strikes(call_kind::allocate, false, "allocate", "") && !goes_on) return false;
  if (control->action == fault_action::kill) die();
  errno = ENOMEM;
  return true;
}

}  // namespace

// The C library's own entries, under the names that it keeps for those who take the usual ones over.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
  return has_no_memory() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  return has_no_memory() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  return has_no_memory() ? nullptr : __libc_realloc(block, size);
}
}

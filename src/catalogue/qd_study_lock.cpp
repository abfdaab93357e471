// What stands around an open study: the data descriptor and the lock.
//
// The lock is a flag for the eyes of other programs and keeps nobody out. The descriptor of the
// catalogue folder is one xint, the version of the descriptors below it.
#include "catalogue/qd_study_lock.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "disk/qd_records.h"
#include "disk/store_state.h"
#include "util/qu_critical.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

// A signal handler may read lock_path between any two steps: it finds no path or a whole one.
void remember_lock(const char* path) {
  lock_path[0] = '\0';
  std::atomic_signal_fence(std::memory_order_seq_cst);
  if (path[0] == '\0') return;
  qu_string_copy(path + 1, path_size - 1, lock_path + 1);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  lock_path[0] = path[0];
}

void study_lock_path(path_text& path) {
  qu_path_join(path, {store.study_path, path_separator, "LOCK"});
}

// False, with errno set, if it can't be written.
bool write_data_descriptor(const char* path) {
  replaced_file file(path, write_binary);
  if (!file) return false;
  xdr_stream stream(file.get(), XDR_ENCODE);
  std::int64_t version = DESCRIPTOR_VERSION;
  return stream && qu_xdr_int(stream.get(), &version) != 0 && file.commit();
}

// Whether it holds this version and nothing else.
bool is_current(const char* path) {
  constexpr std::uint32_t size = 4;
  char bytes[size + 1];
  std::int64_t version = 0;
  return qu_file_read_start(path, bytes, sizeof bytes) == size &&
         qu_xdr_int(xdr_memory(bytes, size).get(), &version) != 0 && version == DESCRIPTOR_VERSION;
}

// What stands there already isn't written again: nobody waits for the disk then.
void renew_data_descriptor() {
  path_text path;
  qu_path_join(path, {store.catalogue_path, path_separator, "DESCR"});
  if (is_current(path)) return;
  const bool written = write_data_descriptor(path);
  if (!written && qu_is_gone(errno)) return;
  if (!written || !is_current(path)) qu_message("Data descriptor corrupted:\n%s\n", path);
}

}  // namespace

bool qd_init() {
  renew_data_descriptor();
  store.lock_taken = 1;
  path_text path;
  study_lock_path(path);
  if (file_stream(qu_file_open_n(path, read_binary))) {
    remember_lock(path);
    return false;
  }
  file_stream file(qu_file_open_n(path, write_text));
  if (!file && qu_is_gone(errno)) return false;
  if (!file) qu_fatal("Impossible to write the LOCK file: %s", path);
  remember_lock(path);
  std::fputs("LOCKED", file.get());
  return true;
}

void qd_unlock() {
  path_text path;
  study_lock_path(path);
  file_stream file(qu_file_open_n(path, read_binary));
  if (file) {
    file.close();
    std::remove(path);
  }
  remember_lock("");
}

}  // namespace qrd

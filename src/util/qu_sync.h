// What is on the disk, and not only on its way there, when the power fails.
#pragma once

#include <cstdint>
#include <string>

namespace qrd {

// By the environment variable QRD_SYNC.
enum class durability {
  none,   // "0": the system writes when it likes; for trees that can be made again
  small,  // unset: what a small file holds is on disk before its name or a count shows it
  all     // "1": and every change with its names is on disk before it is answered
};
durability qu_durability();

// Small enough that waiting for it costs about as much as for one block.
inline constexpr std::int64_t small_file_bytes = std::int64_t{1} << 20;

// Waits for the content of an open file to be on disk, as far as the durability asks for it. False, with
// errno set, if it can't be.
bool qu_sync_file(int file);
// The same whatever its size: for what must be there before something else goes.
bool qu_sync_whole_file(int file);
// The same for samples that were written over others: only where every answer has to be durable.
bool qu_sync_written(int file);
// Removes a file, and waits for that as far as the durability asks for it. What is already gone counts as
// removed.
bool qu_remove_file(const char* path);
// Waits for the names in a folder, as far as the durability asks for it.
bool qu_sync_folder(const std::string& path);
// The same always but for "0": for a name that must be there before another one goes.
bool qu_sync_folder_first(const std::string& path);
// Waits for all that a folder in the making holds, before it gets its name.
bool qu_sync_tree(const std::string& path);

// While one lives files are not waited for one by one: they are made in a folder that nobody sees yet.
class sync_pause {
 public:
  sync_pause();
  sync_pause(const sync_pause&) = delete;
  sync_pause& operator=(const sync_pause&) = delete;
  ~sync_pause();
};

}  // namespace qrd

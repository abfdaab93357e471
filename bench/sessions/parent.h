// A multi-session server with a fresh database, and a look at its children.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bench/scratch_folder.h"
#include "qrd/connection.h"
#include "qrd/server_process.h"

namespace qrd::bench {

// How clients get their sessions: each on a port of its own, or all on one.
enum class port_use { many, one };
// Started with -multi; its default root lies in the folder.
client::server_process start_parent(const std::filesystem::path& folder, port_use ports);
// A connection to a child of its own, with the handshake done.
client::connection new_session(const client::server_process& parent);

std::vector<pid_t> children_of(pid_t process);
// Its arguments, each with a zero byte at its end.
std::string command_of(pid_t process);
// What the descriptors from 3 on stand for: the path of a file, or "socket:[...]" with the socket's number.
std::vector<std::string> open_files_of(pid_t process);
// One letter: "S" sleeping, "Z" a zombie and so on; blank for a process that is gone.
char state_of(pid_t process);
// Bytes that the process shares with nobody.
std::size_t private_memory_of(pid_t process);
// Seconds of processor time since its start, user and system.
double processor_time_of(pid_t process);

}  // namespace qrd::bench

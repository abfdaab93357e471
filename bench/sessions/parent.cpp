#include "bench/sessions/parent.h"

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace qrd::bench {

namespace fs = std::filesystem;

namespace {

// Empty if the process has ended, be it between the opening and the reading.
std::string process_file(pid_t process, const std::string& name) {
  const std::ifstream file("/proc/" + std::to_string(process) + "/" + name);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The fields of /proc/PID/stat behind the program's name, which may hold blanks: state first.
std::vector<std::string> stat_fields(pid_t process) {
  const std::string text = process_file(process, "stat");
  std::istringstream fields(text.substr(std::min(text.size(), text.rfind(')') + 1)));
  return {std::istream_iterator<std::string>(fields), {}};
}

}  // namespace

client::server_process start_parent(const fs::path& folder, port_use ports) {
  client::server_options options;
  options.program = QRD_SERVER_PROGRAM;
  options.arguments = {"-multi"};
  if (ports == port_use::one) options.arguments.insert(options.arguments.end(), {"-oneport", "-quiet"});
  options.environment = {{"XDG_DATA_HOME", folder.string()}};
  options.output_file = folder / "output";
  return client::server_process(options);
}

client::connection new_session(const client::server_process& parent) {
  client::connection_options options;
  options.new_session = true;
  options.timeout = std::chrono::seconds(60);
  return parent.connect(options);
}

std::vector<pid_t> children_of(pid_t process) {
  std::istringstream list(process_file(process, "task/" + std::to_string(process) + "/children"));
  return {std::istream_iterator<pid_t>(list), {}};
}

std::string command_of(pid_t process) {
  return process_file(process, "cmdline");
}

std::vector<std::string> open_files_of(pid_t process) {
  std::vector<std::string> result;
  std::error_code ended;
  fs::directory_iterator entry("/proc/" + std::to_string(process) + "/fd", ended);
  for (; !ended && entry != fs::directory_iterator(); entry.increment(ended)) {
    if (std::stoi(entry->path().filename().string()) <= STDERR_FILENO) continue;
    // One that has been closed meanwhile leads nowhere.
    std::error_code closed;
    const fs::path target = fs::read_symlink(entry->path(), closed);
    if (!closed) result.push_back(target.string());
  }
  return result;
}

char state_of(pid_t process) {
  const std::vector<std::string> fields = stat_fields(process);
  return fields.empty() ? ' ' : fields[0][0];
}

std::size_t private_memory_of(pid_t process) {
  std::istringstream lines(process_file(process, "smaps_rollup"));
  std::size_t kibibytes = 0;
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("Private_")) kibibytes += std::stoul(line.substr(line.find(':') + 1));
  return kibibytes * 1024;
}

double processor_time_of(pid_t process) {
  // Nanoseconds. The times of /proc/PID/stat are sampled, and miss who wakes up for moments only.
  const std::string text = process_file(process, "schedstat");
  return text.empty() ? 0 : std::stod(text) * 1e-9;
}

}  // namespace qrd::bench

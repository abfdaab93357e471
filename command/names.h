// Objects as a command line names them: "STUDY DIRECTORY FILE VARIABLE" or "STUDY/DIRECTORY/FILE/VARIABLE",
// with * and ?.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "command/command_line.h"
#include "qrd/table.h"

namespace qrd::command {

// Whether a text has a * for any characters or a ? for one.
bool is_pattern(std::string_view text);
bool matches(std::string_view pattern, std::string_view name);

// Study, directory, file and variable, as far as they are named.
using object_path = std::vector<std::string>;
std::string path_text(const object_path& path);
client::file_place place_of(const object_path& path);
// What the objects of a level are called: "study", "directory", "file", "variable".
constexpr std::size_t all_levels = 4;
constexpr std::size_t file_levels = 3;
const char* level_name(std::size_t level);
// What there is below a path, as the server lists it.
std::vector<std::string> names_below(client::database& owner, const object_path& path);

// An `error` in the words of the command line.
class wrong_usage : public client::error {
  using error::error;
};

// The words that name objects, and what comes behind them.
option add_names(const command_line& command, std::vector<std::string>& words, const std::string& type,
                 const std::string& text);
// A wrong_usage unless the words name that many objects. To be called before a database is opened.
void need_names(const std::vector<std::string>& words, std::size_t count, const std::string& type);

// Whether the object of the last level is there, or is to be made.
enum class last_name { there, made };

// Takes the names of at most so many levels from the front of the words. A word with "/" is one name if an
// object has it, or if it alone names what is to be made; else each part of it is a name, and what is left of
// it stays.
object_path take_path(client::database& owner, std::vector<std::string>& words, std::size_t levels,
                      last_name last = last_name::there);

// The objects that a path with patterns stands for, in the order of the server's lists. An `error` if there
// is none.
std::vector<object_path> expanded(client::database& owner, const object_path& path);

// Makes the object that a path names the current one.
client::connection& choose(client::database& owner, const object_path& path);

// Takes the names of a file; an `error` if patterns in them stand for several.
client::file_place take_file(client::database& owner, std::vector<std::string>& words);

// The columns that the names stand for, patterns among them; of a pattern each once. `index` as in
// table::open.
std::vector<client::column> open_columns(client::table& file, const std::vector<std::string>& names,
                                         const std::string& index = {});

}  // namespace qrd::command

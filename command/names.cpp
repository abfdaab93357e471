#include "command/names.h"

#include <algorithm>
#include <utility>

namespace qrd::command {

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// The first part of a word, which loses it with the "/" behind. Slashes in front mean nothing.
std::string take_part(std::string& word) {
  word.erase(0, word.find_first_not_of('/'));
  const std::size_t end = std::min(word.find('/'), word.size());
  std::string part = word.substr(0, end);
  word.erase(0, end + 1);
  word.erase(0, word.find_first_not_of('/'));
  return part;
}

bool is_split(const std::string& word) {
  return word.find('/') != std::string::npos;
}

}  // namespace

bool is_pattern(std::string_view text) {
  return text.find_first_of("*?") != std::string_view::npos;
}

bool matches(std::string_view pattern, std::string_view name) {
  std::size_t at = 0;
  // The last star, and up to where its characters reach.
  std::size_t star = std::string_view::npos;
  std::size_t reached = 0;
  for (std::size_t i = 0; i < name.size();) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      reached = i;
    } else if (at < pattern.size() && (pattern[at] == '?' || pattern[at] == name[i])) {
      ++at;
      ++i;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      i = ++reached;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

client::file_place place_of(const object_path& path) {
  return {path[0], path[1], path[2]};
}

const char* level_name(std::size_t level) {
  static constexpr const char* names[all_levels] = {"study", "directory", "file", "variable"};
  return names[level];
}

std::vector<std::string> names_below(client::database& owner, const object_path& path) {
  switch (path.size()) {
    case 0:
      return owner.at_root().studies();
    case 1:
      return owner.at(path[0]).directories();
    case 2:
      return owner.at(path[0], path[1]).files();
    default:
      return owner.at(place_of(path)).variables();
  }
}

std::string path_text(const object_path& path) {
  std::string text;
  for (const std::string& name : path) text += (text.empty() ? "" : "/") + name;
  return text;
}

option add_names(const command_line& command, std::vector<std::string>& words, const std::string& type,
                 const std::string& text) {
  return command.add_option("names", words, text).type_name(type.c_str());
}

void need_names(const std::vector<std::string>& words, std::size_t count, const std::string& type) {
  std::size_t named = 0;
  for (std::string word : words) {
    if (word.empty()) ++named;
    while (!word.empty())
      if (!take_part(word).empty()) ++named;
  }
  if (named < count) throw wrong_usage("names are missing: give " + type);
}

object_path take_path(client::database& owner, std::vector<std::string>& words, std::size_t levels,
                      last_name last) {
  object_path path;
  while (!words.empty() && path.size() < levels) {
    std::string word = words.front();
    words.erase(words.begin());
    const bool is_new = last == last_name::made && path.size() + 1 == levels;
    if (!is_split(word) || is_new || contains(names_below(owner, path), word)) {
      path.push_back(word);
      continue;
    }
    while (!word.empty() && path.size() < levels) {
      // Of a variable's name a slash is a part.
      if (path.size() + 1 == all_levels)
        path.push_back(std::exchange(word, {}));
      else if (std::string part = take_part(word); !part.empty())
        path.push_back(std::move(part));
    }
    if (!word.empty()) words.insert(words.begin(), word);
  }
  return path;
}

std::vector<object_path> expanded(client::database& owner, const object_path& path) {
  std::vector<object_path> all = {{}};
  for (const std::string& name : path) {
    std::vector<object_path> next;
    for (const object_path& above : all) {
      const auto add = [&](const std::string& one) {
        next.push_back(above);
        next.back().push_back(one);
      };
      if (!is_pattern(name)) {
        add(name);
        continue;
      }
      const std::vector<std::string> known = names_below(owner, above);
      if (contains(known, name)) {
        add(name);
        continue;
      }
      for (const std::string& one : known)
        if (matches(name, one)) add(one);
    }
    if (next.empty())
      throw client::error("there is no " + std::string(level_name(all[0].size())) + " \"" + name + "\"");
    all = std::move(next);
  }
  return all;
}

client::connection& choose(client::database& owner, const object_path& path) {
  if (path.size() == 1) return owner.at(path[0]);
  if (path.size() == 2) return owner.at(path[0], path[1]);
  if (path.size() == 4) client::table(owner, place_of(path)).choose(path[3]);
  return owner.at(place_of(path));
}

client::file_place take_file(client::database& owner, std::vector<std::string>& words) {
  const object_path path = take_path(owner, words, file_levels);
  if (path.size() < file_levels)
    throw wrong_usage("\"" + path_text(path) + "\" names a " +
                      level_name(std::max<std::size_t>(1, path.size()) - 1) + ", and a file is needed");
  const std::vector<object_path> all = expanded(owner, path);
  if (all.size() == 1) return place_of(all[0]);
  std::string text;
  for (const object_path& one : all) text += (text.empty() ? "" : ", ") + path_text(one);
  throw client::error("\"" + path_text(path) + "\" stands for " + std::to_string(all.size()) +
                      " files: " + text);
}

std::vector<client::column> open_columns(client::table& file, const std::vector<std::string>& names,
                                         const std::string& index) {
  std::vector<client::column> columns;
  std::vector<std::string> known;
  const auto add = [&](client::column one) {
    const bool is_there = std::any_of(columns.begin(), columns.end(),
                                      [&](const auto& other) { return other.variable == one.variable; });
    if (!is_there) columns.push_back(std::move(one));
  };
  for (const std::string& name : names) {
    if (is_pattern(name) && known.empty()) known = file.names();
    if (!is_pattern(name) || contains(known, name)) {
      columns.push_back(file.open(name, index));
      continue;
    }
    const std::size_t before = columns.size();
    for (const std::string& one : known) {
      if (!client::is_macro_name(one)) {
        if (matches(name, one)) add(file.open(one));
        continue;
      }
      const std::string stem = one.substr(0, one.rfind('['));
      // Its columns are asked for only if one of them can be meant.
      if (!matches(name, stem) && name.find_first_of("[{") == std::string::npos) continue;
      for (client::column& of_macro : file.open_all(one))
        if (matches(name, stem) || matches(name, of_macro.title)) add(std::move(of_macro));
    }
    if (columns.size() == before && name != "*") throw client::error("there is no variable \"" + name + "\"");
  }
  return columns;
}

}  // namespace qrd::command

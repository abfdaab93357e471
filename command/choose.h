// Makes an object the current one. A refusal for a name that is not there tells near ones.
#pragma once

#include <string>

#include "qrd/connection.h"

namespace qrd::command {

void choose_study(client::connection& server, const std::string& name);
void choose_directory(client::connection& server, const std::string& name);
void choose_file(client::connection& server, const std::string& name);
void choose_variable(client::connection& server, const std::string& name);
void choose_selection(client::connection& server, const std::string& name);

}  // namespace qrd::command

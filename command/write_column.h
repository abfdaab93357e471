// Writes of the current variable in pieces.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "qrd/connection.h"

namespace qrd::command {

// Told how many values have been sent.
using shown_progress = std::function<void(std::uint64_t done)>;

// Writes all values into the range. What a selection compresses goes in one request, because only the server
// knows how many values a part of the range takes.
void write_numbers(client::connection& server, std::span<const double> values, client::sample_range range,
                   client::selection_use use, const shown_progress& show);
void write_texts(client::connection& server, std::span<const std::string> values, client::sample_range range,
                 client::selection_use use, const shown_progress& show);

}  // namespace qrd::command

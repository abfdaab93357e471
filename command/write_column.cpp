#include "command/write_column.h"

#include <algorithm>

#include "command/interruption.h"

namespace qrd::command {

namespace {

constexpr std::size_t values_per_piece = 1 << 20;

template <typename T, typename Write>
void write_pieces(client::connection& server, std::span<const T> values, client::sample_range range,
                  client::selection_use use, const shown_progress& show, const Write& write) {
  const std::size_t piece = use == client::selection_use::compressed ? values.size() : values_per_piece;
  for (std::size_t done = 0; done < values.size(); done += piece) {
    check_interruption();
    const auto part = values.subspan(done, std::min(piece, values.size() - done));
    client::sample_range place = range;
    if (use == client::selection_use::masked) {
      place.first = range.first + static_cast<std::int64_t>(done);
      place.last = place.first + static_cast<std::int64_t>(part.size()) - 1;
    }
    server.set_progress([&](std::uint64_t now, std::uint64_t total) {
      show(done + part.size() * now / std::max<std::uint64_t>(1, total));
    });
    write(part, place);
    server.set_progress(nullptr);
  }
}

}  // namespace

void write_numbers(client::connection& server, std::span<const double> values, client::sample_range range,
                   client::selection_use use, const shown_progress& show) {
  write_pieces(server, values, range, use, show,
               [&](std::span<const double> part, client::sample_range place) {
                 server.write_floats(part, place, use);
               });
}

void write_texts(client::connection& server, std::span<const std::string> values, client::sample_range range,
                 client::selection_use use, const shown_progress& show) {
  write_pieces(server, values, range, use, show,
               [&](std::span<const std::string> part, client::sample_range place) {
                 server.write_texts(part, place, use);
               });
}

}  // namespace qrd::command

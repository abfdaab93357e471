#include "view/pieces.h"

#include <algorithm>

namespace qrd::view {

column_pieces::column_pieces(source& from, const query& asked, client::reading how)
    : from_(from), how_(std::move(how)) {
  from.with([&](client::database& database) {
    file_.emplace(database, asked.place());
    column_ = file_->open(asked.text("variable"));
  });
  // As many bytes of texts as of numbers.
  constexpr std::int64_t bytes = 2 << 20;
  piece_ = bytes / std::max<std::int64_t>(sizeof(double), column_.info.characters);
}

std::optional<client::column_values> column_pieces::next() {
  if (done_ >= file_->samples()) return std::nullopt;
  const client::sample_range range{done_ + 1, std::min(done_ + piece_, file_->samples())};
  how_.range = range;
  client::column_values values = from_.with([&](client::database&) { return file_->read(column_, how_); });
  const std::size_t size = column_.is_text() ? values.texts.size() : values.numbers.size();
  if (how_.selection.empty() && size != static_cast<std::size_t>(range.last - range.first + 1))
    throw client::error("the file has changed while it was read");
  done_ = range.last;
  return values;
}

}  // namespace qrd::view

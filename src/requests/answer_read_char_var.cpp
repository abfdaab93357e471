// CREADVARC: samples of a text variable, each sent with its full width.
#include <algorithm>
#include <cstring>

#include "requests/context.h"
#include "requests/data_request.h"
#include "requests/handlers.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_read_write.h"
#include "samples/qd_read_write_char.h"
#include "wire/arguments.h"

namespace qrd {

namespace {

// Texts that are packed without terminators, as the answer takes them: some of them at a time, with one.
class packed_texts {
 public:
  packed_texts(const char* texts, std::int64_t count, std::int64_t width)
      : next_(texts), left_(count), width_(static_cast<std::size_t>(width)) {}

  // False without memory.
  bool allocate() {
    const auto width = static_cast<std::int64_t>(width_);
    const std::int64_t at_once =
        std::clamp<std::int64_t>(piece_bytes / (width + 1), 1, std::max<std::int64_t>(left_, 1));
    return places_.allocate(at_once) && piece_.allocate(at_once * (width + 1));
  }
  std::span<const char* const> next() {
    const std::int64_t count = std::min(places_.count(), left_);
    char* place = piece_.data();
    for (std::int64_t i = 0; i < count; ++i, next_ += width_) {
      places_[i] = place;
      place = std::copy_n(next_, width_, place);
      *place++ = '\0';
    }
    left_ -= count;
    return {places_.data(), static_cast<std::size_t>(count)};
  }

 private:
  static constexpr std::int64_t piece_bytes = 65536;

  const char* next_;
  std::int64_t left_;
  std::size_t width_;
  checked_array<char> piece_;
  checked_array<const char*> places_;
};

}  // namespace

request_status server_answer_read_char_var(const char* /*request*/) {
  data_request data(data_request::reading);
  std::int32_t compress = 0;
  if (!data.read_char_range() || !read_arguments(compress)) return not_served;
  if (!data.find_variable()) return not_served;
  const std::int64_t width = data.variable.bit_length / 8;
  if (data.variable.implicit != 0 || width < 1)
    return refuse("Variable %s is not a character variable", current_context.variable);
  if (!data.check_range()) return not_served;

  // Clients know a refusal that counts the terminators too.
  checked_array<char> texts, blanks;
  if (!texts.allocate(limited_product(data.count(), width)))
    return refuse_memory("", limited_product(data.count(), width + 1), 1);
  if (!allocate_or_refuse(blanks, width + 1)) return not_served;
  // The columns of a macro are not told apart here: its first one is read.
  if (!data.open(UNIT_VARIABLE)) return not_served;
  std::int64_t count = 0;
  if (data.entry().bytes_per_sample != width ||
      !qd_read_char_free(data.io(), compress != 0 ? SEL_COMPRESSED : SEL_MASKED, data.first, data.last,
                         &count, qd_text_bytes(texts)))
    return data.refuse_transfer();

  packed_texts packed(texts.data(), count, width);
  if (!packed.allocate()) return refuse_memory("", count, width + 1);
  std::memset(blanks.data(), ' ', static_cast<std::size_t>(width));
  blanks[width] = '\0';
  return answer(wire_long{count}, wire_string{blanks.data(), static_cast<std::uint32_t>(width + 1)},
                wire_string_pieces{count, [&packed] { return packed.next(); }});
}

}  // namespace qrd

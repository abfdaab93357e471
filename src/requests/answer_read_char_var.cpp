// CREADVARC: samples of a text variable, each sent with its full width.
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

// Texts of `width` bytes, packed at the front of the block, get a terminator each.
void spread(char* texts, std::int64_t count, std::int64_t width, const char** pointers) {
  for (std::int64_t i = count - 1; i >= 0; --i) {
    char* place = texts + i * (width + 1);
    std::memmove(place, texts + i * width, static_cast<std::size_t>(width));
    place[width] = '\0';
    pointers[i] = place;
  }
}

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

  checked_array<char> texts, blanks;
  checked_array<const char*> pointers;
  if (!allocate_or_refuse(texts, limited_product(data.count(), width + 1)) ||
      !allocate_or_refuse(pointers, data.count()) || !allocate_or_refuse(blanks, width + 1))
    return not_served;
  // The columns of a macro are not told apart here: its first one is read.
  if (!data.open(UNIT_VARIABLE)) return not_served;
  std::int64_t count = 0;
  if (data.entry().bytes_per_sample != width ||
      !qd_read_char_free(data.io(), compress != 0 ? SEL_COMPRESSED : SEL_MASKED, data.first, data.last,
                         &count, qd_text_bytes(texts)))
    return data.refuse_transfer();

  std::memset(blanks.data(), ' ', static_cast<std::size_t>(width));
  blanks[width] = '\0';
  spread(texts.data(), count, width, pointers.data());
  return answer(wire_long{count}, wire_string{blanks.data(), static_cast<std::uint32_t>(width + 1)},
                wire_strings{pointers.data(), count});
}

}  // namespace qrd

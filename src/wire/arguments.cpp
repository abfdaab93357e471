#include "wire/arguments.h"

#include <algorithm>

#include "util/qu_memory.h"
#include "wire/arrays.h"
#include "wire/connection.h"
#include "wire/messages.h"
#include "wire/values.h"

namespace qrd {

namespace {

// Places for strings are taken as the strings arrive: a client may announce any number of them.
constexpr std::int64_t first_texts = 1024;

}  // namespace

request_texts::~request_texts() {
  for (std::int64_t i = 0; i < room_; ++i) std::free(texts_[i]);
  std::free(texts_);
}

bool request_texts::allocate(std::int64_t count) {
  // Whoever announces more texts than there is memory for their places is refused before the first comes.
  if (checked_array<char*> places; !places.allocate(count)) return false;
  count_ = count;
  return grow(std::min(count, first_texts));
}

bool request_texts::grow(std::int64_t room) {
  if (room <= room_) return true;
  auto** grown = static_cast<char**>(std::realloc(texts_, static_cast<std::size_t>(room) * sizeof(char*)));
  if (grown == nullptr) return false;
  std::fill(grown + room_, grown + room, nullptr);
  texts_ = grown;
  room_ = room;
  return true;
}

bool request_texts::read() {
  return _qrd_transfer_array(
             count_,
             [](void* context, std::int64_t i) {
               auto* self = static_cast<request_texts*>(context);
               if (i == self->room_ && !self->grow(std::min(2 * self->room_, self->count_))) {
                 _qrd_error("_qrd_read_string(): Cannot allocate memory");
                 throw text_without_memory();
               }
               return _qrd_read_string(connection.client_socket, self->texts_ + i, unlimited_text);
             },
             this) != 0;
}

bool read_argument(std::int32_t& value) {
  return _qrd_read_int(connection.client_socket, &value) != 0;
}
bool read_argument(std::int64_t& value) {
  return _qrd_read_long(connection.client_socket, &value) != 0;
}
bool read_argument(double& value) {
  return _qrd_read_double(connection.client_socket, &value) != 0;
}
bool read_argument(request_text& text) {
  return _qrd_read_string(connection.client_socket, text.address(), text_limit) != 0;
}
bool read_fixed_text(char* text, std::uint32_t room) {
  text[0] = '\0';
  return _qrd_read_string(connection.client_socket, &text, room) != 0;
}
bool read_unlimited(request_text& text) {
  return _qrd_read_string(connection.client_socket, text.address(), unlimited_text) != 0;
}

}  // namespace qrd

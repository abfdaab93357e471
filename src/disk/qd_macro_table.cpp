// The file "MACRO" of a macro variable, all values XDR (RFC 4506):
//
//   int           version of the writer; 1100 is written, below 200 is refused
//   int           number of slots n
//   n ints        index of each slot: above 0 valid, 0 free, below 0 retired
//   int           number of alphanumerical indices, 0 or n      (from version 420)
//   that many     strings of at most 50 bytes                   (from version 420)

#include "disk/qd_macro_table.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "disk/qd_descriptor.h"
#include "disk/qd_records.h"
#include "util/qu_file.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr std::int64_t oldest_macro_version = 200;
constexpr std::int64_t alpha_since_version = 420;
constexpr std::uint32_t alpha_text_limit = 50;
constexpr std::size_t longest_index_text = 5;

// The end of a name such as stem[12]: where its opening bracket stands, and the text between.
struct name_index {
  std::size_t position;
  std::string_view text;
  char closing;
};

// False for a plain name.
bool split_name(const char* name, name_index& index) {
  std::string_view whole(name);
  if (whole.size() < 3) return false;
  index.closing = whole.back();
  if (index.closing != ']' && index.closing != '}') return false;
  index.position = whole.rfind(index.closing == ']' ? '[' : '{');
  if (index.position == std::string_view::npos) return false;
  index.text = whole.substr(index.position + 1, whole.size() - index.position - 2);
  return true;
}

void copy_name(std::string_view text, name_text& name) {
  qu_path_join(name, {text});
}

std::int64_t file_size(std::FILE* stream) {
  struct stat status;
  return fstat(fileno(stream), &status) == 0 ? status.st_size : 0;
}

// The count of alphanumerical indices that a file may hold.
bool is_alpha_count(std::int64_t count, std::int64_t slots) {
  return count == 0 || count == slots;
}

bool read_descriptor(std::FILE* stream, qd_macro_descr& descriptor) {
  xdr_stream xdr(stream, XDR_DECODE);
  if (!xdr) return false;
  std::int64_t version = 0;
  if (qu_xdr_int(xdr.get(), &version) == 0 || version < oldest_macro_version) return false;

  std::int64_t slots = 0;
  // A number of slots that the file can't hold must not ask for memory.
  if (qu_xdr_int(xdr.get(), &slots) == 0 || slots < 0 || slots > file_size(stream) / 4) return false;
  descriptor.indices.resize(static_cast<std::size_t>(slots));
  for (std::int64_t& index : descriptor.indices)
    if (qu_xdr_int(xdr.get(), &index) == 0 || index > macro_index_maximum || index < -macro_index_maximum)
      return false;
  if (version < alpha_since_version) return true;

  std::int64_t alpha_count = 0;
  if (qu_xdr_int(xdr.get(), &alpha_count) == 0 || !is_alpha_count(alpha_count, slots)) return false;
  for (std::int64_t i = 0; i < alpha_count; ++i) {
    name_text alpha;
    if (qu_xdr_text(xdr.get(), alpha, alpha_text_limit) == 0) return false;
    descriptor.alpha_indices.add(alpha, name_size);
  }
  return true;
}

bool write_descriptor(XDR* xdr, const qd_macro_descr& descriptor, std::int64_t alpha_count) {
  std::int64_t version = DESCRIPTOR_VERSION;
  std::int64_t slots = descriptor.slot_count();
  if (qu_xdr_int(xdr, &version) == 0 || qu_xdr_int(xdr, &slots) == 0) return false;
  for (std::int64_t index : descriptor.indices)
    if (qu_xdr_int(xdr, &index) == 0) return false;
  if (qu_xdr_int(xdr, &alpha_count) == 0) return false;
  for (std::int64_t i = 0; i < alpha_count; ++i) {
    name_text alpha;
    copy_name(descriptor.alpha_indices[i], alpha);
    if (qu_xdr_text(xdr, alpha, alpha_text_limit) == 0) return false;
  }
  return true;
}

}  // namespace

std::int64_t qd_macro_descr::slot_of(std::int64_t index) const {
  auto found = std::find(indices.begin(), indices.end(), index);
  return index > 0 && found != indices.end() ? found - indices.begin() : -1;
}

qd_macro_descr* qd_macro_descr_new(std::int64_t slots) {
  auto* descriptor = new qd_macro_descr;
  descriptor->indices.assign(static_cast<std::size_t>(slots), 0);
  return descriptor;
}

qd_macro_descr* qd_macro_descr_free(qd_macro_descr* descriptor) {
  delete descriptor;
  return nullptr;
}

qd_macro_descr* qd_macro_descr_read(const char* variable_path, object_state* state) {
  object_state unasked = object_state::sound;
  object_state& result = state == nullptr ? unasked : *state;
  path_text path;
  qu_path_join(path, {variable_path, path_separator, macro_file_name});
  const file_stream stream(qu_file_open_n(path, read_binary));
  if (!stream) {
    result = qd_unread_state(errno);
    if (qd_needs_report(result)) qu_message("Cannot open \"%s\": %s", path, qu_strerror(1));
    return nullptr;
  }
  auto descriptor = std::make_unique<qd_macro_descr>();
  result = object_state::sound;
  if (read_descriptor(stream.get(), *descriptor)) return descriptor.release();
  result = std::ferror(stream.get()) == 0 ? object_state::damaged : object_state::unreadable;
  if (result == object_state::damaged)
    qu_message("Macro Variable Descriptor corrupted:\n%s\n", variable_path);
  else
    qu_message("Cannot read \"%s\": %s", path, qu_strerror(1));
  return nullptr;
}

object_state qd_macro_descr_write(const char* variable_path, const qd_macro_descr& descriptor) {
  std::int64_t alpha_count = descriptor.alpha_indices.count();
  if (!is_alpha_count(alpha_count, descriptor.slot_count())) qu_misuse_number("qd_macro_descr_write", 1);
  path_text path;
  qu_path_join(path, {variable_path, path_separator, macro_file_name});
  const auto write = [&](XDR* xdr) { return write_descriptor(xdr, descriptor, alpha_count); };
  return qd_object_file_replace(path, write);
}

index_form qd_macro_name_kind(const char* name) {
  name_index index;
  if (!split_name(name, index)) return index_form::none;
  if (index.text == generic_index) return index_form::generic;
  return index.closing == ']' ? index_form::number : index_form::text;
}

bool qd_macro_name_generic(name_text& name) {
  name_index index;
  if (!split_name(name, index)) return false;
  // Position 43 is let through, though one character is then cut: no object has such a name.
  if (index.position + std::strlen(generic_index) + 1 >= name_size)
    qu_misuse("qd_macro_name_generic: the name is already too long");
  name[index.position] = '\0';
  name_text stem;
  std::memcpy(stem, name, sizeof stem);
  qu_path_join(name, {stem, "[", generic_index, "]"});
  return true;
}

bool qd_catalogue_name(const char* variable, name_text& name) {
  // Neither fits a descriptor: a longer name, and an index so far behind that its generic form is longer.
  constexpr std::size_t generic_room = name_size - sizeof "[xxxxx]";
  if (std::strlen(variable) >= name_size) return false;
  qu_path_join(name, {variable});
  if (!qd_macro_names_column(name)) return true;
  const char opening = name[std::strlen(name) - 1] == ']' ? '[' : '{';
  if (static_cast<std::size_t>(std::strrchr(name, opening) - name) > generic_room) return false;
  qd_macro_name_generic(name);
  return true;
}

std::int64_t qd_macro_name_indice(const char* name) {
  name_index index;
  if (!split_name(name, index) || index.closing != ']' || index.text.size() > longest_index_text) return 0;
  if (index.text == generic_index) return -1;
  char text[longest_index_text + 1];
  qu_path_join(text, {index.text});
  std::int64_t number = 0;
  return qu_string_to_int(text, 1, macro_index_maximum, false, &number) == 0 ? number : 0;
}

bool qd_macro_alpha_check(const char* text) {
  if (std::strpbrk(text, "{}[]") != nullptr) {
    qu_message("Forbidden characters ( {,},[,] ) encountered in alphanumerical indice \"%s\"", text);
    return false;
  }
  if (*text == '\0' || std::strcmp(text, generic_index) == 0 || std::strcmp(text, no_name) == 0) {
    qu_message("%s is a reserved keyword and cannot be used as an alphanumerical index", text);
    return false;
  }
  return true;
}

std::int64_t qd_macro_name_alpha_indice(const qd_macro_descr& descriptor, const char* name,
                                        name_text* alpha) {
  name_index index;
  if (!split_name(name, index)) return 0;
  if (index.text == generic_index) return -1;
  bool has_alpha = descriptor.alpha_indices.get() != nullptr;

  if (index.closing == ']') {
    std::int64_t number = qd_macro_name_indice(name);
    std::int64_t slot = descriptor.slot_of(number);
    if (slot < 0) return 0;
    if (alpha != nullptr) copy_name(has_alpha ? descriptor.alpha_indices[slot] : "", *alpha);
    return number;
  }

  if (!has_alpha) {
    qu_message("qd_macro_name_alpha_indice: no alpha indices in this macro: %s", name);
    return 0;
  }
  std::int64_t slot = descriptor.alpha_indices.find(std::string(index.text).c_str());
  if (slot < 0) return 0;
  std::int64_t number = descriptor.indices[static_cast<std::size_t>(slot)];
  if (number <= 0) return 0;  // the text of a free or retired slot
  if (alpha != nullptr) copy_name(index.text, *alpha);
  return number;
}

}  // namespace qrd

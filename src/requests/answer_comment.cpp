// The comment of the current file or variable.
#include <cstring>
#include <string>

#include "catalogue/qd_comment.h"
#include "disk/qd_descriptor.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"

namespace qrd {

namespace {

// Whose comment a client means.
enum comment_mode : std::int32_t { FILE_COMMENT = 2, VARIABLE_COMMENT = 3 };

bool is_comment_mode(std::int32_t mode) {
  return mode == FILE_COMMENT || mode == VARIABLE_COMMENT;
}

refused refuse_mode(std::int32_t mode) {
  return refuse("Comment Mode %d unsupported", mode);
}

bool is_object_set(std::int32_t mode) {
  return is_set(current_context.file) && (mode == FILE_COMMENT || is_set(current_context.variable));
}

refused refuse_object(std::int32_t mode) {
  return refuse("File%s is not set", mode == FILE_COMMENT ? "" : " or Variable");
}

const char* variable_of(std::int32_t mode) {
  return mode == FILE_COMMENT ? nullptr : current_context.variable;
}

}  // namespace

// CCOMGET: gives the comment; no comment and no object any more are an empty text.
request_status server_answer_comment_get(const char* /*request*/) {
  std::int32_t mode = 0;
  if (!read_arguments(mode)) return not_served;
  if (!is_comment_mode(mode)) return refuse_mode(mode);
  if (!is_object_set(mode)) return refuse_object(mode);
  std::string text;
  // Half a text, taken for the whole, would be written back by the client.
  if (qd_comment_read(current_context.directory, current_context.file, variable_of(mode), text) ==
      found::unreadable)
    return refuse("Enable to read file or variable comment");
  return answer(wire_string{text.c_str(), unlimited_text});
}

// CCOMSET: replaces the comment. CVARCOMM: that of the variable.
request_status server_answer_comment_set(const char* request) {
  std::int32_t mode = VARIABLE_COMMENT;
  if (std::strcmp(request, "CVARCOMM") != 0) {
    if (!read_arguments(mode)) return not_served;
    if (!is_comment_mode(mode)) return refuse_mode(mode);
  }
  std::int32_t append = 0;
  request_text text;
  if (!read_arguments(append) || !read_unlimited(text)) return not_served;
  if (!is_object_set(mode)) return refuse_object(mode);
  if (!qd_comment_write(current_context.directory, current_context.file, variable_of(mode), append,
                        text.c_str())) {
    return refuse("Enable to update file or variable comment");
  }
  return answer();
}

}  // namespace qrd

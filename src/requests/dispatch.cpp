#include "requests/dispatch.h"

#include <cstring>
#include <iterator>
#include <new>

#include "disk/qd_handles.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/buffer.h"
#include "wire/debug.h"
#include "wire/request_table.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr request_status (*handlers[])(const char* request) = {
#define REQUEST(name, handler, ...) handler,
#include "wire/request_table.inc"
#undef REQUEST
};

constexpr char no_memory[] = "Memory allocation failed";

request_status serve(std::size_t place) {
  const request_row& row = request_table[place];
  answer_by(row);
  const handles_tested_once handles;
  if (tracing.level >= 1) _qrd_trace_enter(row.handler, 0);
  request_status status = not_served;
  try {
    status = handlers[place](row.name);
  } catch (const text_without_memory&) {
    status = clean_and_refuse("%s", no_memory);
  } catch (const std::bad_alloc&) {
    // Some small thing found no memory; what it was is lost, the process and its client are not.
    status = refuse("%s", no_memory);
  }
  if (tracing.level >= 1) _qrd_trace_exit("%d", static_cast<int>(status));
  if (status != not_served) return status;
  // The rest of an answer that came to nothing must not precede the next one.
  _qrd_empty_write();
  server_debug(1, "Error while processing [%s] request.", row.name);
  return status;
}

}  // namespace

request_status server_answer(const char* request) {
  for (std::size_t i = 0; i < std::size(request_table); ++i)
    if (std::strcmp(request, request_table[i].name) == 0) return serve(i);
  const request_status status = clean_and_refuse("Unrecognized request [%s]", request);
  server_debug(1, "Unrecognized request [%s]", request);
  return status;
}

// CSUPREQ: lists the request names.
request_status st_answer_supported_req(const char* /*request*/) {
  server_debug(0, "Sending List of Supported Requests");
  const char* names[std::size(request_table)];
  for (std::size_t i = 0; i < std::size(request_table); ++i) names[i] = request_table[i].name;
  constexpr auto count = static_cast<std::int32_t>(std::size(request_table));
  return answer(wire_int{count}, wire_strings{names, count});
}

}  // namespace qrd

#include "server/api_get_default_port.h"

#include <arpa/inet.h>
#include <netdb.h>

#include "wire/connection.h"
#include "wire/trace.h"

namespace qrd {

std::uint16_t QRDClientGetDefaultPort() {
  constexpr std::uint16_t default_port = 5500;
  if (tracing.level >= 2) _qrd_trace("Getting Default port from services");
  const servent* service = getservbyname(server_program, nullptr);
  if (service != nullptr) return ntohs(static_cast<std::uint16_t>(service->s_port));
  if (tracing.level >= 2) _qrd_trace("Not found, using default port");
  return default_port;
}

}  // namespace qrd

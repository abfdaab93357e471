#include "wire/connection.h"

namespace qrd {

socket_handle listen_socket = no_socket;
socket_handle client_socket = no_socket;
std::int32_t multi_session = 0;
std::int32_t client_version = 0;
std::int32_t request_count = 0;
std::int32_t client_is_64bits = 0;
std::int32_t server_is_64bits = 1;

}  // namespace qrd

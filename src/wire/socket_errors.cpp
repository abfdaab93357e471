#include "wire/socket_errors.h"

#include <netdb.h>

#include <cerrno>
#include <iterator>

namespace qrd {

namespace {

// This platform has no number for an error of the first one's socket layer.
constexpr int no_counterpart = -1000;

struct socket_error_row {
  int code;            // of the protocol's first platform; operators know these numbers
  int platform_error;  // errno, or EAI_... for a name look-up
  const char* text;
};

constexpr socket_error_row socket_errors[] = {
    {0, 0, "No error"},
    {10004, EINTR, "The blocking call was interrupted"},
    {10009, EBADF, "The handle given is not a valid file or socket"},
    {10013, EACCES, "Access to the socket is not permitted"},
    {10014, EFAULT, "An address passed to the call lies outside the usable memory"},
    {10022, EINVAL, "An argument of the call is not valid"},
    {10024, EMFILE, "Too many sockets are open"},
    {10035, EWOULDBLOCK, "The operation cannot be completed at once on a non-blocking socket"},
    {10036, EINPROGRESS, "A blocking operation is still in progress"},
    {10037, EALREADY, "The socket is already busy with such an operation"},
    {10038, ENOTSOCK, "The operation was tried on something that is not a socket"},
    {10039, EDESTADDRREQ, "A destination address is needed for this operation"},
    {10040, EMSGSIZE, "The message is larger than the buffer or a limit of the network"},
    {10041, EPROTOTYPE, "The protocol does not suit this type of socket"},
    {10042, ENOPROTOOPT, "The socket option is unknown or not valid at this level"},
    {10043, EPROTONOSUPPORT, "The protocol is not available on this machine"},
    {10044, ESOCKTNOSUPPORT, "The address family does not support this type of socket"},
    {10045, EOPNOTSUPP, "This kind of socket does not support the operation"},
    {10046, EPFNOSUPPORT, "The protocol family is not available on this machine"},
    {10047, EAFNOSUPPORT, "The address does not belong to the family of the protocol"},
    {10048, EADDRINUSE, "The address and port are already in use by another socket"},
    {10049, EADDRNOTAVAIL, "The address is not one of this machine"},
    {10050, ENETDOWN, "The network is down"},
    {10051, ENETUNREACH, "There is no route to the network"},
    {10052, ENETRESET, "The network dropped the connection because keep-alive found it broken"},
    {10053, ECONNABORTED, "The connection was given up by the software of this machine"},
    {10054, ECONNRESET, "An existing connection was forcibly closed by the remote host"},
    {10055, ENOBUFS, "The system has no buffer space left for the socket"},
    {10056, EISCONN, "The socket is already connected"},
    {10057, ENOTCONN, "The socket is not connected"},
    {10058, ESHUTDOWN, "The socket has already been shut down in this direction"},
    {10059, ETOOMANYREFS, "There are too many references to an object of the kernel"},
    {10060, ETIMEDOUT, "The other side did not answer within the time allowed"},
    {10061, ECONNREFUSED, "No connection could be made because the target machine actively refused it"},
    {10062, ELOOP, "The name contains a loop and cannot be translated"},
    {10063, ENAMETOOLONG, "The name is too long"},
    {10064, EHOSTDOWN, "The remote host is down"},
    {10065, EHOSTUNREACH, "There is no route to the remote host"},
    {10066, ENOTEMPTY, "The directory is not empty"},
    {10067, no_counterpart, "The limit on the number of processes has been reached"},
    {10068, EUSERS, "The quota of users has been reached"},
    {10069, EDQUOT, "The quota of disk space has been reached"},
    {10070, ESTALE, "The handle of a remote file is no longer valid"},
    {10071, EREMOTE, "The object is not available on this machine"},
    {10091, no_counterpart, "The network software is not ready for use"},
    {10092, no_counterpart, "The network software does not offer the version asked for"},
    {10093, no_counterpart, "The network software has not been started by this program"},
    {10101, no_counterpart, "The other side is closing the connection in good order"},
    {11001, EAI_NONAME, "No such host is known"},
    {11002, EAI_AGAIN, "The name server did not answer; trying again later may help"},
    {11003, EAI_FAIL, "The name look-up failed for good"},
    {11004, EAI_NODATA, "The name is valid but has no address of the kind asked for"},
};
static_assert(std::size(socket_errors) == 52);

}  // namespace

const char* socket_error_text(int platform_error) {
  for (const socket_error_row& row : socket_errors)
    if (row.platform_error == platform_error && platform_error != no_counterpart) return row.text;
  return socket_errors[0].text;
}

}  // namespace qrd

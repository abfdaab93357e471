// What the client library throws.
#pragma once

#include <stdexcept>
#include <string>

namespace qrd::client {

// Base of everything below, so that a caller can catch the lot.
class error : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The server answered SERROR; what() is the server's text. The connection goes on.
class refusal : public error {
  using error::error;
};

// The connection broke, timed out, or the answer was not one that this request can have.
// The connection is of no further use.
class protocol_error : public error {
  using error::error;
};

// An argument that the protocol cannot carry, such as a name of more characters than its field holds.
// Nothing was sent.
class bad_argument : public error {
  using error::error;
};

}  // namespace qrd::client

// What the client library throws.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qrd/export.h"

namespace qrd::client {

// Base of everything below, so that a caller can catch the lot.
class QRD_EXPORT error : public std::runtime_error {
 public:
  explicit error(const std::string& text, std::string asked = {})
      : std::runtime_error(text), asked_(std::move(asked)) {}
  // The request that the server refused or did not answer, or that could not be sent, such as "CFILESET";
  // empty if it was none.
  const std::string& asked() const { return asked_; }

 private:
  std::string asked_;
};

// The server answered SERROR; what() is the server's text. The connection goes on.
class QRD_EXPORT refusal : public error {
  using error::error;
};

// The server refused because nothing has that name; what() tells the names that are near.
class QRD_EXPORT not_found : public refusal {
 public:
  not_found(const std::string& text, std::string name, std::vector<std::string> near, std::string asked = {})
      : refusal(text, std::move(asked)), name_(std::move(name)), near_(std::move(near)) {}
  const std::string& name() const { return name_; }
  const std::vector<std::string>& near_names() const { return near_; }

 private:
  std::string name_;
  std::vector<std::string> near_;
};

// The connection broke, timed out, or the answer was not one that this request can have.
// The connection is of no further use.
class QRD_EXPORT protocol_error : public error {
  using error::error;
};

// An argument that the protocol cannot carry, such as a name of more characters than its field holds.
// Nothing was sent.
class QRD_EXPORT bad_argument : public error {
  using error::error;
};

}  // namespace qrd::client

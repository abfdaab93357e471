// Packets with which a test looks whether the real server is there.
#pragma once

#include "support/server_process.h"

namespace qrd::test {

inline const std::string arch = bytes("CARCH").i32(1), arch_answer = bytes("SARCH").i32(1);
inline const std::string goodbye = bytes("CBYE BYE"), goodbye_answer = bytes("SBYE BYE");
inline const std::string new_session = bytes("CNEWSESS");

inline void expect_answer(raw_connection& client, const std::string& request, const std::string& answer) {
  EXPECT_EQ(client.exchange(request, answer.size()), answer);
}
inline void expect_service(raw_connection& client) {
  expect_answer(client, arch, arch_answer);
}
inline void expect_goodbye(raw_connection& client) {
  expect_answer(client, goodbye, goodbye_answer);
}

// Of a word on the wire.
inline std::uint16_t port_of(const std::string& word) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(word.at(2)) << 8 |
                                    static_cast<unsigned char>(word.at(3)));
}

}  // namespace qrd::test

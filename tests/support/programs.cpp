#include "support/programs.h"

namespace qrd::test {

const char server_program[] = QRD_SERVER_PROGRAM;
const char client_program[] = QRD_CLIENT_PROGRAM;
const char shipped_root[] = QRD_TEST_DATA "/root";
const char shipped_facts[] = QRD_TEST_DATA "/facts.json";
const char protocol_document[] = QRD_TEST_DATA "/../../docs/protocol.md";

}  // namespace qrd::test

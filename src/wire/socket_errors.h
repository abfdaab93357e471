// What a socket error means, in a sentence.
#pragma once

namespace qrd {

// A number that stands for a failed name look-up beside the values of errno: EAI_... (RFC 3493), which
// is negative here, is passed as it is. An unknown number gives "No error".
const char* socket_error_text(int platform_error);

}  // namespace qrd

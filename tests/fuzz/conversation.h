// Inputs that are rows of steps: what a client sends, and what another program does to files meanwhile.
//
//   request   0, length (2 bytes), the bytes of the request
//   whole     1, file, look, length (2 bytes), the new content of the file
//   patch     2, file, look, offset (2 bytes), length (1 byte), bytes that are written over
//   cut       3, file, look, length to which it is cut (2 bytes)
//   copy      4, file, look, another file whose content it gets
//   remove    5, file, look
//
// A file is a length (1 byte) and its path below the root. A look says when it happens: 0 before the next
// request, up to 15 within it, before the server looks at that file for the n-th time; more: before it looks
// at anything, every fifth time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qrd::fuzz {

enum class step_kind : std::uint8_t { request, whole, patch, cut, copy, remove };

struct step {
  step_kind kind = step_kind::request;
  std::string file;
  std::uint8_t look = 0;
  std::uint16_t place = 0;  // offset of a patch, length of a cut
  std::string data;         // request, content, bytes, or the other file
};
inline constexpr int looks_at_file = 16;
inline constexpr int looks_apart = 5;
using conversation = std::vector<step>;

// Takes anything; what makes no sense is passed over.
conversation parse(std::string_view input);
std::string unparse(const conversation& steps);

// What a mutation may put in.
struct ingredients {
  std::vector<std::string> requests;
  std::vector<std::string> files;
};
// A mutation that keeps the steps whole. `mutate` changes some bytes.
std::string mutated(std::string_view input, std::size_t limit, unsigned seed, const ingredients& known,
                    std::size_t (*mutate)(std::uint8_t* data, std::size_t size, std::size_t limit));

}  // namespace qrd::fuzz

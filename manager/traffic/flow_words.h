// The words of flows for values that rules know by a code. Words are compared without regard to case.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace kvel::manager {

// The words of one kind of code rule, in the order of their codes.
struct CodeWords {
  std::uint32_t first_code;
  std::span<const std::string_view> words;

  [[nodiscard]] std::optional<std::uint32_t> code_of(std::string_view word) const;
  // The code must be one of these.
  [[nodiscard]] std::string_view word_of(std::uint32_t code) const { return words[code - first_code]; }
};

extern const CodeWords kRequestMethodWords;
extern const CodeWords kMimeTypeWords;
extern const CodeWords kTransferEncodingWords;
extern const CodeWords kPortMisuseWords;
extern const CodeWords kFtpMethodWords;

// The number of a protocol by its name.
[[nodiscard]] std::optional<std::uint8_t> protocol_of(std::string_view name);

}  // namespace kvel::manager

// The checks of what a user typed.
#include "cli/common/validators.h"

#include <cstring>

namespace kvel::cli {

bool is_valid_host_address(std::uint32_t address) {
  constexpr std::uint32_t kHighestOfNetworkZero = 0x00FFFFFF;
  constexpr std::uint32_t kLoopbackNetwork = 127;
  constexpr std::uint32_t kLowestMulticast = 0xE0000000;  // multicast, reserved and broadcast reach to the end
  return address > kHighestOfNetworkZero && address < kLowestMulticast && (address >> 24U) != kLoopbackNetwork;
}

bool is_http_token(const char* text) {
  constexpr const char* kSeparators = "()<>@,;:\\\"/[]?={}";
  if (text == nullptr || *text == '\0') return false;
  for (; *text != '\0'; ++text) {
    const auto character = static_cast<unsigned char>(*text);
    if (character <= 0x20 || character >= 0x7F) return false;  // controls, white space, anything beyond ASCII
    if (std::strchr(kSeparators, character) != nullptr) return false;
  }
  return true;
}

}  // namespace kvel::cli

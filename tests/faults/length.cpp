#include "tests/faults/length.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace kvel::faults {

bool is_long() {
  const char* const length = std::getenv("KVEL_FAULTS");
  return length != nullptr && std::string_view(length) == "long";
}

unsigned seed() {
  const char* const given = std::getenv("KVEL_SEED");
  const unsigned chosen = given == nullptr ? 20240229U : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
  std::printf("KVEL_SEED=%u\n", chosen);
  return chosen;
}

}  // namespace kvel::faults

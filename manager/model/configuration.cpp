#include "manager/model/configuration.h"

#include <random>

namespace kvel::manager {
namespace {

// Small enough that the numbers after it do not come around.
std::uint32_t random_number() { return std::random_device()() % 0x7fff'ffff + 1; }

}  // namespace

Configuration::Configuration() : first_change_(random_number()) {}

const Context& Configuration::context(std::uint16_t number) const {
  static const Context empty;
  const auto found = contexts_.find(number);
  return found == contexts_.end() ? empty : found->second;
}

}  // namespace kvel::manager

#include "manager/model/configuration.h"

namespace kvel::manager {

const Context& Configuration::context(std::uint16_t number) const {
  static const Context empty;
  const auto found = contexts_.find(number);
  return found == contexts_.end() ? empty : found->second;
}

}  // namespace kvel::manager

// "show running-config": every object as the commands that create it again, or as a document.
#pragma once

#include <cstdint>
#include <string>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// What is shown: everything, the objects of a kind (kvel/host.h), or one of them.
struct ShownConfig {
  std::uint32_t kind = kAllObjects;
  std::string name{};
};

// Prints the configuration of a context through the output library. As text it is lines that, replayed on an empty
// store, give the same configuration; as a document it is the objects with their members.
[[nodiscard]] tl::expected<void, CallFailure> show_running_config(const Grammar& grammar, int context,
                                                                  const ShownConfig& shown = {});

}  // namespace kvel::shell

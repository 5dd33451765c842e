// Where the shell finds its classification manager: in this process, or at an address.
#pragma once

#include <memory>
#include <string>
#include <tl/expected.hpp>

#include "rpc/calls/service.h"
#include "rpc/client/channel.h"
#include "shell/kvelsh/options.h"

namespace kvel::shell {

struct Backend {
  std::unique_ptr<rpc::Service> manager;  // null when it runs elsewhere
  std::unique_ptr<rpc::Channel> channel;
};

// Opens the store and the manager on it, or connects; an error is a message for the user.
[[nodiscard]] tl::expected<Backend, std::string> open_backend(const Options& options);

}  // namespace kvel::shell

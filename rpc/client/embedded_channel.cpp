// Calls within the process.
#include "rpc/client/embedded_channel.h"

#include "rpc/wire/frame.h"

namespace kvel::rpc {

Status EmbeddedChannel::call(std::size_t call, std::span<const Argument> arguments) {
  const Status status = service_.call(call, arguments);
  // The limit of the remote channel, so that nothing works here and fails there.
  for (const Argument& argument : arguments) {
    if (argument.type == ArgType::response && argument.response->size() > kMaxResultBytes) return Status::internal;
  }
  return status;
}

}  // namespace kvel::rpc

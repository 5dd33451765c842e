// The manager in the same process: calls go straight to the service, on the caller's own memory.
#pragma once

#include "rpc/calls/service.h"
#include "rpc/client/channel.h"

namespace kvel::rpc {

// The service sees the caller's texts and buffers themselves and writes returned buffers in place; a failed call
// therefore leaves returned buffers without meaning.
class EmbeddedChannel final : public Channel {
 public:
  // `service` outlives the channel.
  explicit EmbeddedChannel(Service& service) : service_(service) {}

  [[nodiscard]] Status bind() override { return Status::ok; }
  [[nodiscard]] Status call(std::size_t call, std::span<const Argument> arguments) override;

 private:
  Service& service_;
};

}  // namespace kvel::rpc

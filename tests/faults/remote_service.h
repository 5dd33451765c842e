// A manager at a socket as a service of this process: callers of one can call the other.
#pragma once

#include <chrono>
#include <string>

#include "rpc/calls/service.h"
#include "rpc/client/remote_channel.h"

namespace kvel::faults {

// Long enough for anything that is to succeed on a busy machine.
inline constexpr std::chrono::seconds kAmple{120};

class RemoteService final : public rpc::Service {
 public:
  explicit RemoteService(const std::string& socket, std::chrono::milliseconds call_time = kAmple);

  [[nodiscard]] Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override;

  [[nodiscard]] rpc::RemoteChannel& channel() { return channel_; }

 private:
  rpc::RemoteChannel channel_;
};

}  // namespace kvel::faults

#include "tests/faults/remote_service.h"

#include <new>

namespace kvel::faults {

RemoteService::RemoteService(const std::string& socket, std::chrono::milliseconds call_time)
    : channel_(*rpc::parse_address(socket), call_time) {}

Status RemoteService::call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept try {
  return channel_.call(call, arguments);
} catch (const std::bad_alloc&) {
  return Status::internal;
}

}  // namespace kvel::faults

// A service that is named after its server has opened the socket.
#pragma once

#include <cstddef>
#include <span>

#include "rpc/calls/service.h"

namespace kvel {

// No call comes before bind(): the server's loop does not run until then.
class LateService final : public rpc::Service {
 public:
  void bind(rpc::Service& service) { service_ = &service; }

  [[nodiscard]] Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    return service_ == nullptr ? Status::internal : service_->call(call, arguments);
  }

 private:
  rpc::Service* service_ = nullptr;
};

}  // namespace kvel

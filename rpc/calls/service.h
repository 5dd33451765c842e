// The one interface between the RPC library and the classification manager.
#pragma once

#include <cstddef>
#include <span>

#include "rpc/calls/argument.h"
#include "rpc/calls/status.h"

namespace kvel::rpc {

class Service {
 public:
  Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  virtual ~Service() = default;

  // Carries out the call in row `call` of kCalls. The arguments have been checked against that row. Calls are made one
  // at a time. A failure inside the service is Status::internal, never an exception; after a failure returned buffers
  // and the response have no meaning.
  [[nodiscard]] virtual Status call(std::size_t call, std::span<const Argument> arguments) noexcept = 0;
};

}  // namespace kvel::rpc

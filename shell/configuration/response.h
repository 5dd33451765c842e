// Answers to the shell's own backend calls.
#pragma once

#include <cstdint>

#include "kvel/rpc.h"
#include "shell/configuration/objects.h"

namespace kvel::shell {

[[nodiscard]] bool succeeded(std::int32_t status);
[[nodiscard]] CallFailure failure(std::int32_t status);

// A prepared holder that is released on every path.
class Response {
 public:
  Response() { tnrpc_init_resp(&holder_); }
  Response(const Response&) = delete;
  Response& operator=(const Response&) = delete;
  ~Response() { tnrpc_free(&holder_); }

  [[nodiscard]] TnrpcResponse* holder() { return &holder_; }
  // Throws nothing: what is no JSON comes back as a discarded value.
  [[nodiscard]] ObjectRecord json() const;

 private:
  TnrpcResponse holder_{};
};

}  // namespace kvel::shell

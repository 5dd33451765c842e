// The variable arguments of tnrpc_call, read once and compared with the call's row of the table.
#pragma once

#include <array>
#include <cstdarg>

#include "kvel/rpc.h"
#include "rpc/calls/argument.h"

namespace kvel::rpc {

struct CallArguments {
  std::array<Argument, kMaxArguments> values;  // the first row.count are set
  TnrpcResponse* holder = nullptr;             // the caller's, when the call has a response
  ResponseBuffer response;                     // what its Argument points to
};

// Reads row.count arguments by their own type codes. False when one differs from the row: another type, a value out of
// range, a buffer of another length, a null pointer, texts above kMaxTextBytes. Holders that are met are emptied, so
// that a call that fails here leaves nothing to release. An unknown type code ends the reading, as its width is not
// known.
[[nodiscard]] bool read_arguments(const CallRow& row, std::va_list arguments, CallArguments& read);

}  // namespace kvel::rpc

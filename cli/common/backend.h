// Calls of the classification manager. A call is written with typed arguments,
//
//   backend_call("cm_update_classdesc", context(command), session(command), request.name, request.text, add(command))
//
// and expands to the one variadic C call: for each argument its type code and value. An argument of any other type, a
// plain int above all, does not compile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>

#include "cli/common/fixed_text.h"
#include "kvel/command.h"
#include "kvel/rpc.h"
#include "kvel/status.h"

namespace kvel::cli {

struct u8 {
  std::uint8_t value;
};
struct u16 {
  std::uint16_t value;
};
struct u32 {
  std::uint32_t value;
};
struct SessionArgument {
  std::uint32_t value;
};
struct BufferArgument {
  void* data;
  std::uint32_t length;
};

// A record, cursor or word of the backend, sent as it lies in memory and written back by the call.
template <class Record>
BufferArgument buffer(Record& record) {
  static_assert(alignof(Record) == 1, "records are made of bytes and big-endian fields");
  return {&record, sizeof(Record)};
}

namespace detail {

inline auto expand(u8 argument) { return std::tuple<int, int>(TNRPC_ARG_U8, argument.value); }
inline auto expand(u16 argument) { return std::tuple<int, int>(TNRPC_ARG_U16, argument.value); }
inline auto expand(u32 argument) { return std::tuple<int, std::uint32_t>(TNRPC_ARG_U32, argument.value); }
inline auto expand(SessionArgument argument) {
  return std::tuple<int, std::uint32_t>(TNRPC_ARG_SESSION, argument.value);
}
inline auto expand(BufferArgument argument) {
  return std::tuple<int, void*, std::uint32_t>(TNRPC_ARG_BUFFER, argument.data, argument.length);
}
template <std::size_t Bound>
auto expand(const FixedText<Bound>& argument) {
  return std::tuple<int, const char*>(TNRPC_ARG_STRING, argument.c_str());
}
inline auto expand(TnrpcResponse& holder) { return std::tuple<int, TnrpcResponse*>(TNRPC_ARG_RESPONSE, &holder); }

}  // namespace detail

// Makes the call; returns its status word.
template <class... Arguments>
std::int32_t backend_call(const char* name, Arguments&&... arguments) {
  return std::apply(
      [name](auto... values) { return tnrpc_call(name, static_cast<int>(sizeof...(Arguments)), values...); },
      std::tuple_cat(detail::expand(arguments)...));
}

inline bool succeeded(std::int32_t status) { return status == KVEL_STATUS_ok || status == KVEL_STATUS_more_data; }

// Binds the client to the classification manager. Any answer but 0 is a failed bind.
[[nodiscard]] inline std::int32_t bind_client() { return tnrpc_clnt_init(TNRPC_SERVICE_CLASSIFICATION); }

// The session's identity and the form of the command, as calls carry them.
inline u16 context(const CliCommand* command) { return {static_cast<std::uint16_t>(command->context_id)}; }
inline SessionArgument session(const CliCommand* command) { return {command->session_id}; }
inline u8 add(const CliCommand* command) { return {static_cast<std::uint8_t>(command->negated == 0 ? 1 : 0)}; }

}  // namespace kvel::cli

// Watching calls.
#include "shell/session/call_watch.h"

namespace kvel::shell {

Status CallWatch::bind() { return note(watched_.bind()); }

Status CallWatch::call(std::size_t call, std::span<const rpc::Argument> arguments) {
  if (const auto status = intended_.make(watched_, call, arguments)) return note(*status);
  return note(watched_.call(call, arguments));
}

Status CallWatch::note(Status status) {
  if (!succeeded(status)) failure_ = status;
  return status;
}

bool CallWatch::manager_is_lost() const { return failure_ == Status::transport || failure_ == Status::timed_out; }

}  // namespace kvel::shell

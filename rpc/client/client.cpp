// The C functions that plug-ins call. No exception leaves them.
#include "rpc/client/client.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "kvel/rpc.h"
#include "rpc/client/arguments.h"

namespace kvel::rpc {

namespace {

// The C functions carry no handle, so the channel is the process's.
Channel* current_channel = nullptr;

// Holders that wait for tnrpc_free; counted in every build, as it costs one addition.
std::atomic<std::size_t> holder_count = 0;

void fill(TnrpcResponse& holder, ResponseBuffer& response) {
  holder.length = static_cast<std::int32_t>(response.size());  // a channel keeps to kMaxResultBytes
  holder.data = response.release();
  if (holder.data != nullptr) ++holder_count;
}

Status carry_out(std::size_t call, CallArguments& arguments) noexcept try {
  if (current_channel == nullptr) return Status::transport;
  const auto used = std::span(arguments.values).first(kCalls[call].count);
  const Status status = current_channel->call(call, used);
  if (succeeded(status) && arguments.holder != nullptr) fill(*arguments.holder, arguments.response);
  return status;
} catch (...) {
  return Status::internal;
}

Status bind() noexcept try {
  return current_channel == nullptr ? Status::transport : current_channel->bind();
} catch (...) {
  return Status::internal;
}

std::int32_t code(Status status) { return static_cast<std::int32_t>(status); }

}  // namespace

InstalledChannel::InstalledChannel(Channel& channel) : previous_(std::exchange(current_channel, &channel)) {}
InstalledChannel::~InstalledChannel() { current_channel = previous_; }

std::size_t live_holders() { return holder_count; }

}  // namespace kvel::rpc

using kvel::Status;
using namespace kvel::rpc;

std::int32_t tnrpc_clnt_init(std::int32_t service) {
  if (service != TNRPC_SERVICE_CLASSIFICATION) return code(Status::transport);  // nobody offers another service
  return code(bind());
}

std::int32_t tnrpc_call(const char* name, std::int32_t nargs, ...) {
  const std::size_t call = name == nullptr ? kNoCall : find_call(name);
  if (call == kNoCall) return code(Status::unknown_call);
  const CallRow& row = kCalls[call];
  if (std::cmp_not_equal(nargs, row.count)) return code(Status::bad_arguments);  // before anything is read

  CallArguments arguments;
  std::va_list list;
  va_start(list, nargs);
  const bool fits = read_arguments(row, list, arguments);
  va_end(list);
  if (!fits) return code(Status::bad_arguments);
  return code(carry_out(call, arguments));
}

void tnrpc_init_resp(TnrpcResponse* response) {
  if (response != nullptr) *response = TnrpcResponse{0, nullptr};
}

void tnrpc_free(TnrpcResponse* response) {
  if (response == nullptr) return;
  if (response->data != nullptr) --holder_count;
  std::free(response->data);
  *response = TnrpcResponse{0, nullptr};
}

const char* syserr2str(std::int32_t status) {
  static thread_local char composed[256];
  const auto word = static_cast<Status>(status);
  const auto text = kvel::status_text(word);
  const auto in_expression = kvel::expression_fault(word);
  const kvel::NameFault in_name = kvel::name_fault(word);
  if (in_name.character != 0 && in_name.code == kvel::NameFault::kNoCharacter) {
    std::snprintf(composed, sizeof composed, "an object name must be UTF-8; this one is not, at character %u",
                  static_cast<unsigned>(in_name.character));
  } else if (in_name.character != 0) {
    std::snprintf(composed, sizeof composed,
                  "an object name has only characters that can be shown; this one has U+%04X, at character %u",
                  static_cast<unsigned>(in_name.code), static_cast<unsigned>(in_name.character));
  } else if (text.empty()) {
    std::snprintf(composed, sizeof composed, "unknown status 0x%08x", static_cast<std::uint32_t>(status));
  } else if (in_expression.character != 0) {
    std::snprintf(composed, sizeof composed, "%s, at character %u", text.data(),
                  static_cast<unsigned>(in_expression.character));
  } else {
    return text.data();
  }
  return composed;
}

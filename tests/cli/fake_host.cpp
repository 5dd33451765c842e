// The fake host's bookkeeping: events in order, answers in turn, and the life of every response holder.
#include "tests/cli/fake_host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "tests/cli/guarded_memory.h"

namespace kvel::cli::test {
namespace {

Host* current_host = nullptr;

bool succeeded(std::int32_t status) { return status == 0 || status == kMoreData; }

// What a holder without a page shows to a plug-in that looks nevertheless.
void spoil(TnrpcResponse* holder) { *holder = {3 * 65, inaccessible()}; }

}  // namespace

Host::Host() {
  if (current_host != nullptr) std::abort();
  current_host = this;
}

Host::~Host() {
  for (const auto& [holder, state] : holders_)
    std::free(state.data);
  current_host = nullptr;
}

Host& Host::current() {
  if (current_host == nullptr) std::abort();
  return *current_host;
}

void Host::begin() {
  events_.clear();
  output_.emplace();
}

Events Host::end() {
  record_output();
  output_.reset();
  for (const auto& [holder, state] : holders_) {
    if (state.state == HolderState::filled) complain("a response holder was never released");
    std::free(state.data);
  }
  holders_.clear();
  if (!answers_.empty()) complain(std::to_string(answers_.size()) + " answers were not asked for");
  answers_.clear();
  return std::exchange(events_, {});
}

void Host::record(std::string event) {
  record_output();
  events_.push_back(std::move(event));
}

void Host::record_output() {
  if (!output_) return;
  const std::string text = output_->take();
  if (!text.empty()) events_.push_back(out(text));
}

void Host::complain(std::string breach) { complaints_.push_back(std::move(breach)); }

std::vector<std::string> Host::take_complaints() { return std::exchange(complaints_, {}); }

std::int32_t Host::call(const char* name, const std::vector<CallArgument>& arguments) {
  std::string event = "call ";
  event += name == nullptr ? "null" : name;
  event += '(';
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    if (index != 0) event += ", ";
    event += describe(arguments[index]);
  }
  record(event + ")");

  Answer answer;
  if (!answers_.empty()) {
    answer = std::move(answers_.front());
    answers_.pop_front();
  }
  fill_buffers(arguments, answer);
  for (const CallArgument& argument : arguments) {
    if (argument.type == TNRPC_ARG_RESPONSE) fill(argument.response, answer);
  }
  return answer.status;
}

std::string Host::describe(const CallArgument& argument) {
  const auto number = [&](const char* type, std::int64_t limit) {
    std::string text = type + std::to_string(argument.number);
    if (argument.number < 0 || argument.number > limit) complain("an argument is out of range: " + text);
    return text;
  };
  switch (argument.type) {
    case TNRPC_ARG_U8:
      return number("u8 ", 255);
    case TNRPC_ARG_U16:
      return number("u16 ", 65535);
    case TNRPC_ARG_U32:
      return number("u32 ", 4294967295);
    case TNRPC_ARG_SESSION: {
      char text[32];
      std::snprintf(text, sizeof(text), "session 0x%08x", static_cast<unsigned>(argument.number));
      return text;
    }
    case TNRPC_ARG_STRING:
      return argument.text == nullptr ? "null" : quoted(argument.text);
    case TNRPC_ARG_BUFFER: {
      const std::string head = "buffer[" + std::to_string(argument.length) + "]";
      if (argument.buffer == nullptr) return head + " null";
      return head + " " + hex({static_cast<const char*>(argument.buffer), argument.length});
    }
    case TNRPC_ARG_RESPONSE:
      return "response";
    default:
      complain("an argument has the unknown type code " + std::to_string(argument.type));
      return "type " + std::to_string(argument.type);
  }
}

void Host::fill_buffers(const std::vector<CallArgument>& arguments, const Answer& answer) {
  auto next = answer.buffers.begin();
  for (const CallArgument& argument : arguments) {
    if (argument.type != TNRPC_ARG_BUFFER) continue;
    if (next == answer.buffers.end()) return;
    const std::string& bytes = *next++;
    if (bytes.empty()) continue;
    if (bytes.size() != argument.length || argument.buffer == nullptr) {
      complain("an answer of " + std::to_string(bytes.size()) + " bytes does not fit its buffer");
    } else {
      std::memcpy(argument.buffer, bytes.data(), bytes.size());
    }
  }
  if (next != answer.buffers.end()) complain("an answer has more buffers than its call");
}

void Host::fill(TnrpcResponse* response, const Answer& answer) {
  const auto found = holders_.find(response);
  if (found == holders_.end() || found->second.state != HolderState::prepared) {
    complain("a call was made with a response holder that was not prepared for it");
    return;
  }
  Holder& holder = found->second;
  if (!succeeded(answer.status)) {
    holder.state = HolderState::failed;
    spoil(response);
    return;
  }
  holder.state = HolderState::filled;
  if (!answer.null_data && !answer.response.empty()) {
    holder.data = std::malloc(answer.response.size());
    if (holder.data == nullptr) std::abort();
    std::memcpy(holder.data, answer.response.data(), answer.response.size());
  }
  *response = {answer.length.value_or(static_cast<std::int32_t>(answer.response.size())), holder.data};
}

void Host::prepare(TnrpcResponse* holder) {
  record("init_resp");
  if (holder == nullptr) return complain("tnrpc_init_resp was given no holder");
  Holder& state = holders_[holder];
  if (state.state == HolderState::filled) complain("a response holder was prepared again before it was released");
  std::free(state.data);
  state = {};
  *holder = {0, nullptr};
}

void Host::release(TnrpcResponse* holder) {
  record("free");
  const auto found = holders_.find(holder);
  if (found == holders_.end()) return complain("a response holder was released that was never prepared");
  Holder& state = found->second;
  switch (std::exchange(state.state, HolderState::released)) {
    case HolderState::prepared:
      return complain("a response holder was released without a call");
    case HolderState::released:
      return complain("a response holder was released twice");
    case HolderState::failed:
      return spoil(holder);
    case HolderState::filled:
      break;
  }
  if (holder->data != state.data) complain("a response holder was changed before it was released");
  std::free(std::exchange(state.data, nullptr));
  spoil(holder);
}

}  // namespace kvel::cli::test

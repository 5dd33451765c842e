// The host of the plug-in's binary contract, played by the test program: it answers as a test sets it up and keeps the
// list of everything the plug-in did.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kvel/rpc.h"
#include "tests/cli/notation.h"
#include "tests/cli/stdout_capture.h"

namespace kvel::cli::test {

inline constexpr std::int32_t kMoreData = 0x40f30000;

// The answer to one backend call.
struct Answer {
  std::int32_t status = 0;
  std::vector<std::string> buffers = {};  // what the call writes into its buffers, in their order; "" leaves one alone
  std::string response = {};              // the bytes of the response, if the call has one
  std::optional<std::int32_t> length = {};  // reported instead of the response's true length
  bool null_data = false;                   // the response comes without data, whatever its length
};

// One argument of a backend call, decoded by its type code.
struct CallArgument {
  int type = 0;
  std::int64_t number = 0;
  const char* text = nullptr;
  void* buffer = nullptr;
  std::uint32_t length = 0;
  TnrpcResponse* response = nullptr;
};

// One host exists at a time; the platform functions lead to it.
class Host {
 public:
  Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();
  [[nodiscard]] static Host& current();

  std::int32_t bind_status = 0;
  std::int32_t rule_domain_answer = 1;
  std::int32_t rule_modify_answer = 0;
  // Backend calls are answered in this order; one that finds no answer left succeeds and returns nothing.
  void answer(Answer answer) { answers_.push_back(std::move(answer)); }

  // The events between these two. `end` also looks for holders left unreleased and answers not asked for.
  void begin();
  [[nodiscard]] Events end();

  void record(std::string event);
  // A breach of the contract; each is reported as a test failure.
  void complain(std::string breach);
  [[nodiscard]] std::vector<std::string> take_complaints();

  // The platform functions with something to decide.
  std::int32_t call(const char* name, const std::vector<CallArgument>& arguments);
  void prepare(TnrpcResponse* holder);
  void release(TnrpcResponse* holder);

 private:
  enum class HolderState { prepared, filled, failed, released };
  struct Holder {
    HolderState state = HolderState::prepared;
    void* data = nullptr;  // of the page it holds, ours to free
  };

  std::string describe(const CallArgument& argument);
  void fill_buffers(const std::vector<CallArgument>& arguments, const Answer& answer);
  void fill(TnrpcResponse* response, const Answer& answer);
  void record_output();

  std::deque<Answer> answers_;
  std::map<TnrpcResponse*, Holder> holders_;
  Events events_;
  std::vector<std::string> complaints_;
  std::optional<StdoutCapture> output_;
};

}  // namespace kvel::cli::test

// The host of the handlers in a fuzz target: it answers as the fuzzer's bytes select, holds the plug-in to its
// contract, and counts what it does.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdarg>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kvel/rpc.h"

namespace kvel::fuzz {

class HandlerHost {
 public:
  explicit HandlerHost(FuzzedDataProvider& bytes);
  HandlerHost(const HandlerHost&) = delete;
  HandlerHost& operator=(const HandlerHost&) = delete;
  ~HandlerHost();  // every holder has been released
  [[nodiscard]] static HandlerHost& current();

  // What the plug-in did.
  int binds = 0;
  int calls = 0;
  int failed_calls = 0;
  std::vector<std::string> names;  // in the pages of a list, in their order
  bool is_list_whole = true;       // no page of it was empty

  // What the plug-in wrote to standard output, since this object was made.
  [[nodiscard]] std::string printed() const;

  // The platform functions.
  std::int32_t bind(std::int32_t service);
  std::int32_t call(const char* name, std::int32_t count, std::va_list arguments);
  void prepare(TnrpcResponse* holder);
  void release(TnrpcResponse* holder);
  [[nodiscard]] bool choice() { return bytes_.ConsumeBool(); }

 private:
  enum class HolderState : std::uint8_t { prepared, filled, failed };

  // With `detail` the statistics of a service policy hold those of the rules.
  std::string response_to(std::string_view call, bool detail);

  FuzzedDataProvider& bytes_;
  bool bind_failed_ = false;
  std::map<TnrpcResponse*, HolderState> holders_;
};

}  // namespace kvel::fuzz

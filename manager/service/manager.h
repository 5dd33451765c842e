// The classification manager: the service that answers the calls of the call table, on a store.
#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "manager/store/store.h"
#include "rpc/calls/service.h"

namespace kvel::manager {

// Takes one line about a call that failed inside, or about a rule of the store that matches nothing: what a status
// cannot express. Must not throw.
using FailureLog = std::function<void(std::string_view)>;

class Calls;

class Manager final : public rpc::Service {
 public:
  // Loads and checks the whole configuration. A store with an impossible record is refused by its name.
  [[nodiscard]] static StoreResult<std::unique_ptr<Manager>> open(std::unique_ptr<Store> store, FailureLog log = {});
  ~Manager() override;

  // A change is on disk when its call returns success; after any other status nothing has changed. (What a failing disk
  // can bring back with the next process: docs/configuration-records.md.)
  [[nodiscard]] Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override;

 private:
  Manager(std::unique_ptr<Calls> calls, FailureLog log);

  void log(std::string_view failure) noexcept;

  std::unique_ptr<Calls> calls_;
  FailureLog log_;
};

}  // namespace kvel::manager

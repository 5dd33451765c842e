// Takes down how the calls of a command ended, whoever made them: handlers of the plug-in report a failed call in words
// alone.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "rpc/client/channel.h"

namespace kvel::shell {

class CallWatch final : public rpc::Channel {
 public:
  // The watched channel outlives this.
  explicit CallWatch(rpc::Channel& watched) : watched_(watched) {}

  [[nodiscard]] Status bind() override;
  [[nodiscard]] Status call(std::size_t call, std::span<const rpc::Argument> arguments) override;
  [[nodiscard]] std::string_view last_failure() const override { return watched_.last_failure(); }

  // Forgets the calls so far.
  void begin() { failure_ = Status::ok; }
  // The status of the last call that failed; ok when none did.
  [[nodiscard]] Status failure() const { return failure_; }
  // Whether it failed since the manager could not be reached, or did not answer.
  [[nodiscard]] bool manager_is_lost() const;

 private:
  Status note(Status status);

  rpc::Channel& watched_;
  Status failure_ = Status::ok;
};

}  // namespace kvel::shell

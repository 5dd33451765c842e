// Stands in front of the channel while a command runs: makes the calls of its handler as its line means them, and takes
// down how the calls ended, whoever made them, since handlers report a failed call in words alone.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "rpc/client/channel.h"
#include "shell/session/intended_call.h"

namespace kvel::shell {

class CallWatch final : public rpc::Channel {
 public:
  // The watched channel outlives this.
  explicit CallWatch(rpc::Channel& watched) : watched_(watched) {}

  [[nodiscard]] Status bind() override;
  [[nodiscard]] Status call(std::size_t call, std::span<const rpc::Argument> arguments) override;
  [[nodiscard]] std::string_view last_failure() const override { return watched_.last_failure(); }

  // Forgets the calls so far; what the next ones mean.
  void begin(const CallIntent& intent = {}) {
    failure_ = Status::ok;
    intended_.intend(intent);
  }
  // The object that the calls since then have entered.
  [[nodiscard]] const std::optional<EnteredObject>& entered() const { return intended_.entered(); }
  // The status of the last call that failed; ok when none did.
  [[nodiscard]] Status failure() const { return failure_; }
  // Whether it failed since the manager could not be reached, or did not answer.
  [[nodiscard]] bool manager_is_lost() const;

 private:
  Status note(Status status);

  rpc::Channel& watched_;
  Status failure_ = Status::ok;
  IntendedCall intended_;
};

}  // namespace kvel::shell

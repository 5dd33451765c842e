// The calls of handlers with what a line says beside them. The record of a handler's call has a place for every
// setting, so it cannot say which of them were typed; the manager has calls of the shell's own that can. They are made
// in the place of the handler's call, so that it stays one step.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "rpc/client/channel.h"
#include "shell/configuration/object_identity.h"

namespace kvel::shell {

// What a line means with the call that its handler makes.
struct CallIntent {
  bool enters = false;            // the mode of the object that the call makes or looks up
  bool only_named = false;        // and that object keeps the settings that the line does not give
  std::uint32_t kept_fields = 0;  // of the setting that the call changes, as bits in the order of its record
};

// The object that a line has entered, and what it was before.
struct EnteredObject {
  ObjectIdentity identity;
  bool is_new = false;
  bool matched_all = false;  // of a class-map
  std::uint32_t rules = 0;
};

class IntendedCall {
 public:
  void intend(const CallIntent& intent) {
    intent_ = intent;
    entered_.reset();
  }

  // Makes a call in the form that says what is intended. Nothing when the call is none that is meant, or when the
  // manager does not know that form of a lookup: then the call is to be made as it is.
  [[nodiscard]] std::optional<Status> make(rpc::Channel& channel, std::size_t call,
                                           std::span<const rpc::Argument> arguments);

  [[nodiscard]] const std::optional<EnteredObject>& entered() const { return entered_; }

 private:
  std::optional<Status> enter(rpc::Channel& channel, std::size_t call, std::span<const rpc::Argument> arguments);

  CallIntent intent_;
  std::optional<EnteredObject> entered_;
};

}  // namespace kvel::shell

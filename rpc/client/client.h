// What a host sets up for tnrpc_clnt_init, tnrpc_call, tnrpc_init_resp, tnrpc_free and syserr2str (kvel/rpc.h): the
// channel that they use. A program that links this gets those five functions with it; to offer them to a plug-in it
// exports its symbols (ENABLE_EXPORTS).
#pragma once

#include <cstddef>

#include "rpc/client/channel.h"

namespace kvel::rpc {

// While it lives, calls go through `channel`, which outlives it. Of several the newest counts; they end in reverse
// order. Calls without a channel fail with Status::transport. Used on the thread that makes the calls.
class InstalledChannel {
 public:
  explicit InstalledChannel(Channel& channel);
  InstalledChannel(const InstalledChannel&) = delete;
  InstalledChannel& operator=(const InstalledChannel&) = delete;
  ~InstalledChannel();

 private:
  Channel* previous_;
};

// Response holders with data that tnrpc_free has not yet released, in the whole process: 0 when every caller
// kept the contract.
[[nodiscard]] std::size_t live_holders();

}  // namespace kvel::rpc

// The same test through both channels: in the process, and through a real server on its socket.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

#include "kvel/rpc.h"
#include "rpc/client/client.h"
#include "rpc/client/embedded_channel.h"
#include "rpc/client/remote_channel.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing {

enum class ChannelKind { embedded, remote };

inline void PrintTo(ChannelKind kind, std::ostream* out) {
  *out << (kind == ChannelKind::embedded ? "embedded" : "remote");
}

class ChannelTest : public ::testing::TestWithParam<ChannelKind> {
 protected:
  ChannelTest() {
    if (GetParam() == ChannelKind::embedded) {
      channel_ = std::make_unique<EmbeddedChannel>(service_);
    } else {
      server_ = std::make_unique<ServerThread>(service_, folder_.file("manager"));
      channel_ = std::make_unique<RemoteChannel>(*parse_address(folder_.file("manager")), kAmple);
    }
    installed_ = std::make_unique<InstalledChannel>(*channel_);
  }

  TempFolder folder_;
  RecordingService service_;
  std::unique_ptr<ServerThread> server_;
  std::unique_ptr<Channel> channel_;
  std::unique_ptr<InstalledChannel> installed_;
};

inline std::string channel_name(const ::testing::TestParamInfo<ChannelKind>& info) {
  return info.param == ChannelKind::embedded ? "Embedded" : "Remote";
}

}  // namespace kvel::rpc::testing

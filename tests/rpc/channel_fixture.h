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

enum class Road { embedded, remote };

inline void PrintTo(Road road, std::ostream* out) { *out << (road == Road::embedded ? "embedded" : "remote"); }

class ChannelTest : public ::testing::TestWithParam<Road> {
 protected:
  ChannelTest() {
    if (GetParam() == Road::embedded) {
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

inline std::string road_name(const ::testing::TestParamInfo<Road>& info) {
  return info.param == Road::embedded ? "Embedded" : "Remote";
}

}  // namespace kvel::rpc::testing

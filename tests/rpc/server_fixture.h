// The fixture of the tests of the server: a real one on its socket, and what its peers send.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "rpc/calls/call_table.h"
#include "rpc/client/remote_channel.h"
#include "rpc/server/server.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing {

inline constexpr std::size_t kDescription = find_call("cm_update_classdesc");

// cm_update_classdesc(0, 0, "a", "b", 0) with request id 1, and the same for kvel_get_object(0, 1, "a").
inline const std::string kDescribe =
    from_hex("00 00 00 1d 97 01 b3 63 6d 5f 75 70 64 61 74 65 5f 63 6c 61 73 73 64 65 73 63 00 00 a1 61 a1 62 00");
inline const std::string kGetObject =
    from_hex("00 00 00 16 95 01 af 6b 76 65 6c 5f 67 65 74 5f 6f 62 6a 65 63 74 00 01 a1 61");
inline const std::string kDone = "92 01 00";
inline const std::string kHello = from_hex("4b 56 45 4c 00 01 00 00");

// A call on a channel of its own, for tests that have many.
inline Status describe(RemoteChannel& channel, std::uint16_t context) {
  const std::array arguments = {
      Argument{ArgType::u16, context, {}, {}, nullptr}, Argument{ArgType::session, 0, {}, {}, nullptr},
      Argument{ArgType::string, 0, "a", {}, nullptr}, Argument{ArgType::string, 0, "b", {}, nullptr},
      Argument{ArgType::u8, 0, {}, {}, nullptr}};
  return channel.call(kDescription, arguments);
}

// A reply to kGetObject that no buffer on the way holds.
inline Status answer_with_four_megabytes(std::span<const Argument> arguments) {
  if (arguments.size() == 4) std::memset(arguments[3].response->extend(4 << 20), 'x', 4 << 20);
  return Status::ok;
}

class ServerTest : public ::testing::Test {
 protected:
  void start(ServerOptions options = {}) { server_.emplace(service_, path_, std::move(options)); }
  // Its time stands still but for pass().
  void start_in_manual_time(ServerOptions options = {}) {
    options.make_timer = time_.timers();
    start(std::move(options));
  }
  void pass(std::chrono::milliseconds time) {
    server_->run([&] { time_.pass(time); });
  }
  bool served(RemoteChannel& client) { return describe(client, 7) == Status::ok; }

  TempFolder folder_;
  std::string path_ = folder_.file("manager");
  Address address_ = *parse_address(path_);
  RecordingService service_;
  ServerTime time_;
  std::optional<ServerThread> server_;
};

}  // namespace kvel::rpc::testing

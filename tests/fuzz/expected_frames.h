// What the server must make of a connection's bytes, found out once more: the page of the protocol (docs/rpc.md) read
// byte by byte by a reader of its own instead of the server's, which is msgpack's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kvel::fuzz {

struct ExpectedAnswer {
  std::uint32_t id = 0;
  std::int32_t status = 0;  // unknown_call or bad_arguments; when is_called, what the service returns
  bool is_called = false;
  std::string call;  // its name and sent arguments, as the target writes them
};

struct ExpectedFrames {
  bool is_greeted = false;     // the greeting is answered
  bool goes_on = false;        // with an accepting one
  bool ends_in_fault = false;  // the server closes the connection before its end
  std::vector<ExpectedAnswer> answers;
};

[[nodiscard]] ExpectedFrames expected_frames(std::string_view sent);

// The pieces that calls are described with.
[[nodiscard]] std::string describe_number(std::int64_t number);
[[nodiscard]] std::string describe_data(char kind, std::string_view data);

}  // namespace kvel::fuzz

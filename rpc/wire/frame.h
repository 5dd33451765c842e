// The bytes between a client and the manager: the hello, the frame around a message, requests and answers.
// docs/rpc.md describes the same for someone who writes another client.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <tl/expected.hpp>

#include "rpc/calls/argument.h"
#include "rpc/calls/status.h"
#include "rpc/wire/byte_buffer.h"

namespace kvel::rpc {

// ---- Limits. They belong to the protocol: both channels and the server hold them.

// Payload bytes of a frame.
inline constexpr std::size_t kMaxRequestBytes = std::size_t{1} << 20;
inline constexpr std::size_t kMaxAnswerBytes = std::size_t{64} << 20;

// What a request or an answer holds besides its texts or its response, at most; a table that needs more does not
// compile.
inline constexpr std::size_t kFrameReserve = std::size_t{64} << 10;

// The texts of one call, taken together, and the response of one call.
inline constexpr std::size_t kMaxTextBytes = kMaxRequestBytes - kFrameReserve;
inline constexpr std::size_t kMaxResultBytes = kMaxAnswerBytes - kFrameReserve;

// ---- Hello: the first bytes in either direction.

inline constexpr std::uint16_t kProtocolVersion = 1;
inline constexpr std::size_t kHelloBytes = 8;

enum class Welcome : std::uint16_t { accepted = 0, version_refused = 1, full = 2 };

struct Hello {
  std::uint16_t version = kProtocolVersion;
  Welcome welcome = Welcome::accepted;  // the server's verdict; a client sends 0
};

[[nodiscard]] std::array<std::byte, kHelloBytes> encode_hello(Hello hello);

// None when the peer does not speak this protocol at all. `bytes` are at least kHelloBytes.
[[nodiscard]] std::optional<Hello> decode_hello(std::span<const std::byte> bytes);

// ---- Frames: the payload's length as 32 bits, big-endian, then the payload.

inline constexpr std::size_t kFrameHeaderBytes = 4;

struct FrameScan {
  enum class State : std::uint8_t { incomplete, complete, refused };  // refused: no frame has this length
  State state = State::incomplete;
  std::size_t size = 0;          // of the whole frame, header included; known when complete or refused
  std::span<std::byte> payload;  // when complete
};

// The frame at the front of `received`, whose payload must have 1 to `limit` bytes.
[[nodiscard]] FrameScan scan_frame(std::span<std::byte> received, std::size_t limit);

// ---- Requests.

// Appends the frame that asks for call `call` with checked arguments whose texts keep to kMaxTextBytes.
void encode_request(ByteBuffer& out, std::uint32_t id, std::size_t call, std::span<const Argument> arguments);

struct Request {
  std::uint32_t id = 0;
  // ok: `call` and `arguments` can be passed on. unknown_call or bad_arguments: the frame is sound, and this is its
  // answer.
  Status verdict = Status::ok;
  std::size_t call = 0;
  // By the call's row. Texts and sent buffers are views of the payload, and sent buffers may be written there; a
  // buffer that is only returned has no bytes yet and a response no ResponseBuffer.
  std::array<Argument, kMaxArguments> arguments;
};

// Reads a request. The error is how the peer does not keep to the protocol; nothing more can be expected from it
// then. Throws std::bad_alloc.
[[nodiscard]] tl::expected<Request, std::string_view> decode_request(std::span<std::byte> payload);

// ---- Answers.

// Appends the frame with a status and, when it is a success, the returned buffers and the response among `arguments`,
// which has at most kMaxResultBytes.
void encode_answer(ByteBuffer& out, std::uint32_t id, Status status, std::span<const Argument> arguments,
                   std::span<const ArgShape> shapes);

// Appends the frame with a failed status.
void encode_failure(ByteBuffer& out, std::uint32_t id, Status status);

// Reads the answer to request `id`, whose arguments are given. Returned buffers and the response are written when the
// answer has been found whole and sound and its status is a success, and otherwise left alone. The error is what is
// wrong with it. Throws std::bad_alloc.
[[nodiscard]] tl::expected<Status, std::string_view> decode_answer(std::span<std::byte> payload, std::uint32_t id,
                                                                   std::span<const Argument> arguments,
                                                                   std::span<const ArgShape> shapes);

}  // namespace kvel::rpc

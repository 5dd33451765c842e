// The client's half of the protocol.
#include "rpc/client/remote_channel.h"

#include <fmt/format.h>

#include <new>
#include <utility>

#include "rpc/wire/frame.h"

namespace kvel::rpc {

namespace {

bool is_closed(const std::error_code& error) {
  return error == std::errc::broken_pipe || error == std::errc::connection_reset;
}

}  // namespace

RemoteChannel::RemoteChannel(Address address, std::chrono::milliseconds call_time, Wait wait)
    : address_(std::move(address)), call_time_(call_time), wait_(std::move(wait)) {}

Status RemoteChannel::bind() try {
  if (stream_ != nullptr && !stream_->is_quiet()) disconnect();
  return stream_ != nullptr ? Status::ok : connect(deadline());
} catch (const std::bad_alloc&) {
  return fail_without_memory();
}

Status RemoteChannel::call(std::size_t call, std::span<const Argument> arguments) try {
  const Deadline until = deadline();
  request_.clear();
  encode_request(request_, ++last_id_, call, arguments);
  if (const Status status = send_request(until); status != Status::ok) return status;
  return receive_answer(call, arguments, until);
} catch (const std::bad_alloc&) {
  return fail_without_memory();
}

Status RemoteChannel::connect(Deadline deadline) {
  auto stream = open_stream(address_, deadline, wait_);
  if (!stream) return fail("cannot connect", stream.error());
  stream_ = *std::move(stream);

  if (const auto error = stream_->write(encode_hello({}), deadline); error) return fail("no greeting", error);
  if (const auto error = receive(kHelloBytes, deadline); error) return fail("no greeting", error);
  const auto hello = decode_hello(received_.bytes());
  if (!hello) return fail("who listens there is no manager");
  if (hello->version != kProtocolVersion) {
    return fail(fmt::format("the manager speaks version {} of the protocol, not {}", hello->version, kProtocolVersion));
  }
  if (hello->welcome == Welcome::full) return fail("the manager has reached its session limit");
  if (hello->welcome != Welcome::accepted) return fail("the manager refused the session");
  received_.consume(kHelloBytes);
  return Status::ok;
}

Status RemoteChannel::send_request(Deadline deadline) {
  // A frame that could not be written whole was not carried out, so a connection that turns out to have been closed
  // since the last call can be replaced.
  if (stream_ != nullptr) {
    const auto error = stream_->write(request_.bytes(), deadline);
    if (!error) return Status::ok;
    if (!is_closed(error)) return fail("the request was not sent", error);
    disconnect();
  }
  if (const Status status = connect(deadline); status != Status::ok) return status;
  const auto error = stream_->write(request_.bytes(), deadline);
  return error ? fail("the request was not sent", error) : Status::ok;
}

Status RemoteChannel::receive_answer(std::size_t call, std::span<const Argument> arguments, Deadline deadline) {
  FrameScan frame = scan_frame(received_.bytes(), kMaxAnswerBytes);
  while (frame.state == FrameScan::State::incomplete) {
    if (const auto error = receive(received_.size() + 1, deadline); error) return fail("no answer", error);
    frame = scan_frame(received_.bytes(), kMaxAnswerBytes);
  }
  if (frame.state == FrameScan::State::refused) return fail("a frame of an impossible length");
  if (frame.size != received_.size()) return fail("bytes after an answer");
  const auto status = decode_answer(frame.payload, last_id_, arguments, kCalls[call].args());
  if (!status) return fail(std::string(status.error()));
  received_.consume(frame.size);
  return *status;
}

std::error_code RemoteChannel::receive(std::size_t least, Deadline deadline) {
  while (received_.size() < least) {
    const auto count = stream_->read_some(received_.space(), deadline);
    if (!count) return count.error();
    received_.commit(*count);
  }
  return {};
}

void RemoteChannel::disconnect() {
  stream_.reset();
  received_.clear();
}

Status RemoteChannel::fail(std::string_view doing, const std::error_code& error) {
  if (error == std::errc::timed_out) {
    const auto seconds = std::chrono::duration<double>(call_time_).count();
    (void)fail(fmt::format("{} within {} s", doing, seconds));
    return Status::timed_out;
  }
  return fail(fmt::format("{}: {}", doing, is_closed(error) ? "the manager closed the connection" : error.message()));
}

Status RemoteChannel::fail_without_memory() {
  disconnect();
  last_failure_ = "out of memory";  // short enough to need none
  return Status::transport;
}

Status RemoteChannel::fail(std::string reason) {
  disconnect();
  last_failure_ = fmt::format("{}: {}", address_.text(), reason);
  return Status::transport;
}

}  // namespace kvel::rpc

// Moves the bytes of one session between its conversation and any stream that Asio knows. While an answer is being sent
// nothing more is read, so a client that never reads holds up itself alone, with one answer at most waiting for it; and
// not for ever.
#pragma once

#include <asio.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "rpc/server/conversation.h"
#include "rpc/server/timer.h"

namespace kvel::rpc {

class SessionBase {
 public:
  SessionBase() = default;
  SessionBase(const SessionBase&) = delete;
  SessionBase& operator=(const SessionBase&) = delete;
  virtual ~SessionBase() = default;

  // Closes the connection; what has not been sent is dropped. No call is made after that.
  virtual void close() = 0;

  // Likewise, for this reason, which the server is told.
  virtual void end(std::string_view reason) = 0;
};

// Sends as much as the socket takes at once, which spares most answers a turn through the event loop. A stream that
// cannot do so, such as an encrypted one, gets an overload that sends nothing.
template <class Protocol>
std::size_t send_now(asio::basic_stream_socket<Protocol>& socket, asio::const_buffer bytes, std::error_code& error) {
  const std::size_t count = socket.write_some(bytes, error);
  if (error == asio::error::would_block || error == asio::error::interrupted) error.clear();
  return count;
}

// How long a client may keep its session waiting.
struct Timeouts {
  std::chrono::milliseconds greeting;  // until it has greeted
  std::chrono::milliseconds answer;    // while it takes not one byte of an answer
};

// What a session asks and tells the server.
struct SessionEvents {
  Conversation::Admit admit;
  // Once when the session ends, with the reason when it did not simply end.
  std::function<void(std::string_view reason)> ended;
};

template <class AsyncStream>
class Session final : public SessionBase, public std::enable_shared_from_this<Session<AsyncStream>> {
 public:
  Session(AsyncStream stream, Service& service, Timeouts timeouts, std::unique_ptr<Timer> waiting, SessionEvents events)
      : stream_(std::move(stream)),
        timeouts_(timeouts),
        waiting_(std::move(waiting)),
        conversation_(service, std::move(events.admit)),
        ended_(std::move(events.ended)) {}

  void start() {
    guard([this] {
      begin_waiting(timeouts_.greeting, "its client has not greeted");
      receive();
    });
  }

  void close() override {
    open_ = false;
    waiting_->stop();
    std::error_code ignored;
    stream_.lowest_layer().close(ignored);
  }

  void end(std::string_view reason) override {
    ended_(reason);  // first, so that who sees the connection closed finds the reason in the log
    close();
  }

 private:
  using Next = Conversation::Next;

  void receive() {
    const auto space = received_.space();
    stream_.async_read_some(asio::buffer(space.data(), space.size()),
                            [self = this->shared_from_this()](const std::error_code& error, std::size_t count) {
                              self->guard([&] { self->on_received(error, count); });
                            });
  }

  void on_received(const std::error_code& error, std::size_t count) {
    received_.commit(count);
    if (error == asio::error::eof) return end(received_.empty() ? "" : "the peer closed in the middle of a frame");
    if (error) return end(error.message());
    proceed();
  }

  void proceed() {
    const Next next = conversation_.proceed(received_, reply_);
    if (conversation_.has_greeted()) waiting_->stop();
    switch (next) {
      case Next::receive:
        return receive();
      case Next::close:
        return end(conversation_.error());
      case Next::send:
      case Next::send_and_close:
        return send(next);
    }
  }

  void send(Next next) {
    std::error_code error;
    reply_.consume(send_now(stream_, asio::buffer(reply_.bytes().data(), reply_.size()), error));
    if (error || reply_.empty()) return on_sent(error, next);
    send_rest(next);
  }

  // The slow path: the client has to take something before the rest can be sent.
  void send_rest(Next next) {
    begin_waiting(timeouts_.answer, "its client has stopped reading");
    stream_.async_write_some(asio::buffer(reply_.bytes().data(), reply_.size()),
                             [self = this->shared_from_this(), next](const std::error_code& error, std::size_t count) {
                               self->guard([&] {
                                 self->waiting_->stop();
                                 self->reply_.consume(count);
                                 if (error || self->reply_.empty()) return self->on_sent(error, next);
                                 self->send_rest(next);
                               });
                             });
  }

  void on_sent(const std::error_code& error, Next next) {
    if (error) return end(error.message());
    if (next == Next::send_and_close) return end(conversation_.error());
    if (received_.empty()) return receive();
    // More has come already. The other sessions have their turn first.
    asio::post(stream_.get_executor(), [self = this->shared_from_this()] { self->guard([&] { self->proceed(); }); });
  }

  // Ends the session for this reason, a literal, after so long.
  void begin_waiting(std::chrono::milliseconds time, const char* reason) {
    waiting_->start(time, [weak = this->weak_from_this(), reason] {
      if (const auto self = weak.lock()) self->guard([&] { self->end(reason); });
    });
  }

  // Runs a completion, unless the session has been closed meanwhile. A session that finds no memory ends; the others
  // go on.
  template <class Completion>
  void guard(Completion completion) {
    if (!open_) return;
    try {
      completion();
    } catch (const std::bad_alloc&) {
      end("out of memory");
    }
  }

  AsyncStream stream_;
  Timeouts timeouts_;
  std::unique_ptr<Timer> waiting_;
  Conversation conversation_;
  std::function<void(std::string_view)> ended_;
  ByteBuffer received_;
  ByteBuffer reply_;
  bool open_ = true;
};

}  // namespace kvel::rpc

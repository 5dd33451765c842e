// Moves the bytes of one session between its conversation and any stream that Asio knows. While an answer is being
// sent, or a request waits for its turn, nothing more is read: a client that never reads has one answer at most waiting
// for it, and not for ever.
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

#include "rpc/server/answer_memory.h"
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

// How long a client may keep its session waiting. Time alone would give up an honest client with much to send over a
// slow connection, and time that any byte renews would never give up another; so it is time for an amount.
struct Timeouts {
  std::chrono::milliseconds receive;  // for its hello, and for each kReceivePiece of a request that it has begun
  std::chrono::milliseconds answer;   // for each kAnswerPiece of an answer that waits for it
};
inline constexpr std::size_t kReceivePiece = std::size_t{64} << 10;
inline constexpr std::size_t kAnswerPiece = std::size_t{1} << 20;

// What a session asks and tells the server.
struct SessionEvents {
  Conversation::Admit admit;
  // Once when the session ends, with the reason when it did not simply end.
  std::function<void(std::string_view reason)> ended;
};

template <class AsyncStream>
class Session final : public SessionBase, public std::enable_shared_from_this<Session<AsyncStream>> {
 public:
  Session(AsyncStream stream, Service& service, Timeouts timeouts, std::unique_ptr<Timer> waiting,
          std::shared_ptr<AnswerMemory> memory, SessionEvents events)
      : stream_(std::move(stream)),
        timeouts_(timeouts),
        waiting_(std::move(waiting)),
        memory_(std::move(memory)),
        conversation_(service, std::move(events.admit)),
        ended_(std::move(events.ended)) {}

  void start() {
    guard([this] {
      wait_for_piece("its client has not greeted");
      receive();
    });
  }

  void close() override {
    open_ = false;
    waiting_->stop();
    std::error_code ignored;
    stream_.lowest_layer().close(ignored);
    release_memory();
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
    if (!memory_->is_short() || !conversation_.has_request(received_)) return take();
    end_waiting();
    memory_->wait([weak = this->weak_from_this()] {
      if (const auto self = weak.lock()) self->guard([&] { self->take(); });
    });
  }

  // Takes what the bytes received so far hold: a hello, a request, or a part of one.
  void take() {
    const Next next = conversation_.proceed(received_, reply_);
    if (next != Next::receive) end_waiting();
    switch (next) {
      case Next::receive:
        if (received_.size() >= awaited_) wait_for_piece("its client takes too long to send a request");
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
    memory_->hold(held_ = reply_.capacity());
    wait_for_client();
    send_rest(next);
  }

  // The slow path: the client has to take something before the rest can be sent.
  void send_rest(Next next) {
    stream_.async_write_some(asio::buffer(reply_.bytes().data(), reply_.size()),
                             [self = this->shared_from_this(), next](const std::error_code& error, std::size_t count) {
                               self->guard([&] {
                                 self->reply_.consume(count);
                                 if (error || self->reply_.empty()) return self->on_rest_sent(error, next);
                                 self->taken_ += count;
                                 if (self->taken_ >= kAnswerPiece) self->wait_for_client();
                                 self->send_rest(next);
                               });
                             });
  }

  void on_rest_sent(const std::error_code& error, Next next) {
    end_waiting();
    on_sent(error, next);
    release_memory();  // last, since requests of other sessions have their turn in it
  }

  void on_sent(const std::error_code& error, Next next) {
    if (error) return end(error.message());
    if (next == Next::send_and_close) return end(conversation_.error());
    if (received_.empty()) return receive();
    // More has come already. The other sessions have their turn first.
    asio::post(stream_.get_executor(), [self = this->shared_from_this()] { self->guard([&] { self->proceed(); }); });
  }

  // Until the hello is whole, or until so much more of a request has come or all of it.
  void wait_for_piece(const char* reason) {
    awaited_ = (received_.size() / kReceivePiece + 1) * kReceivePiece;
    begin_waiting(timeouts_.receive, reason);
  }

  // Until the client has taken so much more of an answer, or all of it.
  void wait_for_client() {
    taken_ %= kAnswerPiece;
    begin_waiting(timeouts_.answer, "its client takes too long to read an answer");
  }

  void end_waiting() {
    if (!is_waiting_) return;
    is_waiting_ = false;
    awaited_ = 1;
    taken_ = 0;
    waiting_->stop();
  }

  // Ends the session for this reason, a literal, after so long.
  void begin_waiting(std::chrono::milliseconds time, const char* reason) {
    is_waiting_ = true;
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

  void release_memory() {
    if (held_ > 0) memory_->release(std::exchange(held_, 0));
  }

  AsyncStream stream_;
  Timeouts timeouts_;
  std::unique_ptr<Timer> waiting_;
  std::shared_ptr<AnswerMemory> memory_;
  Conversation conversation_;
  std::function<void(std::string_view)> ended_;
  ByteBuffer received_;
  ByteBuffer reply_;
  std::size_t awaited_ = 1;  // received bytes with which the wait for the rest begins anew
  std::size_t taken_ = 0;    // bytes of the answer since the wait for its client began
  std::size_t held_ = 0;     // of the memory of answers
  bool open_ = true;
  bool is_waiting_ = false;
};

}  // namespace kvel::rpc

// Accepting sessions and knowing them.
#include "rpc/server/server.h"

#include <fmt/format.h>

#include <asio.hpp>
#include <chrono>
#include <cstdint>
#include <new>
#include <optional>
#include <unordered_set>
#include <utility>

#include "rpc/server/session.h"
#include "rpc/server/unix_listener.h"

namespace kvel::rpc {

namespace {

using Protocol = asio::local::stream_protocol;

// After a failed accept, for want of descriptors or memory: long enough not to spin, short enough not to be noticed.
constexpr auto kAcceptPause = std::chrono::milliseconds(100);

// Sessions above the limit that are being refused at the same time. Above them nothing is accepted.
constexpr std::size_t kMaxRefusals = 16;

}  // namespace

class Server::State : public std::enable_shared_from_this<Server::State> {
 public:
  State(asio::io_context& io, Service& service, Address address, ServerOptions options, Logger log)
      : io_(io),
        service_(service),
        address_(std::move(address)),
        options_(std::move(options)),
        log_(std::move(log)),
        acceptor_(io),
        pause_(options_.make_timer(io)) {}

  tl::expected<void, std::string> listen() {
    auto listener = UnixListener::open(address_);
    if (!listener) return tl::unexpected(std::move(listener.error()));
    listener_ = *std::move(listener);
    acceptor_.assign(Protocol(), listener_->release_socket());
    log(LogLevel::info, "listening on {}", address_.text());
    accept();
    return {};
  }

  void stop() {
    if (!listener_) return;
    listener_->remove_file();
    listener_.reset();
    std::error_code ignored;
    acceptor_.close(ignored);
    pause_->stop();
    for (SessionBase* session : std::exchange(sessions_, {}))
      session->close();
    log(LogLevel::info, "stopped listening on {}", address_.text());
  }

 private:
  void accept() {
    acceptor_.async_accept([self = shared_from_this()](const std::error_code& error, Protocol::socket socket) {
      if (!self->acceptor_.is_open()) return;
      if (error) return self->on_accept_failed(error);
      self->accept_is_failing_ = false;
      self->begin_session(std::move(socket));
      self->accept_next();
    });
  }

  void accept_next() {
    accept_is_held_ = sessions_.size() >= options_.max_sessions + kMaxRefusals;
    if (!accept_is_held_) accept();
  }

  void on_accept_failed(const std::error_code& error) {
    if (error == asio::error::connection_aborted) return accept();
    if (!std::exchange(accept_is_failing_, true)) {
      log(LogLevel::warning, "cannot accept sessions for now: {}", error.message());
    }
    pause_->start(kAcceptPause, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->accept();
    });
  }

  void begin_session(Protocol::socket socket) {
    const std::uint64_t number = ++last_session_;
    const bool admitted = welcomed_ < options_.max_sessions;
    try {
      socket.non_blocking(true);
      auto session = std::make_shared<Session<Protocol::socket>>(
          std::move(socket), service_, admitted, Timeouts{options_.greeting_time, options_.answer_time},
          options_.make_timer(io_),
          [self = weak_from_this(), number, admitted](SessionBase& ended, std::string_view reason) {
            if (const auto state = self.lock()) state->end_session(ended, number, admitted, reason);
          });
      log(LogLevel::debug, "session {} begins", number);
      sessions_.insert(session.get());  // from here on the session itself reports its end
      welcomed_ += admitted ? 1 : 0;
      session->start();
    } catch (const std::exception& failure) {
      log(LogLevel::warning, "session {} could not begin: {}", number, failure.what());
    }
  }

  void end_session(SessionBase& session, std::uint64_t number, bool was_welcome, std::string_view reason) {
    sessions_.erase(&session);
    welcomed_ -= was_welcome ? 1 : 0;
    if (reason.empty()) {
      log(LogLevel::debug, "session {} ends", number);
    } else {
      log(LogLevel::warning, "session {} closed: {}", number, reason);
    }
    if (accept_is_held_ && acceptor_.is_open()) accept_next();
  }

  template <class... Values>
  void log(LogLevel level, fmt::format_string<Values...> format, Values&&... values) {
    if (!log_) return;
    try {
      log_(level, fmt::format(format, std::forward<Values>(values)...));
    } catch (const std::bad_alloc&) {  // a line is lost, and no session with it
    }
  }

  asio::io_context& io_;
  Service& service_;
  Address address_;
  ServerOptions options_;
  Logger log_;
  std::optional<UnixListener> listener_;
  Protocol::acceptor acceptor_;
  std::unique_ptr<Timer> pause_;
  std::unordered_set<SessionBase*> sessions_;
  std::size_t welcomed_ = 0;  // of the sessions; the others are refused for the limit
  std::uint64_t last_session_ = 0;
  bool accept_is_failing_ = false;
  bool accept_is_held_ = false;
};

Server::Server(asio::io_context& io, Service& service, Address address, ServerOptions options, Logger log)
    : state_(std::make_shared<State>(io, service, std::move(address), std::move(options), std::move(log))) {}

Server::~Server() { state_->stop(); }

tl::expected<void, std::string> Server::listen() { return state_->listen(); }

void Server::stop() { state_->stop(); }

}  // namespace kvel::rpc

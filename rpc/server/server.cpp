// Accepting sessions and knowing them.
#include "rpc/server/server.h"

#include <fmt/format.h>

#include <asio.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <new>
#include <optional>
#include <utility>

#include "rpc/server/log_limit.h"
#include "rpc/server/session.h"
#include "rpc/server/unix_listener.h"

namespace kvel::rpc {

namespace {

using Protocol = asio::local::stream_protocol;

// After a failed accept, for want of descriptors or memory: long enough not to spin, short enough not to be noticed.
constexpr auto kAcceptPause = std::chrono::milliseconds(100);

// Connections above the limit of sessions, for clients that are about to greet: to be admitted or refused.
constexpr std::size_t kMaxNewcomers = 64;

// How long a connection has at least to greet before it gives way to another. A client greets at once, when the
// system lets it run.
constexpr auto kGrace = std::chrono::milliseconds(100);

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
        answer_memory_(std::make_shared<AnswerMemory>(options_.answer_memory)),
        pause_(options_.make_timer(io)),
        log_limit_(options_.make_timer(io), [this](std::string_view subject, std::size_t count) {
          this->log(LogLevel::warning, "{} ({} more within {} s)", subject, count, LogLimit::kTime.count());
        }) {}

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
    answer_memory_->stop();
    for (auto* sessions : {&newcomers_, &greeted_}) {
      for (const auto& [number, session] : std::exchange(*sessions, {}))
        session->close();
    }
    log_limit_.finish();
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

  // With one connection too many, which has just come, the oldest that has not greeted gives way. When none has been
  // there for long enough the next one is accepted after a pause, or when some connection ends.
  void accept_next() {
    accept_is_held_ = false;
    while (is_crowded() && give_way()) {
    }
    if (!is_crowded()) return accept();
    accept_is_held_ = true;
    pause(kGrace, &State::accept_next);
  }

  void on_accept_failed(const std::error_code& error) {
    if (error == asio::error::connection_aborted) return accept();
    const bool want_of_descriptors =
        error == asio::error::no_descriptors || error == std::errc::too_many_files_open_in_system;
    if (want_of_descriptors && give_way()) return accept();
    if (!std::exchange(accept_is_failing_, true)) {
      warn("cannot accept sessions for now", error.message());
    }
    pause(kAcceptPause, &State::accept);
  }

  // Accepts nothing for so long. The connections that are there then have had their time to greet.
  void pause(std::chrono::milliseconds time, void (State::*then)()) {
    pause_->start(time, [weak = weak_from_this(), then] {
      const auto self = weak.lock();
      if (self == nullptr) return;
      self->last_with_grace_ = self->last_session_;
      ((*self).*then)();
    });
  }

  [[nodiscard]] bool is_crowded() const {
    return newcomers_.size() + greeted_.size() > options_.max_sessions + kMaxNewcomers;
  }

  // Ends the oldest connection that has not greeted; false when each has come just now.
  bool give_way() {
    if (newcomers_.empty() || newcomers_.begin()->first > last_with_grace_) return false;
    const auto oldest = newcomers_.begin()->second;
    oldest->end("it has not greeted, and another connection needs its place");
    return true;
  }

  void begin_session(Protocol::socket socket) {
    const std::uint64_t number = ++last_session_;
    try {
      socket.non_blocking(true);
      auto session = std::make_shared<Session<Protocol::socket>>(
          std::move(socket), service_, Timeouts{options_.receive_time, options_.answer_time}, options_.make_timer(io_),
          answer_memory_,
          SessionEvents{[self = weak_from_this(), number] {
                          const auto state = self.lock();
                          return state != nullptr && state->admit(number);
                        },
                        [self = weak_from_this(), number](std::string_view reason) {
                          if (const auto state = self.lock()) state->end_session(number, reason);
                        }});
      log(LogLevel::debug, "session {} begins", number);
      newcomers_.emplace(number, session);  // from here on the session itself reports its end
      session->start();
    } catch (const std::exception& failure) {
      warn("could not begin", failure.what(), number);
    }
  }

  bool admit(std::uint64_t number) {
    if (greeted_.size() >= options_.max_sessions) return false;
    greeted_.insert(newcomers_.extract(number));
    return true;
  }

  void end_session(std::uint64_t number, std::string_view reason) {
    if (newcomers_.erase(number) == 0) greeted_.erase(number);
    if (reason.empty()) {
      log(LogLevel::debug, "session {} ends", number);
    } else {
      warn("closed", reason, number);
    }
    if (accept_is_held_ && acceptor_.is_open()) {
      pause_->stop();
      accept_next();
    }
  }

  // What may come again and again.
  void warn(std::string_view what, std::string_view reason, std::optional<std::uint64_t> session = {}) {
    if (!log_) return;
    try {
      const std::string_view who = session ? "session " : "";
      if (!log_limit_.admits(fmt::format("{}{}: {}", who, what, reason))) return;
      const std::string number = session ? fmt::format("{} ", *session) : "";
      log(LogLevel::warning, "{}{}{}: {}", who, number, what, reason);
    } catch (const std::bad_alloc&) {  // as in log()
    }
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
  std::shared_ptr<AnswerMemory> answer_memory_;
  std::unique_ptr<Timer> pause_;
  LogLimit log_limit_;
  // Sessions by their number, in the order in which they came.
  std::map<std::uint64_t, std::shared_ptr<SessionBase>> newcomers_;  // have not greeted, or are being refused
  std::map<std::uint64_t, std::shared_ptr<SessionBase>> greeted_;
  std::uint64_t last_session_ = 0;
  std::uint64_t last_with_grace_ = 0;  // this one and those before have had their time to greet
  bool accept_is_failing_ = false;
  bool accept_is_held_ = false;
};

Server::Server(asio::io_context& io, Service& service, Address address, ServerOptions options, Logger log)
    : state_(std::make_shared<State>(io, service, std::move(address), std::move(options), std::move(log))) {}

Server::~Server() { state_->stop(); }

tl::expected<void, std::string> Server::listen() { return state_->listen(); }

void Server::stop() { state_->stop(); }

}  // namespace kvel::rpc

// Shared pieces of the RPC tests.
#include "tests/rpc/support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <utility>

namespace kvel::rpc::testing {

std::string from_hex(std::string_view hex) {
  std::string bytes;
  int high = -1;
  for (char digit : hex) {
    int value = 0;
    if (digit >= '0' && digit <= '9') {
      value = digit - '0';
    } else if (digit >= 'a' && digit <= 'f') {
      value = digit - 'a' + 10;
    } else {
      continue;
    }
    if (high < 0) {
      high = value;
    } else {
      bytes.push_back(static_cast<char>(high << 4 | value));
      high = -1;
    }
  }
  return bytes;
}

std::string to_hex(std::string_view bytes) {
  std::string hex;
  for (char byte : bytes)
    hex += fmt::format("{}{:02x}", hex.empty() ? "" : " ", static_cast<unsigned char>(byte));
  return hex;
}

std::span<std::byte> writable_bytes(std::string& text) { return std::as_writable_bytes(std::span(text)); }

TempFolder::TempFolder() {
  std::string name = std::filesystem::temp_directory_path() / "kvel-rpc-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void RecordingService::set_reply(Reply reply) {
  const std::lock_guard lock(mutex_);
  reply_ = std::move(reply);
}

std::vector<std::string> RecordingService::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

Status RecordingService::call(std::size_t call, std::span<const Argument> arguments) noexcept {
  const std::lock_guard lock(mutex_);
  std::string line(kCalls[call].name);
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const Argument& argument = arguments[index];
    const auto content = std::string_view(reinterpret_cast<const char*>(argument.bytes.data()), argument.bytes.size());
    switch (argument.type) {
      case ArgType::u8:
        line += fmt::format(", u8 {}", argument.number);
        break;
      case ArgType::u16:
        line += fmt::format(", u16 {}", argument.number);
        break;
      case ArgType::u32:
        line += fmt::format(", u32 {}", argument.number);
        break;
      case ArgType::session:
        line += fmt::format(", session {}", argument.number);
        break;
      case ArgType::string:
        line += fmt::format(", string '{}'", argument.text);
        break;
      case ArgType::buffer:
        line += kCalls[call].shapes[index].is_sent() ? fmt::format(", buffer {}", to_hex(content))
                                                     : fmt::format(", out {}", content.size());
        break;
      case ArgType::response:
        line += argument.response != nullptr && argument.response->size() == 0 ? ", response" : ", BAD response";
        break;
    }
  }
  calls_.push_back(line);
  return reply_(arguments);
}

class ServerTime::ManualTimer final : public Timer {
 public:
  explicit ManualTimer(ServerTime& time) : time_(time) { time_.timers_.push_back(this); }
  ~ManualTimer() override { std::erase(time_.timers_, this); }

  void start(std::chrono::milliseconds time, std::function<void()> passed) override {
    over_at_ = time_.now_ + time;
    passed_ = std::move(passed);
  }
  void stop() override { passed_ = nullptr; }

  [[nodiscard]] bool is_waiting() const { return passed_ != nullptr; }
  [[nodiscard]] std::chrono::milliseconds over_at() const { return over_at_; }
  [[nodiscard]] std::function<void()> end() { return std::exchange(passed_, nullptr); }

 private:
  ServerTime& time_;
  std::chrono::milliseconds over_at_{0};
  std::function<void()> passed_;
};

MakeTimer ServerTime::timers() {
  return [this](asio::io_context&) { return std::make_unique<ManualTimer>(*this); };
}

void ServerTime::pass(std::chrono::milliseconds time) {
  const auto until = now_ + time;
  while (true) {
    ManualTimer* next = nullptr;
    for (ManualTimer* timer : timers_) {
      if (!timer->is_waiting() || timer->over_at() > until) continue;
      if (next == nullptr || timer->over_at() < next->over_at()) next = timer;
    }
    if (next == nullptr) break;
    now_ = next->over_at();
    next->end()();
  }
  now_ = until;
}

ClientTime::ClientTime() : over_(::eventfd(0, EFD_CLOEXEC)) {}

Wait ClientTime::wait() const {
  return [over = over_.get()](int socket, short events, Deadline) -> std::error_code {
    std::array<pollfd, 2> awaited{pollfd{socket, events, 0}, pollfd{over, POLLIN, 0}};
    if (::poll(awaited.data(), awaited.size(), static_cast<int>(std::chrono::milliseconds(kAmple).count())) <= 0) {
      ADD_FAILURE() << "neither the manager nor the time has moved";
    } else if (awaited[0].revents != 0) {
      return {};
    }
    return make_error_code(std::errc::timed_out);
  };
}

void ClientTime::pass() const { EXPECT_EQ(::eventfd_write(over_.get(), 1), 0); }

void ClientTime::stand_still() const {
  eventfd_t passed = 0;
  EXPECT_EQ(::eventfd_read(over_.get(), &passed), 0);
}

ServerThread::ServerThread(Service& service, const std::string& path, ServerOptions options)
    : server_(io_, service, *parse_address(path), std::move(options), [this](LogLevel level, std::string_view text) {
        const std::lock_guard lock(mutex_);
        const char* name = level == LogLevel::warning ? "warning" : level == LogLevel::info ? "info" : "debug";
        log_.push_back(fmt::format("{}: {}", name, text));
      }) {
  if (auto listening = server_.listen(); !listening) throw std::runtime_error(listening.error());
  thread_ = std::thread([this] { io_.run(); });
}

ServerThread::~ServerThread() { stop(); }

void ServerThread::stop() {
  if (!thread_.joinable()) return;
  asio::post(io_, [this] {
    server_.stop();
    work_.reset();
  });
  thread_.join();
}

void ServerThread::run(const std::function<void()>& function) {
  asio::post(io_, std::packaged_task<void()>(function)).get();
}

// The event loop looks at all sockets at least once between two turns of a function that comes again and again. Nothing
// of the server's takes this many looks.
void ServerThread::settle() {
  for (int turn = 0; turn < 1000; ++turn)
    run([] {});
}

std::vector<std::string> ServerThread::log() const {
  const std::lock_guard lock(mutex_);
  return log_;
}

bool ServerThread::logged(std::string_view part) const {
  for (const std::string& line : log())
    if (line.find(part) != std::string::npos) return true;
  return false;
}

namespace {

sockaddr_un socket_name(const std::string& path) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  path.copy(name.sun_path, sizeof name.sun_path - 1);
  return name;
}

}  // namespace

PlainSocket PlainSocket::connect(const std::string& path) {
  PlainSocket socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  socket.connect_to(path);
  return socket;
}

void PlainSocket::connect_to(const std::string& path) {
  const sockaddr_un name = socket_name(path);
  if (::connect(descriptor_.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
    throw std::runtime_error("nobody listens at " + path);
  }
}

PlainSocket PlainSocket::greet(const std::string& path) {
  PlainSocket socket = connect(path);
  socket.send(from_hex("4b 56 45 4c 00 01 00 00"));
  if (to_hex(socket.receive(8)) != "4b 56 45 4c 00 01 00 00") throw std::runtime_error("not greeted");
  return socket;
}

void PlainSocket::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string PlainSocket::receive(std::size_t count) {
  std::string bytes(count, '\0');
  std::size_t received = 0;
  while (received < count) {
    pollfd state{descriptor_.get(), POLLIN, 0};
    if (::poll(&state, 1, static_cast<int>(std::chrono::milliseconds(kAmple).count())) <= 0) {
      ADD_FAILURE() << "neither bytes nor the end of the connection have come";
      break;
    }
    const ssize_t size = ::recv(descriptor_.get(), bytes.data() + received, count - received, 0);
    if (size <= 0) break;
    received += static_cast<std::size_t>(size);
  }
  bytes.resize(received);
  return bytes;
}

std::string PlainSocket::receive_frame() {
  const std::string header = receive(4);
  if (header.size() < 4) return {};
  std::size_t length = 0;
  for (char byte : header)
    length = length << 8 | static_cast<unsigned char>(byte);
  return receive(length);
}

std::string PlainSocket::receive_at_once() {
  std::string bytes(4096, '\0');
  const ssize_t size = ::recv(descriptor_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return bytes;
}

std::string PlainSocket::receive_to_end() {
  std::string bytes;
  while (true) {
    const std::string next = receive(1);
    if (next.empty()) return bytes;
    bytes += next;
  }
}

void PlainSocket::finish_sending() { ::shutdown(descriptor_.get(), SHUT_WR); }

bool PlainSocket::is_closed_by_peer() const {
  pollfd state{descriptor_.get(), 0, 0};
  return ::poll(&state, 1, 0) == 1 && (state.revents & POLLHUP) != 0;
}

Descriptor listening_socket(const std::string& path, int backlog) {
  Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_un name = socket_name(path);
  if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
      ::listen(listener.get(), backlog) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return listener;
}

ScriptedServer::ScriptedServer(const std::string& path, std::vector<Step> steps)
    : listener_(listening_socket(path, 8)), thread_([this, steps = std::move(steps)] {
        for (const Step& step : steps) {
          pollfd state{listener_.get(), POLLIN, 0};
          if (::poll(&state, 1, static_cast<int>(std::chrono::milliseconds(kAmple).count())) <= 0) {
            ADD_FAILURE() << "the script was not followed to its end";
            return;
          }
          PlainSocket socket(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
          step(socket);
        }
      }) {}

ScriptedServer::~ScriptedServer() { thread_.join(); }

bool eventually(const std::function<bool()>& condition) {
  const auto until = std::chrono::steady_clock::now() + kAmple;
  while (std::chrono::steady_clock::now() < until) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return condition();
}

}  // namespace kvel::rpc::testing

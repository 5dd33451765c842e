// Shared pieces of the RPC tests.
#include "tests/rpc/support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>
#include <stdexcept>

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

ServerThread::ServerThread(Service& service, const std::string& path, ServerOptions options)
    : server_(io_, service, *parse_address(path), options, [this](LogLevel level, std::string_view text) {
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
  asio::post(io_, [this] { server_.stop(); });
  thread_.join();
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
  const sockaddr_un name = socket_name(path);
  if (::connect(socket.descriptor_.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
    throw std::runtime_error("nobody listens at " + path);
  }
  return socket;
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
    if (::poll(&state, 1, static_cast<int>(std::chrono::milliseconds(kAmple).count())) <= 0) break;
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

std::string PlainSocket::receive_to_end() {
  std::string bytes;
  while (true) {
    const std::string next = receive(1);
    if (next.empty()) return bytes;
    bytes += next;
  }
}

void PlainSocket::finish_sending() { ::shutdown(descriptor_.get(), SHUT_WR); }

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

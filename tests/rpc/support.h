// What the tests of the RPC library share: folders, a service that records, a server on a thread, plain sockets.
#pragma once

#include <asio.hpp>
#include <chrono>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "process/descriptor.h"
#include "rpc/calls/service.h"
#include "rpc/client/channel.h"
#include "rpc/client/stream.h"
#include "rpc/server/server.h"

namespace kvel::rpc::testing {

// Long enough for anything that is to succeed on a busy machine.
inline constexpr std::chrono::seconds kAmple{60};

// "0f 41" as two bytes; anything but hex digits separates.
[[nodiscard]] std::string from_hex(std::string_view hex);
[[nodiscard]] std::string to_hex(std::string_view bytes);
[[nodiscard]] std::span<std::byte> writable_bytes(std::string& text);

// A new empty folder, removed at the end with what is in it.
class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();
  [[nodiscard]] std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Writes down every call as one line: the name, then each argument as "type value", a buffer that is only returned as
// "out N". Answers as the test sets it up.
class RecordingService final : public Service {
 public:
  using Reply = std::function<Status(std::span<const Argument>)>;

  void set_reply(Reply reply);
  [[nodiscard]] std::vector<std::string> calls() const;
  [[nodiscard]] Status call(std::size_t call, std::span<const Argument> arguments) noexcept override;

 private:
  mutable std::mutex mutex_;
  Reply reply_ = [](std::span<const Argument>) { return Status::ok; };
  std::vector<std::string> calls_;
};

// A server's time, which stands still until a test has it pass. Used on the server's thread, or while that does not
// run; outlives the server and its event loop.
class ServerTime {
 public:
  [[nodiscard]] MakeTimer timers();
  // Ends the waits that last no longer than that, in the order in which they are over.
  void pass(std::chrono::milliseconds time);

 private:
  class ManualTimer;

  std::chrono::milliseconds now_{0};
  std::vector<ManualTimer*> timers_;
};

// A client's time, which stands still until a test has it pass; then no wait for the manager lasts any longer. What the
// manager has sent before is still read.
class ClientTime {
 public:
  ClientTime();
  [[nodiscard]] Wait wait() const;
  void pass() const;
  void stand_still() const;  // from now on again

 private:
  Descriptor over_;  // readable when it has passed
};

// A real server on a thread of its own, until the object goes.
class ServerThread {
 public:
  ServerThread(Service& service, const std::string& path, ServerOptions options = {});
  ServerThread(const ServerThread&) = delete;
  ServerThread& operator=(const ServerThread&) = delete;
  ~ServerThread();

  void stop();
  // Runs it on the server's thread, after what is under way there, and waits for it.
  void run(const std::function<void()>& function);
  // Returns when the server has nothing left to do about all that its peers have sent, or that has been waiting.
  void settle();
  [[nodiscard]] std::vector<std::string> log() const;  // "warning: text" and so on
  [[nodiscard]] bool logged(std::string_view part) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> log_;
  asio::io_context io_{1};
  asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(io_);
  Server server_;
  std::thread thread_;
};

// A socket that sends exactly what a test wants. A test that waits for bytes, or for the end, longer than kAmple fails.
class PlainSocket {
 public:
  explicit PlainSocket(int descriptor) : descriptor_(descriptor) {}
  [[nodiscard]] static PlainSocket connect(const std::string& path);
  void connect_to(const std::string& path);
  // Connected and greeted.
  [[nodiscard]] static PlainSocket greet(const std::string& path);

  void send(std::string_view bytes);  // does not mind when the peer has closed
  [[nodiscard]] std::string receive(std::size_t count);
  [[nodiscard]] std::string receive_frame();  // without its header
  // What has come by now.
  [[nodiscard]] std::string receive_at_once();
  [[nodiscard]] std::string receive_to_end();
  void finish_sending();
  // Whether the peer has closed the connection by now, with nothing read from it.
  [[nodiscard]] bool is_closed_by_peer() const;
  void close() { descriptor_ = Descriptor(); }
  [[nodiscard]] bool is_open() const { return descriptor_.is_open(); }

 private:
  Descriptor descriptor_;
};

// A manager that follows a script: each connection runs the next step.
class ScriptedServer {
 public:
  using Step = std::function<void(PlainSocket&)>;
  ScriptedServer(const std::string& path, std::vector<Step> steps);
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer();  // waits for the script's end

 private:
  Descriptor listener_;
  std::thread thread_;
};

[[nodiscard]] Descriptor listening_socket(const std::string& path, int backlog);

// Waits until `condition` holds, at most kAmple.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);

}  // namespace kvel::rpc::testing

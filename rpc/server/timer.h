// How the server waits for time to pass. Where its timers come from is the host's choice (ServerOptions), so that a
// test can have time pass when it wants.
#pragma once

#include <asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <memory>

namespace kvel::rpc {

// One wait at a time, on the thread of the event loop.
class Timer {
 public:
  Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  virtual ~Timer() = default;  // calls off the wait

  // Calls `passed` once, from the event loop, after so long. A wait that was under way is called off. Throws
  // std::bad_alloc.
  virtual void start(std::chrono::milliseconds time, std::function<void()> passed) = 0;

  // Calls off the wait: even one that is over already, when `passed` has not been called yet.
  virtual void stop() = 0;
};

// Throws std::bad_alloc.
using MakeTimer = std::function<std::unique_ptr<Timer>(asio::io_context&)>;

// By the system's steady clock.
[[nodiscard]] std::unique_ptr<Timer> make_steady_timer(asio::io_context& io);

}  // namespace kvel::rpc

#include "rpc/server/timer.h"

#include <asio/steady_timer.hpp>
#include <utility>

namespace kvel::rpc {

namespace {

class SteadyTimer final : public Timer {
 public:
  explicit SteadyTimer(asio::io_context& io) : timer_(io) {}

  void start(std::chrono::milliseconds time, std::function<void()> passed) override {
    wait_ = std::make_shared<const std::function<void()>>(std::move(passed));
    timer_.expires_after(time);
    // A wait that was over when it was called off completes without an error; its function is gone then.
    timer_.async_wait([wait = std::weak_ptr(wait_)](const std::error_code& /*error*/) {
      if (const auto awaited = wait.lock()) (*awaited)();
    });
  }

  void stop() override {
    wait_ = nullptr;
    timer_.cancel();
  }

 private:
  asio::steady_timer timer_;
  std::shared_ptr<const std::function<void()>> wait_;  // what is called when it is over; none when it was called off
};

}  // namespace

std::unique_ptr<Timer> make_steady_timer(asio::io_context& io) { return std::make_unique<SteadyTimer>(io); }

}  // namespace kvel::rpc

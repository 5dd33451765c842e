// The server's timers by the clock.
#include "rpc/server/timer.h"

#include <gtest/gtest.h>

#include <asio.hpp>
#include <chrono>
#include <thread>

namespace kvel::rpc::timer_test {
namespace {

using namespace std::chrono_literals;

class SteadyTimer : public ::testing::Test {
 protected:
  std::function<void()> counting() {
    return [this] { ++called_; };
  }

  asio::io_context io_{1};
  std::unique_ptr<Timer> timer_ = make_steady_timer(io_);
  int called_ = 0;
};

TEST_F(SteadyTimer, CallsOnceAndNotBeforeItsTime) {
  const auto begin = std::chrono::steady_clock::now();
  timer_->start(5ms, counting());
  EXPECT_EQ(called_, 0);
  io_.run();
  EXPECT_EQ(called_, 1);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 5ms);
}

TEST_F(SteadyTimer, CallsNothingWhenItWasStopped) {
  timer_->start(1h, counting());
  timer_->stop();
  io_.run();
  EXPECT_EQ(called_, 0);
}

// Both waits are over when the event loop looks.
TEST_F(SteadyTimer, CallsNothingWhenItWasStoppedAfterItsTime) {
  const auto other = make_steady_timer(io_);
  other->start(1ms, [&] { timer_->stop(); });
  timer_->start(2ms, counting());
  std::this_thread::sleep_for(10ms);
  io_.run();
  EXPECT_EQ(called_, 0);
}

TEST_F(SteadyTimer, ANewWaitTakesThePlaceOfOneThatIsOver) {
  const auto other = make_steady_timer(io_);
  int second = 0;
  other->start(1ms, [&] { timer_->start(0ms, [&] { ++second; }); });
  timer_->start(2ms, counting());
  std::this_thread::sleep_for(10ms);
  io_.run();
  EXPECT_EQ(called_, 0);
  EXPECT_EQ(second, 1);
}

TEST_F(SteadyTimer, CallsNothingWhenItIsGone) {
  timer_->start(1h, counting());
  timer_ = nullptr;
  io_.run();
  EXPECT_EQ(called_, 0);
}

TEST_F(SteadyTimer, MayBeStartedAndEndedByWhatItCalls) {
  timer_->start(0ms, [this] {
    ++called_;
    timer_->start(0ms, [this] {
      ++called_;
      timer_ = nullptr;
    });
  });
  io_.run();
  EXPECT_EQ(called_, 2);
}

}  // namespace
}  // namespace kvel::rpc::timer_test

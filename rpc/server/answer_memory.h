// The memory of answers that clients have not taken yet, over all sessions of a server. It has a bound: above it new
// requests wait for their turn, in the order in which they came.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <utility>

namespace kvel::rpc {

// How long an answer will be is known when its call has been carried out. So a request may have its turn while less
// than the bound is held, whatever its answer will add: one answer may be larger than the bound, and what is held never
// exceeds the bound by more than one answer.
class AnswerMemory {
 public:
  explicit AnswerMemory(std::size_t bound) : bound_(bound) {}
  AnswerMemory(const AnswerMemory&) = delete;
  AnswerMemory& operator=(const AnswerMemory&) = delete;

  // Whether a request that comes now has to wait. Nobody waits otherwise, so it overtakes none.
  [[nodiscard]] bool is_short() const { return held_ >= bound_; }

  // Calls `turn` once, when the requests that wait already have had theirs and there is room; from within release().
  // It throws nothing. Throws std::bad_alloc.
  void wait(std::function<void()> turn) { waiting_.push_back(std::move(turn)); }

  void hold(std::size_t bytes) { held_ += bytes; }
  void release(std::size_t bytes) {
    held_ -= bytes;
    if (is_giving_turns_) return;  // the loop that is under way sees it
    is_giving_turns_ = true;
    while (!is_short() && !waiting_.empty()) {
      const auto turn = std::move(waiting_.front());
      waiting_.pop_front();
      turn();
    }
    is_giving_turns_ = false;
  }

  // Nobody who waits has a turn any more.
  void stop() { waiting_.clear(); }

 private:
  std::size_t bound_;
  std::size_t held_ = 0;
  std::deque<std::function<void()>> waiting_;
  bool is_giving_turns_ = false;
};

}  // namespace kvel::rpc

// Keeps a peer that does wrong again and again from filling the log, and from pushing out of it what concerns others.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "rpc/server/timer.h"

namespace kvel::rpc {

// Counts lines by their subject: what is the same in lines that differ in a session's number only. There are as many
// subjects as there are ways to go wrong.
class LogLimit {
 public:
  // This many lines of one subject in this time; the others are counted.
  static constexpr std::size_t kLines = 10;
  static constexpr std::chrono::seconds kTime{10};

  // `left_out` is called with the number of lines of a subject that were left out, when the time is over.
  LogLimit(std::unique_ptr<Timer> timer, std::function<void(std::string_view subject, std::size_t count)> left_out)
      : timer_(std::move(timer)), left_out_(std::move(left_out)) {}

  // Whether a line of this subject may be logged. Throws std::bad_alloc.
  [[nodiscard]] bool admits(const std::string& subject) {
    if (counts_.empty()) timer_->start(kTime, [this] { finish(); });
    return ++counts_[subject] <= kLines;
  }

  // Ends the time now.
  void finish() {
    timer_->stop();
    for (const auto& [subject, count] : std::exchange(counts_, {})) {
      if (count > kLines) left_out_(subject, count - kLines);
    }
  }

 private:
  std::unique_ptr<Timer> timer_;
  std::function<void(std::string_view, std::size_t)> left_out_;
  std::map<std::string, std::size_t> counts_;
};

}  // namespace kvel::rpc

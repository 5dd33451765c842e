// One line on a terminal that shows the progress of a command, and is gone when the command ends.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>

namespace kvel::shell {

class Progress {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Shows nothing unless `shown`. The stream stays the caller's.
  Progress(std::FILE* stream, bool shown, Time now) : stream_(stream), shown_(shown), last_(now) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { erase(); }

  // Shows how many flows are counted; at most ten times a second, and not in the first tenth.
  void flows(std::uint64_t count, Time now);
  // Takes the line away, for something else to be printed.
  void erase();

 private:
  std::FILE* stream_;
  bool shown_;
  Time last_;
  bool there_ = false;
};

}  // namespace kvel::shell

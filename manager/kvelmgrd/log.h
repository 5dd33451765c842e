// The log of kvelmgrd. Lines go to a thread that writes them, so that whoever reads the log, or has stopped to, holds
// up nothing else: what cannot be written waits, what there is no room for is lost and counted.
#pragma once

#include <spdlog/spdlog.h>

#include <cstddef>
#include <memory>

namespace kvel {

class Log {
 public:
  // Lines that wait to be written. When there are more the oldest is lost; where lines are missing, one says how many.
  static constexpr std::size_t kLines = 1024;

  // For lines to this descriptor, which stays open as long as the process: a write that blocks is never called off.
  explicit Log(int descriptor);
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;
  // Writes what waits, and gives up on a reader that takes no line for a second, or not all of them within ten.
  ~Log();

  // Neither blocks nor throws.
  [[nodiscard]] const std::shared_ptr<spdlog::logger>& logger() const { return logger_; }

 private:
  class Sink;

  std::shared_ptr<spdlog::logger> logger_;
  std::shared_ptr<Sink> sink_;
  std::shared_ptr<spdlog::details::thread_pool> writer_;  // the last: its thread ends before what it uses
};

}  // namespace kvel

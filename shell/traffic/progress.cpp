// The progress of a command.
#include "shell/traffic/progress.h"

#include <fmt/format.h>

namespace kvel::shell {

namespace {

constexpr std::chrono::milliseconds kInterval(100);
constexpr const char* kEraseLine = "\r\x1b[K";

}  // namespace

void Progress::flows(std::uint64_t count, Time now) {
  if (!shown_ || now - last_ < kInterval) return;
  last_ = now;
  there_ = true;
  std::fputs(fmt::format("{}{} flows", kEraseLine, count).c_str(), stream_);
  std::fflush(stream_);
}

void Progress::erase() {
  if (!there_) return;
  there_ = false;
  std::fputs(kEraseLine, stream_);
  std::fflush(stream_);
}

}  // namespace kvel::shell

#include "manager/kvelmgrd/log.h"

#include <fmt/format.h>
#include <poll.h>
#include <spdlog/async.h>
#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kvel {

namespace {

constexpr const char* kName = "kvelmgrd";

// At the end: how long the log's reader may take nothing, and how long it may take in all.
constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kLongestEnd = std::chrono::seconds(10);

// Whether all of it was written. Blocks as the descriptor does, and when that does not, until it takes more.
bool write_all(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      pollfd writable{descriptor, POLLOUT, 0};
      (void)::poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace

// Its lines come from the one thread that writes.
class Log::Sink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
  explicit Sink(int descriptor) : descriptor_(descriptor) {}

  // Where lines are lost for which there is no room. Before the first line.
  void watch(spdlog::details::thread_pool& queue) { queue_ = &queue; }

  // A line that was lost elsewhere.
  void count_lost() { ++lost_; }

  // Waits until flush() has come, which has to wait until there is room for it, so that it takes no line's place. False
  // when that takes too long.
  bool end(spdlog::logger& logger) {
    std::unique_lock lock(ending_);
    const auto latest = std::chrono::steady_clock::now() + kLongestEnd;
    const auto wait_until = [&](const auto& condition) {
      while (!condition() && std::chrono::steady_clock::now() < latest) {
        const std::size_t seen = lines_;
        if (!progress_.wait_for(lock, kPatience, [&] { return is_flushed_ || lines_ != seen; })) return false;
      }
      return condition();
    };
    if (!wait_until([&] { return queue_->queue_size() < kLines; })) return false;
    logger.flush();
    return wait_until([&] { return is_flushed_; });
  }

 protected:
  void sink_it_(const spdlog::details::log_msg& line) override {
    tell_lost();
    if (!write(line)) ++lost_;
    const std::lock_guard lock(ending_);
    ++lines_;
    progress_.notify_one();
  }

  void flush_() override {
    tell_lost();
    const std::lock_guard lock(ending_);
    is_flushed_ = true;
    progress_.notify_one();
  }

 private:
  bool write(const spdlog::details::log_msg& line) {
    spdlog::memory_buf_t text;
    formatter_->format(line, text);
    return write_all(descriptor_, {text.data(), text.size()});
  }

  void tell_lost() {
    const std::size_t lost = lost_ + queue_->overrun_counter();
    if (lost == told_) return;
    const std::string notice = fmt::format("log lines lost here: {}", lost - told_);
    if (write({kName, spdlog::level::warn, notice})) told_ = lost;
  }

  int descriptor_;
  spdlog::details::thread_pool* queue_ = nullptr;
  std::atomic<std::size_t> lost_ = 0;
  std::size_t told_ = 0;  // of the lost ones
  std::mutex ending_;     // of what follows
  std::condition_variable progress_;
  std::size_t lines_ = 0;
  bool is_flushed_ = false;
};

Log::Log(int descriptor)
    : sink_(std::make_shared<Sink>(descriptor)), writer_(std::make_shared<spdlog::details::thread_pool>(kLines, 1)) {
  sink_->watch(*writer_);
  logger_ =
      std::make_shared<spdlog::async_logger>(kName, sink_, writer_, spdlog::async_overflow_policy::overrun_oldest);
  // Its own way would be to write the error to standard error, and to wait for that.
  logger_->set_error_handler([sink = sink_.get()](const std::string& /*error*/) { sink->count_lost(); });
}

Log::~Log() {
  if (sink_->end(*logger_)) return;
  // The thread is in a write that may never return, so nobody can wait for it: it goes with the process, and what it
  // uses is never destroyed.
  static auto* const abandoned = new std::vector<std::shared_ptr<void>>;
  abandoned->insert(abandoned->end(), {logger_, sink_, writer_});
}

}  // namespace kvel

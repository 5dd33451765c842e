// A handler that does only what a handler may: it puts bytes together, and writes them.
#include "shell/replay/end_notice.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string_view>

#include "process/signals.h"

namespace kvel::shell {

namespace {

// The place, for the handler. The source is written only while its length is 0.
std::array<char, 512> source;
std::atomic<std::size_t> source_length = 0;
std::atomic<std::size_t> reached_line = 0;
std::atomic<std::size_t> lines_carried_out = 0;
static_assert(std::atomic<std::size_t>::is_always_lock_free);

class SafeText {
 public:
  SafeText& operator<<(std::string_view part) {
    const std::size_t length = std::min(part.size(), bytes_.size() - length_);
    std::memcpy(bytes_.data() + length_, part.data(), length);
    length_ += length;
    return *this;
  }
  SafeText& operator<<(std::size_t number) {
    std::array<char, 20> digits;
    std::size_t first = digits.size();
    do {
      digits[--first] = static_cast<char>('0' + number % 10);
      number /= 10;
    } while (number != 0);
    return *this << std::string_view(digits.data() + first, digits.size() - first);
  }
  void write_out() const { static_cast<void>(!::write(STDERR_FILENO, bytes_.data(), length_)); }

 private:
  std::array<char, 1024> bytes_;
  std::size_t length_ = 0;
};

void end_by(int signal) {
  const std::size_t carried_out = lines_carried_out;
  SafeText text;
  text << std::string_view(source.data(), source_length) << ":" << reached_line << ": error: the replay was ended by "
       << (signal == SIGINT ? "SIGINT" : "SIGTERM") << "; " << carried_out
       << (carried_out == 1 ? " line was carried out\n" : " lines were carried out\n");
  text.write_out();
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // it comes when the handler returns
}

void set_handler(int signal, struct sigaction& previous) {
  sigaction(signal, nullptr, &previous);
  if (is_ignored(signal)) return;
  struct sigaction action {};
  action.sa_handler = end_by;
  action.sa_flags = SA_RESTART;
  sigaddset(&action.sa_mask, SIGINT);
  sigaddset(&action.sa_mask, SIGTERM);
  sigaction(signal, &action, nullptr);
}

}  // namespace

EndNotice::EndNotice() {
  set_handler(SIGINT, interrupt_);
  set_handler(SIGTERM, terminate_);
}

EndNotice::~EndNotice() {
  sigaction(SIGINT, &interrupt_, nullptr);
  sigaction(SIGTERM, &terminate_, nullptr);
}

void EndNotice::enter(const std::string& name) {
  source_length = 0;
  const std::size_t length = std::min(name.size(), source.size());
  std::memcpy(source.data(), name.data(), length);
  source_length = length;
}

void EndNotice::at(std::size_t line, std::size_t carried_out) {
  reached_line = line;
  lines_carried_out = carried_out;
}

}  // namespace kvel::shell

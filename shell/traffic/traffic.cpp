// Sending recorded traffic.
#include "shell/traffic/traffic.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "kvel/status.h"
#include "output/output.h"
#include "process/descriptor.h"
#include "shell/traffic/flow_calls.h"
#include "shell/traffic/flow_lines.h"
#include "shell/traffic/interrupt.h"
#include "shell/traffic/progress.h"

namespace kvel::shell {

namespace {

constexpr std::uint64_t kMostErrorsReported = 100;

// A file that is read, or standard input.
class Input {
 public:
  explicit Input(const std::string& name) {
    if (name == kStandardInputName) return;
    // Of a pipe that nobody writes to yet, opening must not wait: the interrupt key would have no effect.
    opened_ = Descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    descriptor_ = opened_.get();
  }

  [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Whatever name it was opened by.
  [[nodiscard]] bool is_standard_input() const {
    struct stat ours {};
    struct stat standard {};
    return fstat(descriptor_, &ours) == 0 && fstat(STDIN_FILENO, &standard) == 0 && ours.st_dev == standard.st_dev &&
           ours.st_ino == standard.st_ino;
  }

 private:
  Descriptor opened_;
  int descriptor_ = STDIN_FILENO;
};

class Traffic {
 public:
  Traffic(int context, const std::string& file)
      : context_(context),
        name_(file == kStandardInputName ? "standard input" : file),
        progress_(stderr, isatty(STDERR_FILENO) != 0, std::chrono::steady_clock::now()) {}

  TrafficResult run(const Input& input) {
    std::optional<std::string> stopped;
    bool at_end = false;
    std::vector<char> bytes(kFlowBatchBytes);
    while (!at_end && !stopped) {
      if (!interrupt_.wait_to_read(input.descriptor())) {
        stopped = "interrupted";
        break;
      }
      const ssize_t count = read(input.descriptor(), bytes.data(), lines_.wanted());
      if (count < 0) {
        if (errno == EINTR || errno == EAGAIN) continue;
        stopped = std::strerror(errno);
        break;
      }
      at_end = count == 0;
      if (at_end) {
        lines_.end();
      } else {
        lines_.append({bytes.data(), static_cast<std::size_t>(count)});
      }
      stopped = send_lines();
      if (!stopped && lines_.endless()) {
        stopped = fmt::format("line {} does not end within {} bytes", next_line_, kEndlessFlowLineBytes);
      }
    }
    return finish(stopped);
  }

 private:
  // Sends what is there of whole lines; why it stopped, if it did.
  std::optional<std::string> send_lines() {
    for (;;) {
      next_line_ = lines_.next_line();
      if (interrupt_.interrupted()) return "interrupted";
      const auto piece = lines_.take();
      if (!piece) return std::nullopt;
      if (auto failed = send(*piece)) return failed;
      progress_.flows(total_.flows, std::chrono::steady_clock::now());
    }
  }

  std::optional<std::string> send(const FlowPiece& piece) {
    switch (piece.kind) {
      case FlowPiece::Kind::too_long:
        refuse(piece, fmt::format("it is longer than {} bytes", kMaxFlowLineBytes));
        return std::nullopt;
      case FlowPiece::Kind::nul_byte:
        refuse(piece, "it holds a NUL byte");
        return std::nullopt;
      case FlowPiece::Kind::lines:
        break;
    }
    const auto counts = count_flows(context_, piece.first_line, std::string(piece.text));
    if (!counts) {
      // The manager may have counted what it did not answer.
      is_in_doubt_ = counts.error().status == KVEL_STATUS_timed_out || counts.error().status == KVEL_STATUS_transport;
      return counts.error().text;
    }
    total_.flows += counts->flows;
    total_.classified += counts->classified;
    total_.unclassified += counts->unclassified;
    total_.refused += counts->refused;
    for (const FlowFault& fault : counts->faults)
      report(fault);
    return std::nullopt;
  }

  void refuse(const FlowPiece& piece, std::string fault) {
    ++total_.flows;
    ++total_.refused;
    report({piece.first_line, std::move(fault)});
  }

  void report(const FlowFault& fault) {
    if (reported_ == kMostErrorsReported) return;
    ++reported_;
    print_error(fmt::format("{}:{}: {}\n", name_, fault.line, fault.fault));
  }

  void print_error(const std::string& line) {
    progress_.erase();
    std::fflush(stdout);  // what was printed so far comes first
    std::fputs(line.c_str(), stderr);
  }

  TrafficResult finish(const std::optional<std::string>& stopped) {
    progress_.erase();
    if (total_.refused > reported_) {
      print_error(fmt::format("{}: {} more {} refused\n", name_, total_.refused - reported_,
                              total_.refused - reported_ == 1 ? "flow was" : "flows were"));
    }
    if (!stopped || next_line_ > 1) {
      output::text(fmt::format("{} {}: {} classified, {} not classified, {} refused", total_.flows,
                               total_.flows == 1 ? "flow" : "flows", total_.classified, total_.unclassified,
                               total_.refused));
    }
    TrafficResult result{!stopped && total_.refused == 0, interrupt_.interrupted(), {}};
    if (is_in_doubt_) {
      result.error_message = fmt::format("Error: {}: {}; whether line {} and what follows were counted is not known\n",
                                         name_, *stopped, next_line_);
    } else if (stopped) {
      result.error_message = next_line_ > 1 ? fmt::format("Error: {}: {}; line {} and what follows were not counted\n",
                                                          name_, *stopped, next_line_)
                                            : fmt::format("Error: {}: {}\n", name_, *stopped);
    }
    return result;
  }

  int context_;
  std::string name_;
  InterruptWatch interrupt_;
  Progress progress_;
  FlowLines lines_;
  FlowCounts total_;  // without faults
  std::uint64_t reported_ = 0;
  std::uint64_t next_line_ = 1;  // the first that is not counted
  bool is_in_doubt_ = false;     // whether it is
};

}  // namespace

TrafficResult count_traffic(int context, const std::string& file, StandardInput input_is) {
  const Input input(file);
  if (!input.is_open()) return {false, false, fmt::format("Error: {}: {}\n", file, std::strerror(errno))};
  if (input_is == StandardInput::holds_commands && input.is_standard_input()) {
    return {false, false, "Error: standard input cannot be read for flows: the commands are read from it\n"};
  }
  return Traffic(context, file).run(input);
}

}  // namespace kvel::shell

// "traffic": the flows of a file, sent to the manager to be counted.
#pragma once

#include <cstdint>
#include <string>

namespace kvel::shell {

// Means standard input among file names.
inline constexpr const char* kStandardInputName = "-";

enum class StandardInput : std::uint8_t {
  free,            // it may hold flows
  holds_commands,  // the session's commands come from it
};

struct TrafficResult {
  bool succeeded = false;     // every flow could be read
  bool interrupted = false;   // stopped by the interrupt key, between two batches
  std::string error_message;  // why it stopped before the end, a whole line; empty otherwise
};

// Sends the flows of a file and prints one line with their counts; flows that were refused are reported on standard
// error, the first of them each with its line. Stops at the first call that fails.
[[nodiscard]] TrafficResult count_traffic(int context, const std::string& file, StandardInput input);

}  // namespace kvel::shell

// Which lines belong to a failed one.
#include "shell/session/failed_block.h"

namespace kvel::shell {

namespace {

constexpr std::size_t kTabStop = 8;

}  // namespace

std::size_t indentation_of(std::string_view line) {
  std::size_t columns = 0;
  for (const char byte : line) {
    if (byte == '\t') {
      columns += kTabStop - columns % kTabStop;
    } else if (byte == ' ') {
      ++columns;
    } else {
      break;
    }
  }
  return columns;
}

void FailedBlock::begin(std::size_t indentation, bool until_top_command) {
  open_ = true;
  indentation_ = indentation;
  until_top_command_ = until_top_command;
}

bool FailedBlock::covers(std::size_t indentation, const std::function<bool()>& is_top_command) {
  if (!open_) return false;
  by_indentation_ = indentation > indentation_;
  open_ = by_indentation_ || (until_top_command_ && !is_top_command());
  return open_;
}

}  // namespace kvel::shell

// Cutting flows into batches.
#include "shell/traffic/flow_lines.h"

#include <algorithm>

namespace kvel::shell {

void FlowLines::append(std::string_view bytes) {
  buffer_.erase(0, start_);
  start_ = 0;
  buffer_ += bytes;
}

std::size_t FlowLines::wanted() const {
  const std::size_t left = rest().size();
  return left < kFlowBatchBytes ? kFlowBatchBytes - left : kFlowBatchBytes;
}

std::optional<FlowPiece> FlowLines::take() {
  if (skipping_) skip_line();
  const std::string_view left = rest();
  if (left.empty()) return std::nullopt;
  if (ended_ && left.size() <= kFlowBatchBytes) return lines(left);

  const std::size_t last_end = left.substr(0, kFlowBatchBytes).rfind('\n');
  if (last_end != std::string_view::npos) return lines(left.substr(0, last_end + 1));
  const std::size_t line_end = left.find('\n', std::min(left.size(), kFlowBatchBytes));
  const bool whole = line_end != std::string_view::npos;
  if ((whole ? line_end : left.size()) > kMaxFlowLineBytes) return refuse(FlowPiece::Kind::too_long);
  if (!whole && !ended_) return std::nullopt;
  return lines(whole ? left.substr(0, line_end + 1) : left);
}

// The lines of `text`, which begins where the rest does, up to the first that cannot be sent.
std::optional<FlowPiece> FlowLines::lines(std::string_view text) {
  if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
    const std::size_t line_end = text.substr(0, nul).rfind('\n');
    if (line_end == std::string_view::npos) return refuse(FlowPiece::Kind::nul_byte);
    text = text.substr(0, line_end + 1);
  }
  const FlowPiece piece{FlowPiece::Kind::lines, line_, text};
  start_ += text.size();
  line_ += static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n')) + (text.ends_with('\n') ? 0 : 1);
  return piece;
}

FlowPiece FlowLines::refuse(FlowPiece::Kind kind) {
  const FlowPiece piece{kind, line_, {}};
  skip_line();
  return piece;
}

void FlowLines::skip_line() {
  const std::size_t line_end = rest().find('\n');
  skipping_ = line_end == std::string_view::npos && !ended_;
  skipped_ = skipping_ ? skipped_ + rest().size() : 0;
  start_ = line_end == std::string_view::npos ? buffer_.size() : start_ + line_end + 1;
  if (!skipping_) ++line_;
}

}  // namespace kvel::shell

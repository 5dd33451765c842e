// Cuts a stream of flows, one on each line, into the pieces that are sent to the manager.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvel::shell {

// A batch of whole lines; a longer line is a batch of its own.
inline constexpr std::size_t kFlowBatchBytes = std::size_t{64} << 10;
// The longest line that is sent, without its line end.
inline constexpr std::size_t kMaxFlowLineBytes = std::size_t{512} << 10;
// A line that goes on beyond this is none.
inline constexpr std::size_t kEndlessFlowLineBytes = std::size_t{16} << 20;

struct FlowPiece {
  enum class Kind : std::uint8_t {
    lines,     // `text`: whole lines with their line ends, which only the last line of the stream may lack
    too_long,  // one line of more than kMaxFlowLineBytes
    nul_byte,  // one line with a NUL byte, which no text that is sent can hold
  };
  Kind kind = Kind::lines;
  std::uint64_t first_line = 1;
  std::string_view text{};  // valid until the next call of append() or end()
};

// Bytes are appended as they come; then take() is called until it has no more for now.
class FlowLines {
 public:
  void append(std::string_view bytes);
  // No more bytes come: what is left is the last line.
  void end() { ended_ = true; }

  [[nodiscard]] std::optional<FlowPiece> take();

  // Whether the end of a line that was refused does not come: /dev/zero has no second one.
  [[nodiscard]] bool endless() const { return skipped_ > kEndlessFlowLineBytes; }

  // How many bytes to append next so that batches are as large as they may be.
  [[nodiscard]] std::size_t wanted() const;
  // Of the line that take() looks at next.
  [[nodiscard]] std::uint64_t next_line() const { return line_; }

 private:
  [[nodiscard]] std::string_view rest() const { return std::string_view(buffer_).substr(start_); }
  void skip_line();
  FlowPiece refuse(FlowPiece::Kind kind);
  [[nodiscard]] std::optional<FlowPiece> lines(std::string_view text);

  std::string buffer_;
  std::size_t start_ = 0;  // of what is not taken yet
  std::uint64_t line_ = 1;
  bool skipping_ = false;    // the rest of a line that was refused
  std::size_t skipped_ = 0;  // of that line so far
  bool ended_ = false;
};

}  // namespace kvel::shell

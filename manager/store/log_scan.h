// The write-ahead log as it lies on disk, read before and beside SQLite: SQLite takes a log up to its first bad frame
// and passes over the rest in silence, so it cannot say whether anything was behind.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>

#include "manager/store/store.h"

namespace kvel::manager {

// Two words that a log gets each time it begins anew, and that each of its frames repeats.
using LogSalts = std::array<std::uint32_t, 2>;

inline constexpr std::size_t kLogHeaderSize = 32;
inline constexpr std::size_t kLogFrameHeaderSize = 24;

// The bytes of a log of so many frames.
[[nodiscard]] constexpr off_t log_size(std::uint32_t frames, std::uint32_t page_size) {
  return static_cast<off_t>(kLogHeaderSize + std::uint64_t{frames} * (kLogFrameHeaderSize + page_size));
}

struct LogScan {
  enum class State : std::uint8_t {
    empty,       // no log, or no frame in it
    sound,       // its header is
    unreadable,  // its header is not, and something lies behind it
  };
  State state = State::empty;
  LogSalts salts{};
  std::uint32_t page_size = 0;
  std::uint32_t frames = 0;   // that SQLite takes: up to the last that ends a transaction
  std::uint32_t changes = 0;  // transactions in them
  // Ends of transactions of this log in and behind the first bad frame. A power cut leaves one at most, that of the
  // transaction which was being written: each is on disk before the next one begins.
  std::uint32_t changes_behind = 0;
};

// One page of a frame; `database_pages` is the size of the database where the frame ends a transaction, otherwise 0.
struct LogFrame {
  std::uint32_t page = 0;
  std::uint32_t database_pages = 0;
  std::string_view content;
};
using FrameVisitor = std::function<bool(const LogFrame& frame)>;

inline constexpr std::uint32_t kAllFrames = std::numeric_limits<std::uint32_t>::max();

// Reads the log open at `descriptor`, as far as `limit` frames; visits each frame whose checksum is right, until the
// visitor returns false. False when the system refuses to read (errno says why).
[[nodiscard]] bool scan_log(int descriptor, LogScan& scan, std::uint32_t limit = kAllFrames,
                            const FrameVisitor& visit = {});

// The same of the log at `log_path`, which may be missing; errors name the store at `path`.
[[nodiscard]] StoreResult<LogScan> scan_log(const std::string& path, const std::string& log_path);

// The salts in the header, zeros when there is none.
[[nodiscard]] LogSalts read_log_salts(int descriptor);

}  // namespace kvel::manager

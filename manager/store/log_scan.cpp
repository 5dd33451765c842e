#include "manager/store/log_scan.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <optional>
#include <vector>

#include "manager/store/store_error.h"
#include "process/descriptor.h"
#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

// The header: magic number, version, page size, number of the checkpoint, two salts, checksum of all that. A frame:
// page number, size of the database, two salts, checksum of the first two and the page and all frames before. All
// words are big-endian; the magic number says in which order the checksum takes the words that it sums up.
constexpr std::uint32_t kMagicLittle = 0x377f0682;
constexpr std::uint32_t kMagicBig = 0x377f0683;
constexpr std::size_t kPageSizeOffset = 8;
constexpr std::size_t kHeaderSaltOffset = 16;
constexpr std::size_t kHeaderChecksumOffset = 24;
constexpr std::size_t kFrameSaltOffset = 8;
constexpr std::size_t kFrameChecksumOffset = 16;
constexpr std::size_t kFrameSummedHeader = 8;
constexpr std::uint32_t kMinPageSize = 512;
constexpr std::uint32_t kMaxPageSize = 65536;

std::uint32_t word_at(const char* bytes) { return wire::read_word<std::uint32_t>(bytes); }

std::array<std::uint32_t, 2> pair_at(const char* bytes) { return {word_at(bytes), word_at(bytes + 4)}; }

class RunningChecksum {
 public:
  explicit RunningChecksum(bool big_endian) : big_endian_(big_endian) {}

  // A multiple of eight bytes.
  void add(const char* bytes, std::size_t size) {
    for (const char* end = bytes + size; bytes != end; bytes += 8) {
      sum_[0] += word(bytes) + sum_[1];
      sum_[1] += word(bytes + 4) + sum_[0];
    }
  }
  [[nodiscard]] bool operator==(const std::array<std::uint32_t, 2>& stored) const { return sum_ == stored; }

 private:
  [[nodiscard]] std::uint32_t word(const char* bytes) const {
    const std::uint32_t value = word_at(bytes);
    return big_endian_ ? value : __builtin_bswap32(value);
  }

  bool big_endian_;
  std::array<std::uint32_t, 2> sum_{};
};

// Whether all of it could be read; fewer bytes at the end of the file are no error but not all.
enum class Read : std::uint8_t { whole, cut, failed };

Read read_at(int descriptor, char* bytes, std::size_t size, off_t offset) {
  while (size > 0) {
    const ssize_t count = ::pread(descriptor, bytes, size, offset);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Read::failed;
    if (count == 0) return Read::cut;
    bytes += count;
    offset += count;
    size -= static_cast<std::size_t>(count);
  }
  return Read::whole;
}

// The checksum that the first frame goes on from, if the header is sound.
std::optional<RunningChecksum> check_header(const char* header, LogScan& scan) {
  const std::uint32_t magic = word_at(header);
  if (magic != kMagicLittle && magic != kMagicBig) return std::nullopt;
  RunningChecksum checksum(magic == kMagicBig);
  checksum.add(header, kHeaderChecksumOffset);
  if (!(checksum == pair_at(header + kHeaderChecksumOffset))) return std::nullopt;
  scan.page_size = word_at(header + kPageSizeOffset);
  if (!std::has_single_bit(scan.page_size) || scan.page_size < kMinPageSize || scan.page_size > kMaxPageSize) {
    return std::nullopt;
  }
  scan.salts = pair_at(header + kHeaderSaltOffset);
  return checksum;
}

bool ends_transaction(const char* frame) { return word_at(frame + 4) != 0; }

// Counts the ends of transactions from the first bad frame on. Of that frame one salt may be what is bad in it.
bool look_behind(int descriptor, std::uint32_t bad_frame, LogScan& scan) {
  std::array<char, kLogFrameHeaderSize> frame{};
  for (std::uint32_t index = bad_frame;; ++index) {
    const Read read = read_at(descriptor, frame.data(), frame.size(), log_size(index, scan.page_size));
    if (read != Read::whole) return read == Read::cut;
    const LogSalts salts = pair_at(frame.data() + kFrameSaltOffset);
    const bool first = salts[0] == scan.salts[0];
    const bool second = salts[1] == scan.salts[1];
    const bool is_of_this_log = index == bad_frame ? first || second : first && second;
    if (is_of_this_log && ends_transaction(frame.data())) ++scan.changes_behind;
  }
}

// Zeros are what a file system leaves where nothing had been written yet.
bool has_content_behind_header(int descriptor, bool& has_content) {
  std::vector<char> block(kMaxPageSize);
  for (auto offset = static_cast<off_t>(kLogHeaderSize);; offset += static_cast<off_t>(block.size())) {
    const ssize_t count = ::pread(descriptor, block.data(), block.size(), offset);
    if (count < 0) return false;
    has_content = std::any_of(block.data(), block.data() + count, [](char byte) { return byte != 0; });
    if (has_content || count == 0) return true;
  }
}

}  // namespace

bool scan_log(int descriptor, LogScan& scan, std::uint32_t limit, const FrameVisitor& visit) {
  scan = {};
  std::array<char, kLogHeaderSize> header{};
  const Read read_header = read_at(descriptor, header.data(), header.size(), 0);
  if (read_header != Read::whole) return read_header == Read::cut;
  auto checksum = check_header(header.data(), scan);
  if (!checksum) {
    bool has_content = false;
    if (!has_content_behind_header(descriptor, has_content)) return false;
    if (has_content) scan.state = LogScan::State::unreadable;
    return true;
  }
  scan.state = LogScan::State::sound;
  std::vector<char> frame(kLogFrameHeaderSize + scan.page_size);
  std::uint32_t changes = 0;
  for (std::uint32_t index = 0; index < limit; ++index) {
    const Read read = read_at(descriptor, frame.data(), frame.size(), log_size(index, scan.page_size));
    if (read != Read::whole) return read == Read::cut;
    checksum->add(frame.data(), kFrameSummedHeader);
    checksum->add(frame.data() + kLogFrameHeaderSize, scan.page_size);
    const LogFrame found{
        word_at(frame.data()), word_at(frame.data() + 4), {frame.data() + kLogFrameHeaderSize, scan.page_size}};
    if (pair_at(frame.data() + kFrameSaltOffset) != scan.salts || found.page == 0 ||
        !(*checksum == pair_at(frame.data() + kFrameChecksumOffset))) {
      return look_behind(descriptor, index, scan);
    }
    if (visit && !visit(found)) return true;
    if (!ends_transaction(frame.data())) continue;
    scan.frames = index + 1;
    scan.changes = ++changes;
  }
  return true;
}

StoreResult<LogScan> scan_log(const std::string& path, const std::string& log_path) {
  LogScan scan;
  const Descriptor log(::open(log_path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!log.is_open() && errno == ENOENT) return scan;
  if (!log.is_open() || !scan_log(log.get(), scan)) {
    return tl::unexpected(system_error(path, "its log cannot be read", errno));
  }
  return scan;
}

LogSalts read_log_salts(int descriptor) {
  std::array<char, 8> salts{};
  if (read_at(descriptor, salts.data(), salts.size(), kHeaderSaltOffset) != Read::whole) return {};
  return pair_at(salts.data());
}

}  // namespace kvel::manager

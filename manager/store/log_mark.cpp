#include "manager/store/log_mark.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

// Magic number, id of the store, salts, frames, changes, zeros, and the CRC-32 of all that. Less than a sector, so that
// a power cut leaves the old or the new one.
constexpr std::string_view kMarkMagic{"kvelmark", 8};
constexpr std::size_t kMarkIdOffset = 8;
constexpr std::size_t kMarkSaltOffset = 40;
constexpr std::size_t kMarkFramesOffset = 48;
constexpr std::size_t kMarkChangesOffset = 52;
constexpr std::size_t kMarkChecksumOffset = 60;
using MarkBytes = std::array<char, 64>;

std::uint32_t mark_checksum(const MarkBytes& bytes) {
  return static_cast<std::uint32_t>(::crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), kMarkChecksumOffset));
}

constexpr int kMarkFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;

}  // namespace

MarkFile MarkFile::make(const std::string& path) {
  Descriptor descriptor(::open(path.c_str(), O_RDWR | O_CREAT | kMarkFlags, S_IRUSR | S_IWUSR));
  if (!descriptor.is_open()) return {};
  struct stat status {};
  if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  std::array<char, kMarkMagic.size()> magic{};
  const ssize_t size = ::pread(descriptor.get(), magic.data(), magic.size(), 0);
  const bool is_mark = size == 0 || std::string_view(magic.data(), magic.size()) == kMarkMagic;
  return is_mark ? MarkFile(std::move(descriptor)) : MarkFile();
}

MarkFile MarkFile::open(const std::string& path) {
  return MarkFile(Descriptor(::open(path.c_str(), O_RDONLY | kMarkFlags)));
}

std::optional<LogMark> MarkFile::read() const {
  MarkBytes bytes{};
  if (!is_open() || ::pread(descriptor_.get(), bytes.data(), bytes.size(), 0) != std::ssize(bytes)) return std::nullopt;
  const auto word = [&](std::size_t offset) { return wire::read_word<std::uint32_t>(bytes.data() + offset); };
  if (std::string_view(bytes.data(), kMarkMagic.size()) != kMarkMagic ||
      word(kMarkChecksumOffset) != mark_checksum(bytes)) {
    return std::nullopt;
  }
  LogMark mark{.salts = {word(kMarkSaltOffset), word(kMarkSaltOffset + 4)},
               .frames = word(kMarkFramesOffset),
               .changes = word(kMarkChangesOffset)};
  std::copy_n(bytes.begin() + kMarkIdOffset, kStoreIdSize, mark.store_id.begin());
  return mark;
}

bool MarkFile::write(const LogMark& mark) const {
  if (!is_open()) return false;
  MarkBytes bytes{};
  std::ranges::copy(kMarkMagic, bytes.begin());
  std::ranges::copy(mark.store_id, bytes.begin() + kMarkIdOffset);
  const auto put = [&](std::size_t offset, std::uint32_t value) { wire::write_word(bytes.data() + offset, value); };
  put(kMarkSaltOffset, mark.salts[0]);
  put(kMarkSaltOffset + 4, mark.salts[1]);
  put(kMarkFramesOffset, mark.frames);
  put(kMarkChangesOffset, mark.changes);
  put(kMarkChecksumOffset, mark_checksum(bytes));
  return ::pwrite(descriptor_.get(), bytes.data(), bytes.size(), 0) == std::ssize(bytes);
}

bool MarkFile::sync() const { return ::fdatasync(descriptor_.get()) == 0; }

bool MarkFile::try_lock_alone() const { return ::flock(descriptor_.get(), LOCK_EX | LOCK_NB) == 0; }

bool MarkFile::try_lock_shared() const { return ::flock(descriptor_.get(), LOCK_SH | LOCK_NB) == 0; }

void MarkFile::unlock() const { (void)::flock(descriptor_.get(), LOCK_UN); }

bool MarkFile::is_at(const std::string& path) const {
  struct stat here {};
  struct stat there {};
  return ::fstat(descriptor_.get(), &here) == 0 && ::lstat(path.c_str(), &there) == 0 && here.st_dev == there.st_dev &&
         here.st_ino == there.st_ino;
}

}  // namespace kvel::manager

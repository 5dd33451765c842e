// Files in memory.
#include "shell/session/memory_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kvel::shell {

namespace {

// Never with the descriptor of a standard stream that is closed.
int make_file() {
  const int made = memfd_create("kvelsh-output", MFD_CLOEXEC);
  if (made < 0 || made > STDERR_FILENO) return made;
  const int moved = fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int reason = errno;
  close(made);
  errno = reason;
  return moved;
}

}  // namespace

MemoryFile::MemoryFile() : descriptor_(make_file()), error_(descriptor_ < 0 ? errno : 0) {}

MemoryFile::~MemoryFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

tl::expected<void, int> MemoryFile::fill(std::string_view bytes) const {
  if (auto written = write_all(descriptor_, bytes); !written) return written;
  if (lseek(descriptor_, 0, SEEK_SET) < 0) return tl::unexpected(errno);
  return {};
}

tl::expected<std::string, int> MemoryFile::read() const {
  struct stat info {};
  if (fstat(descriptor_, &info) != 0) return tl::unexpected(errno);
  std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t count = pread(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return tl::unexpected(errno);
    if (count == 0) return tl::unexpected(EIO);
    done += static_cast<std::size_t>(count);
  }
  return bytes;
}

tl::expected<void, int> write_all(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return tl::unexpected(errno);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

}  // namespace kvel::shell

// Files in memory.
#include "shell/session/memory_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kvel::shell {

namespace {

tl::expected<Descriptor, int> checked(int made) {
  if (made < 0) return tl::unexpected(errno);
  return Descriptor(made);
}

// Never with the descriptor of a standard stream that is closed.
tl::expected<Descriptor, int> make_file() {
  auto made = checked(memfd_create("kvelsh-output", MFD_CLOEXEC));
  if (made && made->get() <= STDERR_FILENO) return checked(fcntl(made->get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  return made;
}

}  // namespace

MemoryFile::MemoryFile() : file_(make_file()) {}

tl::expected<void, int> MemoryFile::fill(std::string_view bytes) const {
  if (auto written = write_all(descriptor(), bytes); !written) return written;
  if (lseek(descriptor(), 0, SEEK_SET) < 0) return tl::unexpected(errno);
  return {};
}

tl::expected<std::string, int> MemoryFile::read() const {
  struct stat info {};
  if (fstat(descriptor(), &info) != 0) return tl::unexpected(errno);
  std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t count = pread(descriptor(), bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
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

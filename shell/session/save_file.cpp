// A file beside the wanted one is written, brought to disk, and renamed to it.
#include "shell/session/save_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include "process/descriptor.h"
#include "shell/session/memory_file.h"

namespace kvel::shell {

namespace {

constexpr int kMostAttempts = 100;
constexpr mode_t kModeBits = 07777;

struct Free {
  void operator()(char* block) const { std::free(block); }
};

// Some file systems report only here that the bytes were not written.
int close_checked(Descriptor descriptor) {
  const int closed = close(descriptor.release());
  return closed == 0 || errno == EINTR ? 0 : errno;
}

// A new file and its descriptor; the file is removed unless it is kept.
class File {
 public:
  File(Descriptor descriptor, std::string temporary)
      : descriptor_(std::move(descriptor)), temporary_(std::move(temporary)) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (!temporary_.empty()) unlink(temporary_.c_str());
  }

  [[nodiscard]] int descriptor() const { return descriptor_.get(); }
  [[nodiscard]] int rename_to(const std::string& path) {
    if (rename(temporary_.c_str(), path.c_str()) != 0) return errno;
    temporary_.clear();
    return 0;
  }
  [[nodiscard]] int close_now() { return close_checked(std::move(descriptor_)); }

 private:
  Descriptor descriptor_;
  std::string temporary_;
};

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// The path with links resolved; the path itself when there is nothing yet.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, Free> real(realpath(path.c_str(), nullptr));
  return real != nullptr ? std::string(real.get()) : path;
}

int write_as_it_is(const std::string& path, std::string_view bytes) {
  Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  if (!file.is_open()) return errno;
  if (const auto written = write_all(file.get(), bytes); !written) return written.error();
  return close_checked(std::move(file));
}

// `replaced` is the regular file at `path`; null when there is none.
int write_beside_and_rename(const std::string& path, std::string_view bytes, const struct stat* replaced) {
  const std::string folder = folder_of(path);
  std::string temporary;
  Descriptor made;
  for (int attempt = 0; !made.is_open() && attempt < kMostAttempts; ++attempt) {
    temporary = fmt::format("{}/.kvelsh-save-{}-{}", folder, getpid(), attempt);
    made = Descriptor(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!made.is_open() && errno != EEXIST) return errno;
  }
  if (!made.is_open()) return EEXIST;
  File file(std::move(made), temporary);
  if (replaced != nullptr && fchmod(file.descriptor(), replaced->st_mode & kModeBits) != 0) return errno;
  if (const auto written = write_all(file.descriptor(), bytes); !written) return written.error();
  if (fsync(file.descriptor()) != 0) return errno;
  if (const int reason = file.close_now(); reason != 0) return reason;
  if (const int reason = file.rename_to(path); reason != 0) return reason;

  // The new name is to outlive a power cut too. A folder that cannot be opened or synced takes nothing from the file.
  const Descriptor opened_folder(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened_folder.is_open()) fsync(opened_folder.get());
  return 0;
}

}  // namespace

tl::expected<void, int> save_file(const std::string& path, std::string_view bytes) {
  const std::string target = resolved(path);
  struct stat info {};
  const bool exists = stat(target.c_str(), &info) == 0;
  int reason = 0;
  if (!exists && (errno != ENOENT || target.ends_with('/'))) {
    reason = target.ends_with('/') ? EISDIR : errno;
  } else if (exists && S_ISFIFO(info.st_mode)) {
    reason = EOPNOTSUPP;
  } else if (exists && !S_ISREG(info.st_mode)) {
    reason = write_as_it_is(target, bytes);
  } else {
    reason = write_beside_and_rename(target, bytes, exists ? &info : nullptr);
  }
  if (reason != 0) return tl::unexpected(reason);
  return {};
}

}  // namespace kvel::shell

// A file beside the wanted one is written, brought to disk, and renamed to it.
#include "shell/session/save_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <random>
#include <utility>

#include "process/descriptor.h"
#include "shell/session/memory_file.h"

namespace kvel::shell {

namespace {

constexpr int kMostAttempts = 100;
constexpr mode_t kModeBits = 07777;

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

tl::unexpected<std::string> failed_with(int reason) { return tl::unexpected<std::string>(std::strerror(reason)); }

// The file that the path means, through all links that stand for it, also where the last one leads to nothing yet.
tl::expected<std::string, std::string> followed(std::string path) {
  constexpr int kMostLinks = 40;  // as many as the system follows
  for (int count = 0; count < kMostLinks; ++count) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return path;  // no link; or nothing, which opening will tell
    const std::string_view to(target.data(), static_cast<std::size_t>(length));
    path = to.starts_with('/') ? std::string(to) : fmt::format("{}/{}", folder_of(path), to);
  }
  return failed_with(ELOOP);
}

// A new file in the folder, of a name that nobody can have been waiting with.
tl::expected<File, std::string> make_beside(const std::string& folder) {
  std::random_device random;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    const std::string name = fmt::format("{}/.kvelsh-save-{:08x}{:08x}", folder, random(), random());
    Descriptor made(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (made.is_open()) return tl::expected<File, std::string>(tl::in_place, std::move(made), name);
    if (errno != EEXIST) return failed_with(errno);
  }
  return failed_with(EEXIST);
}

// Gives the new file the owner, the group and the mode of the one that it replaces.
tl::expected<void, std::string> keep_owner_and_mode(int descriptor, const struct stat& replaced) {
  struct stat made {};
  if (fstat(descriptor, &made) != 0) return failed_with(errno);
  const bool same = made.st_uid == replaced.st_uid && made.st_gid == replaced.st_gid;
  if (!same && fchown(descriptor, replaced.st_uid, replaced.st_gid) != 0) {
    return tl::unexpected(
        fmt::format("its owner and group could not be kept: {}; give another name", std::strerror(errno)));
  }
  if (fchmod(descriptor, replaced.st_mode & kModeBits) != 0) return failed_with(errno);
  return {};
}

// `replaced` is the regular file at `path`; null when there is none.
tl::expected<void, std::string> write_beside_and_rename(const std::string& path, std::string_view bytes,
                                                        const struct stat* replaced) {
  const std::string folder = folder_of(path);
  auto file = make_beside(folder);
  if (!file) return tl::unexpected(file.error());
  if (replaced != nullptr) {
    if (auto kept = keep_owner_and_mode(file->descriptor(), *replaced); !kept) return kept;
  }
  if (const auto written = write_all(file->descriptor(), bytes); !written) return failed_with(written.error());
  if (fsync(file->descriptor()) != 0) return failed_with(errno);
  if (const int reason = file->close_now(); reason != 0) return failed_with(reason);
  if (const int reason = file->rename_to(path); reason != 0) return failed_with(reason);

  // The new name is to outlive a power cut too. A folder that cannot be opened or synced takes nothing from the file.
  const Descriptor opened_folder(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened_folder.is_open()) fsync(opened_folder.get());
  return {};
}

}  // namespace

tl::expected<void, std::string> save_file(const std::string& path, std::string_view bytes) {
  const auto target = followed(path);
  if (!target) return tl::unexpected(target.error());
  struct stat info {};
  const bool exists = stat(target->c_str(), &info) == 0;
  if (!exists && target->ends_with('/')) return failed_with(EISDIR);
  if (!exists && errno != ENOENT) return failed_with(errno);
  if (exists && S_ISDIR(info.st_mode)) return failed_with(EISDIR);
  if (exists && !S_ISREG(info.st_mode)) return tl::unexpected<std::string>("it is no regular file; give another name");
  if (exists && info.st_nlink > 1) {
    return tl::unexpected<std::string>(
        "it has other names (hard links), which would keep the old content; give a new name");
  }
  return write_beside_and_rename(*target, bytes, exists ? &info : nullptr);
}

}  // namespace kvel::shell

#include "manager/store/store_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <system_error>

#include "manager/store/store_error.h"

namespace kvel::manager {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr mode_t kAnyWrite = S_IWUSR | kOthersWrite;
constexpr int kMaxLinks = 40;
constexpr int kOpenFlags = O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

StoreResult<void> sync_folder(const std::string& path, const fs::path& folder) {
  const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor.is_open() || ::fsync(descriptor.get()) != 0) {
    return tl::unexpected(system_error(path, "its folder cannot be written to disk", errno));
  }
  return {};
}

// Makes the folder and those above it, and sees to it that they are on disk.
StoreResult<void> make_folder(const std::string& path, const fs::path& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) == 0) return {};
  if (errno != ENOENT) return tl::unexpected(system_error(path, "its folder cannot be used", errno));
  const fs::path parent = folder.parent_path();
  if (auto made = make_folder(path, parent); !made) return made;
  if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    return tl::unexpected(system_error(path, "its folder cannot be made", errno));
  }
  return sync_folder(path, parent);
}

// The file that a name leads to, whether it exists or not: where a dangling link points a store can be made.
StoreResult<std::string> resolve(fs::path path) {
  std::error_code code;
  for (int links = 0; links <= kMaxLinks; ++links) {
    const fs::path folder = fs::canonical(path.parent_path(), code);
    if (code == std::errc::no_such_file_or_directory) {
      return tl::unexpected(store_error(StoreFault::no_access, path.native(), "its folder does not exist"));
    }
    if (code) return tl::unexpected(system_error(path.native(), "its folder cannot be used", code.value()));
    path = folder / path.filename();
    if (!fs::is_symlink(fs::symlink_status(path, code))) return path.native();
    const fs::path target = fs::read_symlink(path, code);
    if (code) return tl::unexpected(system_error(path.native(), "it cannot be opened", code.value()));
    path = folder / target;
  }
  return tl::unexpected(system_error(path.native(), "it cannot be opened", ELOOP));
}

// SQLite writes beside the file, so a folder that cannot be written is refused. Folders and files that nobody may write
// are refused for root too: whoever took the permission away meant it.
std::optional<StoreError> why_folder_unusable(const std::string& path, const fs::path& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0) return system_error(path, "its folder cannot be used", errno);
  if (!S_ISDIR(status.st_mode)) return system_error(path, "its folder cannot be used", ENOTDIR);
  if ((status.st_mode & kAnyWrite) == 0 || ::faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) != 0) {
    return store_error(StoreFault::read_only, path, "its folder is read-only");
  }
  return std::nullopt;
}

StoreError why_not_opened(const std::string& path, int error_number) {
  const bool refused = error_number == EACCES || error_number == EPERM || error_number == EROFS;
  if (refused && ::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0) {
    return store_error(StoreFault::read_only, path, "the file is read-only");
  }
  return system_error(path, "it cannot be opened", error_number);
}

bool has_content(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && status.st_size > 0;
}

bool same_file(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

}  // namespace

StoreResult<std::string> StoreFile::locate(const fs::path& named, bool makes_folder) {
  std::error_code code;
  const fs::path absolute = fs::absolute(named, code);
  if (code || !absolute.has_filename()) {
    return tl::unexpected(store_error(StoreFault::not_a_file, named.native(), "this is no file name"));
  }
  if (makes_folder) {
    if (auto made = make_folder(absolute.native(), absolute.parent_path()); !made) return tl::unexpected(made.error());
  }
  return resolve(absolute);
}

StoreResult<StoreFile> StoreFile::open(const fs::path& named, bool makes_folder) {
  const auto located = locate(named, makes_folder);
  if (!located) return tl::unexpected(located.error());
  const std::string& path = *located;

  struct stat named_status {};
  const bool existed = ::stat(path.c_str(), &named_status) == 0;
  if (existed && !S_ISREG(named_status.st_mode)) {
    return tl::unexpected(store_error(StoreFault::not_a_file, path,
                                      S_ISDIR(named_status.st_mode) ? "this is a directory" : "this is not a file"));
  }
  if (auto error = why_folder_unusable(path, fs::path(path).parent_path())) return tl::unexpected(*std::move(error));

  Descriptor descriptor(::open(path.c_str(), kOpenFlags | (existed ? 0 : O_CREAT), S_IRUSR | S_IWUSR));
  if (!descriptor.is_open()) return tl::unexpected(why_not_opened(path, errno));
  if (::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return tl::unexpected(store_error(StoreFault::busy, path, "it is in use"));
    return tl::unexpected(system_error(path, "it cannot be locked", errno));
  }
  struct stat status {};
  if (::fstat(descriptor.get(), &status) != 0) return tl::unexpected(system_error(path, "it cannot be read", errno));
  // Another process may have put a finished store in the place of the empty file that was opened here.
  if (::stat(path.c_str(), &named_status) != 0 || !same_file(status, named_status)) {
    return tl::unexpected(store_error(StoreFault::busy, path, "another process is just making it"));
  }
  if ((status.st_mode & kAnyWrite) == 0) {
    return tl::unexpected(store_error(StoreFault::read_only, path, "the file is read-only"));
  }

  StoreFile file(path, std::move(descriptor), !existed);
  if (file.is_empty() && has_content(file.log_path())) {
    file.remove();
    return tl::unexpected(store_error(StoreFault::damaged, path, "it is missing or empty, but its log is there"));
  }
  if (has_content(path + "-journal")) {
    file.remove();
    return tl::unexpected(
        store_error(StoreFault::damaged, path, "another program's unfinished change (a -journal file) lies beside it"));
  }
  return file;
}

bool StoreFile::is_empty() const {
  struct stat status {};
  return ::fstat(descriptor_.get(), &status) == 0 && status.st_size == 0;
}

std::vector<std::string> StoreFile::warnings() const {
  std::vector<std::string> warnings;
  const auto look_at = [&](const std::string& path, std::string_view what) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || (status.st_mode & kOthersWrite) == 0) return;
    warnings.push_back(
        fmt::format("store {}: others than the owner may write {} (mode {:04o}); take that away: chmod go-w {}", path_,
                    what, status.st_mode & ALLPERMS, path));
  };
  look_at(path_, "the file");
  look_at(fs::path(path_).parent_path().native(), "its folder");
  return warnings;
}

void StoreFile::take_down() {
  struct stat status {};
  (void)::fstat(descriptor_.get(), &status);
  known_ = {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

std::string_view StoreFile::what_happened() const {
  struct stat status {};
  if (::stat(path_.c_str(), &status) != 0) return "the file has been deleted or moved away";
  if (status.st_dev != known_.device || status.st_ino != known_.inode) return "another file has been put in its place";
  const bool is_as_known = status.st_size == known_.size && status.st_mtim.tv_sec == known_.modified.tv_sec &&
                           status.st_mtim.tv_nsec == known_.modified.tv_nsec;
  return is_as_known ? "" : "another program has written to the file";
}

StoreResult<std::size_t> StoreFile::read_head(Head& head) const {
  const ssize_t size = ::pread(descriptor_.get(), head.data(), head.size(), 0);
  if (size < 0) return tl::unexpected(system_error(path_, "it cannot be read", errno));
  return static_cast<std::size_t>(size);
}

StoreResult<StoreFile> StoreFile::make_successor() const { return make_temporary(path_); }

StoreResult<StoreFile> StoreFile::make_temporary(const std::string& path) {
  std::string name = path + ".new-XXXXXX";
  Descriptor descriptor(::mkostemp(name.data(), O_CLOEXEC));
  if (!descriptor.is_open()) return tl::unexpected(system_error(path, "it cannot be made", errno));
  StoreFile temporary(std::move(name), std::move(descriptor), true);
  if (::flock(temporary.descriptor_.get(), LOCK_EX | LOCK_NB) != 0) {
    temporary.discard();
    return tl::unexpected(system_error(path, "it cannot be made", errno));
  }
  return temporary;
}

StoreResult<void> StoreFile::replace_with(StoreFile& successor) {
  if (::fsync(successor.descriptor_.get()) != 0 || ::rename(successor.path_.c_str(), path_.c_str()) != 0) {
    return tl::unexpected(system_error(path_, "it cannot be made", errno));
  }
  descriptor_ = std::move(successor.descriptor_);
  made_ = false;
  return sync_folder(path_, fs::path(path_).parent_path());
}

StoreResult<void> StoreFile::publish(const std::string& path) {
  const auto fail = [&] { return tl::unexpected(system_error(path, "it cannot be made", errno)); };
  if (::fsync(descriptor_.get()) != 0) return fail();
  if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0) {
    // Not every file system can do that.
    if (errno != EINVAL || ::link(path_.c_str(), path.c_str()) != 0) return fail();
    ::unlink(path_.c_str());
  }
  return sync_folder(path, fs::path(path).parent_path());
}

void StoreFile::unlock() const { (void)::flock(descriptor_.get(), LOCK_UN); }

void StoreFile::remove() {
  if (made_ && is_empty()) ::unlink(path_.c_str());
}

void StoreFile::discard() {
  for (const char* ending : {"", "-wal", "-journal", "-mark"})
    ::unlink((path_ + ending).c_str());
}

}  // namespace kvel::manager

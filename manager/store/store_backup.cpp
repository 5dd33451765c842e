#include "manager/store/store_backup.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "manager/store/log_mark.h"
#include "manager/store/log_scan.h"
#include "manager/store/lost_changes.h"
#include "manager/store/sqlite_connection.h"
#include "manager/store/sqlite_store.h"
#include "manager/store/store_error.h"
#include "manager/store/store_file.h"
#include "process/descriptor.h"

namespace kvel::manager {
namespace {

constexpr int kAttempts = 300;
constexpr auto kAttemptPause = std::chrono::milliseconds(10);
constexpr int kReadFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

// The store, held so that its file does not change: by its own lock when nobody runs on it, and otherwise by that of
// the mark, which also says up to where the log counts.
struct Source {
  std::string path;
  std::string log_path;
  Descriptor file;
  Descriptor log;
  MarkFile mark_file;
  std::optional<LogMark> mark;
  bool is_live = false;
};

tl::unexpected<StoreError> fail(std::string_view path, std::string_view what, int error_number) {
  return tl::unexpected(system_error(path, what, error_number));
}

// Opens and holds it now, or nothing when that has to wait.
StoreResult<std::optional<Source>> try_hold(const std::string& path) {
  Source source;
  source.path = path;
  source.log_path = path + "-wal";
  source.file = Descriptor(::open(path.c_str(), kReadFlags));
  if (!source.file.is_open()) return fail(path, "it cannot be opened", errno);
  struct stat status {};
  if (::fstat(source.file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return tl::unexpected(store_error(StoreFault::not_a_file, path, "this is not a file"));
  }
  source.is_live = ::flock(source.file.get(), LOCK_SH | LOCK_NB) != 0;
  source.mark_file = MarkFile::open(path + "-mark");
  if (source.is_live &&
      !(source.mark_file.is_open() && source.mark_file.try_lock_shared() && source.mark_file.is_at(path + "-mark"))) {
    return std::nullopt;
  }
  source.mark = source.mark_file.read();
  if (source.is_live && !source.mark) return std::nullopt;
  source.log = Descriptor(::open(source.log_path.c_str(), kReadFlags));
  if (!source.log.is_open() && errno != ENOENT) return fail(path, "its log cannot be opened", errno);
  return source;
}

StoreResult<void> copy_content(const Source& source, int copy) {
  std::vector<char> block(1 << 16);
  while (true) {
    const ssize_t count = ::read(source.file.get(), block.data(), block.size());
    if (count == 0) return {};
    if (count < 0) return fail(source.path, "it cannot be read", errno);
    for (ssize_t written = 0; written < count;) {
      const ssize_t more = ::write(copy, block.data() + written, static_cast<std::size_t>(count - written));
      if (more < 0) return fail(source.path, "the backup cannot be written", errno);
      written += more;
    }
  }
}

// The id of a database without its log; empty in a store of the first format.
StoreResult<std::string> read_id(const std::string& path) {
  auto connection = Connection::open(path);
  if (!connection) return tl::unexpected(connection.error());
  if (auto done = connection->run("PRAGMA locking_mode=EXCLUSIVE"); !done) return tl::unexpected(done.error());
  const auto has_id = connection->value("SELECT count(*) FROM sqlite_schema WHERE name = 'store'");
  if (!has_id) return tl::unexpected(has_id.error());
  return *has_id == "0" ? StoreResult<std::string>() : connection->value("SELECT id FROM store");
}

StoreResult<void> renew_id(const std::string& path) {
  auto connection = Connection::open(path);
  if (!connection) return tl::unexpected(connection.error());
  if (auto done = connection->run("PRAGMA locking_mode=EXCLUSIVE"); !done) return done;
  return connection->run("UPDATE store SET id = lower(hex(randomblob(16)))");
}

// How many frames of the log belong to the copy; nothing when the log is just beginning anew.
StoreResult<std::optional<std::uint32_t>> count_frames(const Source& source, std::string_view id) {
  if (source.is_live) {
    if (source.mark->frames == 0) return 0;
    if (read_log_salts(source.log.get()) != source.mark->salts) return std::nullopt;
    return source.mark->frames;
  }
  LogScan scan;
  if (source.log.is_open() && !scan_log(source.log.get(), scan))
    return fail(source.path, "its log cannot be read", errno);
  if (const auto fault = why_log_refused(source.log_path, id, scan, source.mark)) {
    return tl::unexpected(store_error(fault->fault, source.path, fault->what));
  }
  return scan.frames;
}

// Writes the pages of the log to where they belong. False when the log has begun anew meanwhile.
StoreResult<bool> apply_log(const Source& source, std::uint32_t frames, int copy) {
  if (frames == 0) return true;
  LogScan scan;
  int write_error = 0;
  off_t size = 0;
  const bool is_read = scan_log(source.log.get(), scan, frames, [&](const LogFrame& frame) {
    const off_t page_size = std::ssize(frame.content);
    const ssize_t written = ::pwrite(copy, frame.content.data(), frame.content.size(), (frame.page - 1) * page_size);
    if (written != page_size) write_error = written < 0 ? errno : ENOSPC;
    if (frame.database_pages != 0) size = frame.database_pages * page_size;
    return write_error == 0;
  });
  if (write_error != 0) return fail(source.path, "the backup cannot be written", write_error);
  if (!is_read) return fail(source.path, "its log cannot be read", errno);
  if (source.is_live && read_log_salts(source.log.get()) != source.mark->salts) return false;
  if (scan.frames != frames) {
    return tl::unexpected(store_error(StoreFault::damaged, source.path, "its log is damaged"));
  }
  if (::ftruncate(copy, size) != 0) return fail(source.path, "the backup cannot be written", errno);
  return true;
}

// What a start of a manager would check.
StoreResult<void> verify(const std::string& path) {
  auto store = SqliteStore::open(path);
  if (!store) return tl::unexpected(store.error());
  return (*store)->load([](const StoreKey&, std::string_view) { return tl::expected<void, std::string>(); },
                        [] { return tl::expected<void, std::string>(); });
}

// False: to be tried again.
StoreResult<bool> copy_whole(const Source& source, StoreFile& copy) {
  if (auto done = copy_content(source, copy.descriptor()); !done) return tl::unexpected(done.error());
  const auto id = read_id(copy.path());
  if (!id) return tl::unexpected(id.error());
  const auto frames = count_frames(source, *id);
  if (!frames) return tl::unexpected(frames.error());
  if (!*frames) return false;
  const auto applied = apply_log(source, **frames, copy.descriptor());
  if (!applied || !*applied) return applied;
  copy.unlock();
  if (!id->empty()) {
    if (auto done = renew_id(copy.path()); !done) return tl::unexpected(done.error());
  }
  if (auto done = verify(copy.path()); !done) return tl::unexpected(done.error());
  return true;
}

// Errors of SQLite name the file that it was given.
StoreError about_source(StoreError error, const std::string& copy, const std::string& source) {
  for (std::size_t at = 0; (at = error.message.find(copy, at)) != std::string::npos; at += source.size())
    error.message.replace(at, copy.size(), source);
  return error;
}

}  // namespace

StoreResult<void> back_up_store(const std::filesystem::path& store, const std::filesystem::path& copy) {
  const auto path = StoreFile::locate(store);
  if (!path) return tl::unexpected(path.error());
  const auto target = StoreFile::locate(copy);
  if (!target) return tl::unexpected(target.error());
  struct stat status {};
  if (::lstat(target->c_str(), &status) == 0) {
    return tl::unexpected(
        StoreError{StoreFault::not_a_file,
                   fmt::format("{}: it exists already, and a backup replaces no file; name a new one", *target)});
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(kAttemptPause);
    const auto source = try_hold(*path);
    if (!source) return tl::unexpected(source.error());
    if (!*source) continue;
    auto temporary = StoreFile::make_temporary(*target);
    if (!temporary) return tl::unexpected(temporary.error());
    const auto copied = copy_whole(**source, *temporary);
    StoreResult<void> result;
    if (!copied) {
      result = tl::unexpected(about_source(copied.error(), temporary->path(), *path));
    } else if (*copied) {
      result = temporary->publish(*target);
    }
    if (!result || !*copied) temporary->discard();
    if (!result || *copied) return result;
  }
  return tl::unexpected(store_error(StoreFault::busy, *path, "it is in use, and cannot be held for a backup"));
}

}  // namespace kvel::manager

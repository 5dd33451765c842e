// History under a lock. The lock is a file of its own, as each save puts another file in the place of the history.
#include "shell/editor/history_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "shell/session/memory_file.h"
#include "shell/session/save_file.h"

namespace kvel::shell {

namespace {

constexpr int kHistoryLines = 1000;

// What it makes is for the user alone.
class PrivateFiles {
 public:
  PrivateFiles() : mask_(umask(077)) {}
  PrivateFiles(const PrivateFiles&) = delete;
  PrivateFiles& operator=(const PrivateFiles&) = delete;
  ~PrivateFiles() { umask(mask_); }

 private:
  mode_t mask_;
};

class FileLock {
 public:
  explicit FileLock(const std::filesystem::path& file)
      : descriptor_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    while (descriptor_ >= 0 && flock(descriptor_, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      close(descriptor_);
      descriptor_ = -1;
    }
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  [[nodiscard]] bool held() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

}  // namespace

HistoryLines make_history() {
  HistoryLines lines(history_init());
  HistEvent event;
  history(lines.get(), &event, H_SETSIZE, kHistoryLines);
  history(lines.get(), &event, H_SETUNIQUE, 1);
  return lines;
}

HistoryFile::HistoryFile(std::filesystem::path file) : file_(std::move(file)) {
  if (file_.empty()) return;
  const PrivateFiles mine;  // the folder may be that of the store, too
  std::error_code error;
  std::filesystem::create_directories(file_.parent_path(), error);
}

void HistoryFile::load(History& lines) const {
  if (file_.empty()) return;
  HistEvent event;
  history(&lines, &event, H_LOAD, file_.c_str());
}

bool HistoryFile::append(const std::string& line) const {
  if (file_.empty()) return true;
  const PrivateFiles mine;
  const FileLock lock(file_.string() + ".lock");
  if (!lock.held()) return false;
  const HistoryLines merged = make_history();
  load(*merged);
  HistEvent event;
  history(merged.get(), &event, H_ENTER, line.c_str());
  return save(*merged);
}

// The library itself would cut the file off before it knows whether there is space.
bool HistoryFile::save(History& lines) const {
  const MemoryFile bytes;
  if (bytes.error() != 0) return false;
  std::FILE* const stream = fdopen(fcntl(bytes.descriptor(), F_DUPFD_CLOEXEC, 0), "w");
  if (stream == nullptr) return false;
  HistEvent event;
  const bool written = history(&lines, &event, H_SAVE_FP, stream) >= 0;
  if (std::fclose(stream) != 0 || !written) return false;
  const auto saved = bytes.read();
  return saved && save_file(file_, *saved).has_value();
}

}  // namespace kvel::shell

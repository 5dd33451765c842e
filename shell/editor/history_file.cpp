// History under a lock. The lock is a file of its own, as trimming puts another file in the place of the history.
#include "shell/editor/history_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "process/descriptor.h"
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

class HistoryLock {
 public:
  explicit HistoryLock(const std::filesystem::path& history)
      : file_(::open((history.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    while (file_.is_open() && flock(file_.get(), LOCK_EX) != 0) {
      if (errno != EINTR) file_ = Descriptor();
    }
  }
  [[nodiscard]] bool held() const { return file_.is_open(); }

 private:
  Descriptor file_;
};

// The lines with a heading, as the library writes them to a file.
std::optional<std::string> written_form(History& lines) {
  const MemoryFile bytes;
  if (bytes.error() != 0) return std::nullopt;
  std::FILE* const stream = fdopen(fcntl(bytes.descriptor(), F_DUPFD_CLOEXEC, 0), "w");
  if (stream == nullptr) return std::nullopt;
  HistEvent event;
  const bool written = history(&lines, &event, H_SAVE_FP, stream) >= 0;
  if (std::fclose(stream) != 0 || !written) return std::nullopt;
  auto read = bytes.read();
  return read ? std::optional(*std::move(read)) : std::nullopt;
}

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
  const HistoryLock lock(file_);
  if (!lock.held()) return false;
  const HistoryLines one = make_history();
  HistEvent event;
  history(one.get(), &event, H_ENTER, line.c_str());
  const auto written = written_form(*one);
  if (!written) return false;
  const Descriptor file(::open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
  struct stat before {};
  if (!file.is_open() || fstat(file.get(), &before) != 0) return false;
  // The heading is that of the file, not of each line.
  const std::string_view added = std::string_view(*written).substr(before.st_size == 0 ? 0 : written->find('\n') + 1);
  if (write_all(file.get(), added)) return true;
  (void)!ftruncate(file.get(), before.st_size);  // the disk that was full has this space
  return false;
}

void HistoryFile::trim() const {
  if (file_.empty()) return;
  const PrivateFiles mine;
  const HistoryLock lock(file_);
  if (!lock.held()) return;
  std::ifstream file(file_);
  const auto lines = std::count(std::istreambuf_iterator<char>(file), {}, '\n');
  if (lines <= kHistoryLines + 1) return;
  const HistoryLines newest = make_history();
  load(*newest);
  // A file that cannot be replaced stays longer than it should.
  if (const auto written = written_form(*newest)) (void)save_file(file_, *written);
}

}  // namespace kvel::shell

// The store's file before and beside SQLite: its folder, its lock, its files of the same name with an ending, and the
// replacement of an empty file by a finished store in one step.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "manager/store/store.h"
#include "process/descriptor.h"

namespace kvel::manager {

// A locked file. The lock is the kernel's own on the open file (flock), apart from the locks that SQLite takes: it
// holds from before the first byte is looked at until the end, so that no second process can come between.
// The object must outlive SQLite's use of the file.
class StoreFile {
 public:
  // Opens and locks the file; makes it (mode 0600, empty) when it is missing, and then, if asked to, its folder too
  // (mode 0700). A link that leads nowhere yet has the file made where it leads.
  [[nodiscard]] static StoreResult<StoreFile> open(const std::filesystem::path& path, bool makes_folder = false);

  // Where that file is or would be: absolute, without symbolic links.
  [[nodiscard]] static StoreResult<std::string> locate(const std::filesystem::path& path, bool makes_folder = false);

  // Absolute, without symbolic links.
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] const std::string& log_path() const { return log_path_; }
  [[nodiscard]] const std::string& mark_path() const { return mark_path_; }
  [[nodiscard]] bool is_empty() const;

  // Sentences about permissions that let others change the store behind our back.
  [[nodiscard]] std::vector<std::string> warnings() const;

  // Takes size and time of the file down, after it has been written here.
  void take_down();
  // What others have done to the file since then, empty when it lies where it was and is as it was.
  [[nodiscard]] std::string_view what_happened() const;

  // The first bytes of the file, fewer when it is shorter.
  using Head = std::array<char, 100>;
  [[nodiscard]] StoreResult<std::size_t> read_head(Head& head) const;

  // An empty file beside this one, locked, under a name that nobody had.
  [[nodiscard]] StoreResult<StoreFile> make_successor() const;
  // The same beside the file of this name, which need not exist.
  [[nodiscard]] static StoreResult<StoreFile> make_temporary(const std::string& path);
  // Puts the finished successor in the place of this file, durably, and takes its identity over.
  [[nodiscard]] StoreResult<void> replace_with(StoreFile& successor);
  // Gives a finished temporary file the name of one that does not exist, durably.
  [[nodiscard]] StoreResult<void> publish(const std::string& path);
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }
  // Gives the lock up: somebody else of this process takes it.
  void unlock() const;
  // Removes the file and what SQLite left beside it. For files that were made here and are of no use.
  void discard();
  // Takes back the empty file that open() made; nothing else is touched.
  void remove();

 private:
  StoreFile(std::string path, Descriptor descriptor, bool made)
      : path_(std::move(path)),
        log_path_(path_ + "-wal"),
        mark_path_(path_ + "-mark"),
        descriptor_(std::move(descriptor)),
        made_(made) {}

  struct Known {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
  };

  std::string path_;
  std::string log_path_;
  std::string mark_path_;
  Descriptor descriptor_;
  bool made_ = false;
  Known known_;
};

}  // namespace kvel::manager

// The store's file before and beside SQLite: its folder, its lock, its files of the same name with an ending, and the
// replacement of an empty file by a finished store in one step.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>

#include "manager/store/store.h"
#include "process/descriptor.h"

namespace kvel::manager {

// A locked file. The lock is the kernel's own on the open file (flock), apart from the locks that SQLite takes: it
// holds from before the first byte is looked at until the end, so that no second process can come between.
// The object must outlive SQLite's use of the file.
class StoreFile {
 public:
  // Opens and locks the file; makes it (mode 0600, empty) and its folder (mode 0700) when they are missing.
  [[nodiscard]] static StoreResult<StoreFile> open(const std::filesystem::path& path);

  // Absolute, without symbolic links.
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string log_path() const { return path_ + "-wal"; }
  [[nodiscard]] bool is_empty() const;
  // The file has been deleted since it was opened.
  [[nodiscard]] bool is_gone() const;

  // The first bytes of the file, fewer when it is shorter.
  using Head = std::array<char, 100>;
  [[nodiscard]] StoreResult<std::size_t> read_head(Head& head) const;

  // An empty file beside this one, locked; what an earlier attempt left there is removed.
  [[nodiscard]] StoreResult<StoreFile> make_successor() const;
  // Puts the finished successor in the place of this file, durably, and takes its identity over.
  [[nodiscard]] StoreResult<void> replace_with(StoreFile& successor);
  // Removes the file and what SQLite left beside it. For files that were made here and are of no use.
  void discard();
  // Takes back the empty file that open() made; nothing else is touched.
  void remove();

 private:
  StoreFile(std::string path, Descriptor descriptor, bool made)
      : path_(std::move(path)), descriptor_(std::move(descriptor)), made_(made) {}

  std::string path_;
  Descriptor descriptor_;
  bool made_ = false;
};

}  // namespace kvel::manager

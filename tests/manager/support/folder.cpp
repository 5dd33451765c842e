#include "tests/manager/support/folder.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace kvel::manager::testing {

namespace fs = std::filesystem;

namespace {

// Tests sync to disk ten thousands of times; a file system in memory keeps the same promises to a process that is
// killed. TMPDIR puts them on a disk.
fs::path parent_folder() {
  const fs::path memory = "/dev/shm";
  return std::getenv("TMPDIR") == nullptr && fs::is_directory(memory) ? memory : fs::temp_directory_path();
}

}  // namespace

Folder::Folder() {
  std::string pattern = (parent_folder() / "kvel-test-XXXXXX").native();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = fs::canonical(pattern);
}

Folder::~Folder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

FolderBytes Folder::bytes() const {
  FolderBytes files;
  for (const auto& entry : fs::recursive_directory_iterator(path_)) {
    const std::string name = entry.path().lexically_relative(path_).native();
    if (entry.is_symlink()) {
      files[name] = "-> " + fs::read_symlink(entry.path()).native();
    } else if (entry.is_directory()) {
      files[name + "/"] = {};
    } else {
      files[name] = read_file(entry.path());
    }
  }
  return files;
}

void Folder::restore(const FolderBytes& files) const {
  for (const auto& entry : fs::directory_iterator(path_))
    fs::remove_all(entry.path());
  for (const auto& [name, content] : files)
    write_file(path_ / name, content);
}

void write_file(const fs::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.native());
}

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.native());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

unsigned mode_of(const fs::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) throw std::runtime_error("no " + path.native());
  return status.st_mode & 07777U;
}

}  // namespace kvel::manager::testing

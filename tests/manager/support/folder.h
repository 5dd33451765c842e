// A temporary folder of a test, and the bytes of all that is in it.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace kvel::manager::testing {

// The content of each file by its name, and of each link by "-> target"; folders are named with an ending "/".
using FolderBytes = std::map<std::string, std::string>;

class Folder {
 public:
  Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder();

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  [[nodiscard]] std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
  [[nodiscard]] FolderBytes bytes() const;
  // Removes everything and puts these files there.
  void restore(const FolderBytes& files) const;

 private:
  std::filesystem::path path_;
};

void write_file(const std::filesystem::path& path, std::string_view content);
[[nodiscard]] std::string read_file(const std::filesystem::path& path);

// The permission bits of a file or folder.
[[nodiscard]] unsigned mode_of(const std::filesystem::path& path);

}  // namespace kvel::manager::testing

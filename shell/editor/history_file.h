// The lines typed at all prompts of a user, in one file.
#pragma once

#include <histedit.h>

#include <filesystem>
#include <memory>
#include <string>

namespace kvel::shell {

struct HistoryEnd {
  void operator()(History* history) const { history_end(history); }
};
// Bounded: it forgets its oldest lines.
using HistoryLines = std::unique_ptr<History, HistoryEnd>;
[[nodiscard]] HistoryLines make_history();

class HistoryFile {
 public:
  // An empty path: no line is kept.
  explicit HistoryFile(std::filesystem::path file);

  // What is in the file; nothing when there is none yet.
  void load(History& lines) const;

  // Adds a line to those that are in the file by then, whichever prompt they were typed at; false when it could not,
  // and the file is as it was.
  [[nodiscard]] bool append(const std::string& line) const;

  // Takes the oldest lines off a file that has grown beyond the bound. It is replaced whole or not at all.
  void trim() const;

  [[nodiscard]] const std::filesystem::path& path() const { return file_; }
  void forget() { file_.clear(); }

 private:
  std::filesystem::path file_;
};

}  // namespace kvel::shell

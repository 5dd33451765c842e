// The lines below a failed line that were meant for the object which that line did not enter. They must not be carried
// out: they would change the object whose mode is still open, or be read as other commands.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace kvel::shell {

// Columns of the blanks in front of a line; tab stops are eight apart.
[[nodiscard]] std::size_t indentation_of(std::string_view line);

class FailedBlock {
 public:
  // A line with this indentation has failed: lines that are indented deeper belong to it. Where indentation says
  // nothing, all lines do `until_top_command`.
  void begin(std::size_t indentation, bool until_top_command);
  void end() { open_ = false; }

  // Whether a line belongs to the block; the first one that does not ends it.
  [[nodiscard]] bool covers(std::size_t indentation, const std::function<bool()>& is_top_command);
  // Whether the last line that it covers is indented deeper.
  [[nodiscard]] bool covers_by_indentation() const { return by_indentation_; }

 private:
  bool open_ = false;
  std::size_t indentation_ = 0;
  bool until_top_command_ = false;
  bool by_indentation_ = false;
};

}  // namespace kvel::shell

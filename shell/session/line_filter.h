// The filters that look at output line by line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kvel::shell {

struct LineFilter {
  enum class Kind : std::uint8_t {
    include,  // the lines that hold the text
    exclude,  // the others
    begin,    // from the first line that holds it
    count,    // how many lines there are, in their stead
  };
  Kind kind = Kind::include;
  std::string text{};  // found as it is written, byte by byte

  friend bool operator==(const LineFilter&, const LineFilter&) = default;
};

// The next line with its end, which the last one may lack, taken off the front of `rest`.
std::string_view take_line(std::string_view& rest);

// What the filters leave of `output`, one after the other. Lines end with "\n", may be of any length and hold any byte;
// a last one without its end counts too, and gets it.
[[nodiscard]] std::string filter_lines(const std::vector<LineFilter>& filters, std::string output);

}  // namespace kvel::shell

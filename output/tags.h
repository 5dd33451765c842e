// Tags: lists of them as xmltag builds them, and the element names that they are converted to.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace kvel::output {

// Between the tags of a list; a byte that cannot be in an XML name.
inline constexpr char kTagSeparator = '\x1f';

// Bytes that a list takes for each tag, with its separator or the closing NUL.
inline constexpr std::size_t kTagCapacity = 64;

// Walks a tag list; a single tag is a list of one. Past the end the last tag repeats.
class TagList {
 public:
  // `list` may be null: a list of one empty tag. It has to outlive this object.
  explicit TagList(const char* list) : rest_(list != nullptr ? list : "") {}

  std::string_view next() {
    const std::size_t end = rest_.find(kTagSeparator);
    const std::string_view tag = rest_.substr(0, end);
    if (end != std::string_view::npos) rest_.remove_prefix(end + 1);
    return tag;
  }

 private:
  std::string_view rest_;
};

// A tag as a valid XML name without a namespace. ASCII letters, digits, '_', '-' and '.' stay, '_' replaces every other
// byte; a name that would start with none of letter and '_' gets a '_' in front; it is cut at 255 bytes. A null or
// empty tag is "unnamed".
class ElementName {
 public:
  explicit ElementName(std::string_view tag);
  ElementName(const ElementName&) = delete;
  ElementName& operator=(const ElementName&) = delete;

  // Valid as long as this object and the tag it was made of.
  [[nodiscard]] std::string_view view() const { return view_; }

 private:
  static constexpr std::size_t kLongest = 255;
  std::array<char, kLongest> mended_;  // used only when the tag is no name as it is
  std::string_view view_;
};

}  // namespace kvel::output

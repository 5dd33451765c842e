// The rule that turns any tag into an element name, and the call that builds tag lists.
#include "output/tags.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "kvel/output.h"

namespace kvel::output {
namespace {

// ASCII classes, whatever locale the host has set.
constexpr bool starts_name(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_';
}
constexpr bool continues_name(char byte) {
  return starts_name(byte) || (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
}

}  // namespace

ElementName::ElementName(std::string_view tag) : view_(tag) {
  if (tag.empty()) {
    view_ = "unnamed";
    return;
  }
  if (tag.size() <= kLongest && starts_name(tag.front()) && std::all_of(tag.begin(), tag.end(), continues_name)) return;

  std::size_t size = 0;
  if (!starts_name(tag.front()) && continues_name(tag.front())) mended_[size++] = '_';
  for (const char byte : tag.substr(0, kLongest - size))
    mended_[size++] = continues_name(byte) ? byte : '_';
  view_ = {mended_.data(), size};
}

}  // namespace kvel::output

char* xmltag(char* buffer, std::int32_t count, ...) {
  using kvel::output::kTagCapacity;
  using kvel::output::kTagSeparator;
  if (buffer == nullptr) return nullptr;

  char* end = buffer;
  std::va_list names;
  va_start(names, count);
  for (std::int32_t index = 0; index < count; ++index) {
    if (index > 0) *end++ = kTagSeparator;
    const char* name = va_arg(names, const char*);  // NOLINT(clang-analyzer-valist.Uninitialized): started above
    if (name == nullptr) continue;
    const std::size_t size = strnlen(name, kTagCapacity - 1);
    std::memcpy(end, name, size);
    if (std::memchr(end, kTagSeparator, size) != nullptr) std::replace(end, end + size, kTagSeparator, '_');
    end += size;
  }
  va_end(names);
  *end = '\0';
  return buffer;
}

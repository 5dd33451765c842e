// Strict UTF-8.
#include "shell/matcher/utf8.h"

#include <algorithm>
#include <array>

namespace kvel::shell {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr std::array kZeroWidth{Range{0x0300, 0x036F}, Range{0x200B, 0x200F}, Range{0x20D0, 0x20F0},
                                Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F}};
constexpr std::array kDoubleWidth{Range{0x1100, 0x115F},   Range{0x2E80, 0x303E},  Range{0x3041, 0xA4CF},
                                  Range{0xAC00, 0xD7A3},   Range{0xF900, 0xFAFF},  Range{0xFE30, 0xFE6F},
                                  Range{0xFF00, 0xFF60},   Range{0xFFE0, 0xFFE6},  Range{0x1F300, 0x1F64F},
                                  Range{0x1F900, 0x1F9FF}, Range{0x20000, 0x3FFFD}};

template <std::size_t N>
bool within(const std::array<Range, N>& ranges, char32_t code) {
  return std::any_of(ranges.begin(), ranges.end(), [code](Range r) { return code >= r.first && code <= r.last; });
}

}  // namespace

DecodedCharacter decode_utf8(std::string_view text, std::size_t offset) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[offset + i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  std::size_t length = 0;
  char32_t smallest = 0;
  if (lead >= 0xC2 && lead < 0xE0) {
    length = 2, smallest = 0x80;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3, smallest = 0x800;
  } else if (lead >= 0xF0 && lead < 0xF5) {
    length = 4, smallest = 0x10000;
  }
  if (length == 0 || text.size() - offset < length) return {};
  char32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) return {};
    code = (code << 6U) | (byte(i) & 0x3FU);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest || code > 0x10FFFF || surrogate) return {};
  return {code, length};
}

namespace {

std::string cleaned(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = decode_utf8(text, at);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    const bool is_kept = kept.find(text[at]) != std::string_view::npos;
    if (!is_kept && (character.length == 0 || is_unprintable(character.code))) {
      shown += '?';
    } else {
      shown += text.substr(at, length);
    }
    at += length;
  }
  return shown;
}

}  // namespace

std::string printable(std::string_view text) { return cleaned(text, ""); }

std::string printable_lines(std::string_view text) { return cleaned(text, "\n\t"); }

std::size_t columns_of(std::string_view text) {
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = decode_utf8(text, at);
    columns += display_width(character.code);
    at += std::max<std::size_t>(character.length, 1);
  }
  return columns;
}

std::size_t display_width(char32_t code) {
  if (within(kZeroWidth, code)) return 0;
  return within(kDoubleWidth, code) ? 2 : 1;
}

}  // namespace kvel::shell

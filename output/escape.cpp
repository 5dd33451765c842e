// Escaping for XML and JSON, over bytes that may not be UTF-8 at all.
#include "output/escape.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kvel::output {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kFirstMultibyte = 0x80;

// True for every byte that may need something else than being copied.
using SpecialBytes = std::array<bool, 256>;

constexpr SpecialBytes special_bytes(std::string_view markup) {
  SpecialBytes special{};
  for (std::size_t byte = 0; byte < special.size(); ++byte)
    special[byte] = byte < kFirstPrintable || byte >= kFirstMultibyte;
  for (const char byte : markup)
    special[static_cast<unsigned char>(byte)] = true;
  return special;
}

constexpr SpecialBytes kXmlSpecial = special_bytes("&<>");
constexpr SpecialBytes kJsonSpecial = special_bytes("\"\\");

std::string_view replacement(unsigned char byte, Dialect dialect) {
  const bool xml = dialect == Dialect::xml;
  switch (byte) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':  // always, so that "]]>" cannot come about
      return "&gt;";
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\t':
      return xml ? "\t" : "\\t";
    case '\n':
      return xml ? "\n" : "\\n";
    case '\r':  // a bare one would be read as a line feed
      return xml ? "&#13;" : "\\r";
    default:
      return kReplacement;
  }
}

struct Sequence {
  std::size_t bytes;  // how many it takes up, at least 1
  bool allowed;       // valid UTF-8 and a character of XML 1.0
};

constexpr Sequence kInvalid{1, false};

// The multibyte sequence at the start of `text`, which is not empty and starts with a byte of 0x80 or more.
Sequence sequence_at(std::string_view text) {
  const auto byte = [&](std::size_t index) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[index]));
  };
  const std::uint32_t lead = byte(0);
  std::size_t length = 0;
  std::uint32_t smallest = 0;  // what needs this many bytes
  std::uint32_t code = 0;
  if (lead >= 0xC0 && lead < 0xE0) {
    length = 2, smallest = 0x80, code = lead & 0x1FU;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3, smallest = 0x800, code = lead & 0x0FU;
  } else if (lead >= 0xF0 && lead < 0xF8) {
    length = 4, smallest = 0x10000, code = lead & 0x07U;
  } else {
    return kInvalid;
  }
  if (text.size() < length) return kInvalid;
  for (std::size_t index = 1; index < length; ++index) {
    if ((byte(index) & 0xC0U) != 0x80) return kInvalid;
    code = code << 6U | (byte(index) & 0x3FU);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest || code > 0x10FFFF || surrogate) return kInvalid;
  return {length, code != 0xFFFE && code != 0xFFFF};
}

}  // namespace

void write_escaped(Destination& out, std::string_view text, Dialect dialect) {
  const SpecialBytes& special = dialect == Dialect::xml ? kXmlSpecial : kJsonSpecial;
  std::size_t copied = 0;  // everything before is written
  std::size_t at = 0;
  while (at < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (!special[byte]) {
      ++at;
      continue;
    }
    Sequence sequence = kInvalid;
    if (byte >= kFirstMultibyte) sequence = sequence_at(text.substr(at));
    if (!sequence.allowed) {
      out.append(text.substr(copied, at - copied));
      out.append(replacement(byte, dialect));
      copied = at + sequence.bytes;
    }
    at += sequence.bytes;
  }
  out.append(text.substr(copied));
}

}  // namespace kvel::output

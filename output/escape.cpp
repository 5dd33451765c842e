// Escaping for XML and JSON, over bytes that may not be UTF-8 at all.
#include "output/escape.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "encoding/utf8.h"

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

// What is at an offset of `text` that has a byte of 0x80 or more.
Sequence sequence_at(std::string_view text, std::size_t offset) {
  const encoding::DecodedCharacter character = encoding::decode_utf8(text, offset);
  if (character.length == 0) return kInvalid;
  return {character.length, character.code != 0xFFFE && character.code != 0xFFFF};
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
    if (byte >= kFirstMultibyte) sequence = sequence_at(text, at);
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

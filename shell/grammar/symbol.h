// One word or parameter of a command line, as the grammar declares it: the leaf from which matching, help, completion,
// rendering and random lines are all derived.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kvel::shell {

// A keyword id of include/kvel/keywords.h, or one of the shell's own.
using KeywordId = std::uint32_t;

// A word or parameter with this id produces no token.
inline constexpr KeywordId kNoKeyword = 0;

// Names and descriptions of objects: what the grammar lets through. Handlers cut at the same bounds.
inline constexpr std::uint32_t kMaxNameBytes = 64;
inline constexpr std::uint32_t kMaxDescriptionBytes = 240;

enum class SymbolKind : std::uint8_t {
  word,     // a fixed word, typed in full or, unless it forbids that, abbreviated
  number,   // decimal, low..high; an u32 token
  address,  // dotted IPv4; an u32 token, first octet most significant
  mask,  // dotted IPv4 mask; an u32 token. Whether its bits are contiguous is the handler's rule, with its own message
  network,  // dotted IPv4 and the length of its prefix, "10.1.0.0/16"; two u32 tokens, the address and its mask
  name,     // 1..64 bytes; the name of an object, completed by a hook of the plug-in
  string,   // 1..high bytes, one word (quoted where it holds blanks)
  text,     // 1..high bytes, the rest of the line, or one quoted word; always the last part of a command
};

// All texts have static storage: literals, or tables of literals.
struct Symbol {
  SymbolKind kind = SymbolKind::word;
  KeywordId keyword = kNoKeyword;
  std::string_view text = {};  // the word itself, or the parameter's label (empty for a number: its range is the label)
  std::string_view help = {};  // one plain phrase, no full stop
  std::string_view unit = {};  // numbers only: "seconds", "bytes"; may be empty
  std::string_view hook = {};  // names only: completion hook of the plug-in; may be empty
  std::span<const std::string_view> more_hooks = {};  // names only: of objects of several kinds, the other hooks
  std::uint32_t low = 0;                              // number: smallest value
  std::uint32_t high = 0;                             // number: largest value; name, string, text: most bytes
  bool in_full = false;                               // words only: it has no abbreviation
  // network: its mask's keyword. address: that of the mask of one host, which goes along as none is typed.
  KeywordId mask_keyword = kNoKeyword;
  KeywordId mask_word = kNoKeyword;  // network: that of the word in front of a mask, where there is one
  bool unsupported = false;          // words only: its command does nothing but say that it is not supported

  [[nodiscard]] bool is_word() const { return kind == SymbolKind::word; }
  // Its token carries a string: a name, a string or a text.
  [[nodiscard]] bool is_string() const { return kind >= SymbolKind::name; }
  // How many tokens it yields.
  [[nodiscard]] std::size_t token_count() const {
    return (keyword == kNoKeyword ? 0U : 1U) + (mask_keyword == kNoKeyword ? 0U : 1U) +
           (mask_word == kNoKeyword ? 0U : 1U);
  }
  // What help and messages call it: the word, "NAME", "<1-255>".
  [[nodiscard]] std::string label() const;
  // The help text with the unit, or that the word is not supported, in brackets.
  [[nodiscard]] std::string full_help() const;
};

}  // namespace kvel::shell

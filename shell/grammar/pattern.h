// The shape of one command as a tree of words, parameters, sequences, choices and optional parts, and the builders that
// write it down. A grammar file says `using namespace pattern;` and composes them:
//   sequence(word("class-map", "Configure a class-map"), optional(word("match-any", "...", kw::x)), name(...))
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "kvel/keywords.h"
#include "shell/grammar/binding.h"
#include "shell/grammar/symbol.h"

namespace kvel::shell {

struct Pattern {
  enum class Kind : std::uint8_t { symbol, sequence, choice, optional };
  Kind kind = Kind::sequence;
  Symbol symbol;                  // Kind::symbol
  std::vector<Binding> bindings;  // Kind::symbol
  std::vector<Pattern> parts;     // the other kinds; exactly one part for optional

  // A word that has to be typed in full: where a name may be typed too, its beginnings are names.
  Pattern in_full() && {
    symbol.in_full = true;
    return std::move(*this);
  }

  // A name of objects of several kinds: the hooks of the other kinds, which outlive the grammar.
  Pattern or_of(std::span<const std::string_view> hooks) && {
    symbol.more_hooks = hooks;
    return std::move(*this);
  }

  // A word whose command does nothing but say that it is not supported: help marks it, and lists it last.
  Pattern unsupported() && {
    symbol.unsupported = true;
    return std::move(*this);
  }

  // Which member of its command's record the word or parameter binds (see Binding): number(...).binds("lower").
  Pattern binds(std::string_view member) && { return std::move(*this).with({.member = member}); }
  Pattern binds(std::string_view member, MemberConstant constant) && {
    return std::move(*this).with({.member = member, .kind = Binding::Kind::constant, .constant = constant});
  }
  Pattern binds_code(std::string_view member, std::uint32_t code) && {
    return std::move(*this).with({.member = member, .kind = Binding::Kind::code, .constant = code});
  }
  Pattern binds_shifted(std::string_view member, std::int32_t offset) && {
    return std::move(*this).with({.member = member, .offset = offset});
  }
  Pattern binds_unless_zero(std::string_view member) && {
    return std::move(*this).with({.member = member, .nonzero = true});
  }

 private:
  Pattern with(const Binding& binding) && {
    bindings.push_back(binding);
    return std::move(*this);
  }
};

// One row of a table of alternative words, for choices too long to be written as code.
struct WordRow {
  std::string_view text;
  std::string_view help;
  KeywordId keyword = kNoKeyword;
};

namespace pattern {

// A fixed word. It must be typed in full or as an abbreviation that no other word at its node shares.
Pattern word(std::string_view text, std::string_view help, KeywordId keyword = kNoKeyword);

// An object name of 1 to 64 bytes; `hook` is the plug-in's completion hook (KVEL_HOOK) that lists the existing ones.
Pattern name(std::string_view label, std::string_view help, KeywordId keyword, std::string_view hook = {});

// One word of 1 to max_bytes bytes.
Pattern string(std::string_view label, std::string_view help, KeywordId keyword, std::uint32_t max_bytes);

// The rest of the line, 1 to max_bytes bytes; only as the last part of a command.
Pattern text(std::string_view label, std::string_view help, KeywordId keyword, std::uint32_t max_bytes);

// A decimal number from low to high, both included; its label is "<low-high>".
Pattern number(std::uint32_t low, std::uint32_t high, std::string_view help, KeywordId keyword,
               std::string_view unit = {});

// A dotted IPv4 address or mask.
Pattern address(std::string_view label, std::string_view help, KeywordId keyword);
Pattern mask(std::string_view label, std::string_view help, KeywordId keyword);

inline constexpr std::string_view kNetworkHelp = "IPv4 address and the length of its prefix";

// The same in one word, "10.1.0.0/16", and an address without a mask that is handed on with the mask of one host. Both
// yield the token of the mask too, and are never rendered: what is printed has its mask.
Pattern network(std::string_view help, KeywordId address_keyword, KeywordId mask_keyword,
                KeywordId mask_word = kNoKeyword);
Pattern host(std::string_view label, std::string_view help, KeywordId address_keyword, KeywordId mask_keyword);

namespace detail {
template <typename... Parts>
Pattern compose(Pattern::Kind kind, Parts&&... parts) {
  Pattern result;
  result.kind = kind;
  result.parts.reserve(sizeof...(parts));
  (result.parts.push_back(std::forward<Parts>(parts)), ...);
  return result;
}
}  // namespace detail

// All parts, in this order.
template <typename... Parts>
Pattern sequence(Parts&&... parts) {
  return detail::compose(Pattern::Kind::sequence, std::forward<Parts>(parts)...);
}

// Exactly one of the parts.
template <typename... Parts>
Pattern choice(Parts&&... parts) {
  return detail::compose(Pattern::Kind::choice, std::forward<Parts>(parts)...);
}

// Exactly one word of a table.
Pattern choice_of(std::span<const WordRow> rows);
// The same for words whose keywords encode codes; each binds `member` to its code.
Pattern choice_of(std::span<const WordRow> rows, std::string_view member, const kw::CodedKeywords& codes);

// The parts in this order, or nothing.
template <typename... Parts>
Pattern optional(Parts&&... parts) {
  return detail::compose(Pattern::Kind::optional, sequence(std::forward<Parts>(parts)...));
}

// The parts after the word under which a mode keeps what is known by a number, or by being an option, alone.
template <typename... Parts>
Pattern advanced(Parts&&... parts) {
  return sequence(word("advanced", "What is handed on as it is; nothing here depends on it"),
                  std::forward<Parts>(parts)...);
}

}  // namespace pattern
}  // namespace kvel::shell
